#pragma once

#include "plugins/ktrtrace/RotatingSink.h"
#include "plugins/ktrtrace/TraceLevel.h"
#include "plugins/ktrtrace/TraceSlot.h"

#include <cstdint>
#include <memory>
#include <spdlog/logger.h>
#include <string>

namespace ktrtrace {

/// The trace of this process: takes a slot in the trace folder, and writes the lines at or above its level. Accesses
/// the disk when it is created. Any thread.
class TraceLog {
public:
    /// If the trace cannot be written at all, standard error reports this once.
    TraceLog(const std::string& folder, TraceLevel least, RotatingSink::Limits limits);

    bool takes(TraceLevel level) const { return level >= least_ && logger_ != nullptr; }

    /// True if the line has reached its file.
    bool write(TraceLevel level, const std::string& line);

    /// The file being written; null if there is none.
    const char* fileName() const { return slot_ ? slot_->file().c_str() : nullptr; }

private:
    const TraceLevel least_;
    std::unique_ptr<TraceSlot> slot_;
    std::shared_ptr<RotatingSink> sink_;
    std::unique_ptr<spdlog::logger> logger_;
};

}  // namespace ktrtrace
