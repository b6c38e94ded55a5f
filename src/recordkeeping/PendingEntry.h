#pragma once

#include "platform/ProcessIdentity.h"

#include <cstdint>
#include <optional>
#include <string>

namespace recordkeeping {

/// One announced recording whose outcome is not final yet.
struct PendingEntry {
    enum class State {
        recording,  ///< its process is writing it
        written,    ///< its process has said that it is complete
        due,        ///< its process is done, and it is to be converted
        saved,      ///< the MP4 is whole under its name, and the user may not know yet
        left        ///< it has ended the converter too often, and waits to be converted by hand
    };

    /// The recording's path, any bytes.
    std::string source;
    /// Who writes it.
    platform::ProcessIdentity meeting;
    /// The converter that is in charge of it.
    platform::ProcessIdentity converter;
    std::int32_t language = 1;
    bool keep = false;
    State state = State::recording;
    /// Conversions that have begun; more than one when a converter ended in the middle of it.
    int attempts = 0;
    /// Where the latest attempt publishes its MP4; empty before the first.
    std::string destination;
};

/// As a file holds it: one line per value, bytes outside of plain ASCII and percent signs in hexadecimal.
std::string asText(const PendingEntry& entry);

/// Absent when the text is no whole entry.
std::optional<PendingEntry> pendingEntryFromText(const std::string& text);

}  // namespace recordkeeping
