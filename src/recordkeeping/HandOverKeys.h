#pragma once

namespace recordkeeping {

/// Keys that a second launch adds to the recording-started notification that it posts for its client. A client's own
/// notification has none of these.

/// Boolean: the client launches a converter for each recording, so an older recording of its process is complete.
inline constexpr const char* handedOverKey = "org.recordconverter.HandedOver";
/// Boolean: this recording's intermediate file is kept.
inline constexpr const char* keepsIntermediateFileKey = "org.recordconverter.KeepsIntermediateFile";
/// The language's number, as "-locale" takes it.
inline constexpr const char* languageKey = "org.recordconverter.Language";

}  // namespace recordkeeping
