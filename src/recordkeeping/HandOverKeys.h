#pragma once

namespace recordkeeping {

/// What a second launch adds to the recording-started notification that it posts for its client. A bare notification of
/// a client has none of these.

/// Truth value: the client launches a converter for each recording, so an older one of its process is complete.
inline constexpr const char* kHandedOverKey = "org.recordconverter.HandedOver";
/// Truth value: this recording's intermediate file stays.
inline constexpr const char* kKeepsIntermediateFileKey = "org.recordconverter.KeepsIntermediateFile";
/// The language's number, as "-locale" takes it.
inline constexpr const char* kLanguageKey = "org.recordconverter.Language";

}  // namespace recordkeeping
