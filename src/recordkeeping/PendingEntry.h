#pragma once

#include "platform/ProcessIdentity.h"

#include <cstdint>
#include <optional>
#include <string>

namespace recordkeeping {

/// One announced recording whose result is not final yet.
struct PendingEntry {
    enum class State {
        recording,  ///< its process is writing it
        written,    ///< its process has reported that it is complete
        due,        ///< its process is done, and it is to be converted
        saved,      ///< the MP4 is complete under its name, and the user may not know yet
        left        ///< it has ended the converter too often, and waits to be converted by hand
    };

    /// The recording's path, any bytes.
    std::string source;
    /// The process that writes it.
    platform::ProcessIdentity meeting;
    /// The converter that is in charge of it.
    platform::ProcessIdentity converter;
    std::int32_t language = 1;
    bool keep = false;
    State state = State::recording;
    /// Conversions started; more than one if a converter ended during one.
    int attempts = 0;
    /// Where the latest attempt publishes its MP4; empty before the first.
    std::string destination;
};

/// The content of the entry's file: one line per value, percent signs and bytes outside plain ASCII in hexadecimal.
std::string asText(const PendingEntry& entry);

/// Absent if the text is not a complete entry.
std::optional<PendingEntry> pendingEntryFromText(const std::string& text);

}  // namespace recordkeeping
