#pragma once

namespace platform {

/// The program's name as users see it; it is not translated.
inline constexpr char programTitle[] = "Record converter";

/// The program's id: its name on the bus, and the name of its desktop file without the extension.
inline constexpr char programId[] = "org.recordconverter.RecordConverter";

}  // namespace platform
