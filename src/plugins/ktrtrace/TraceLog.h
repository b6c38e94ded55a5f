#pragma once

#include "plugins/ktrtrace/RotatingSink.h"
#include "plugins/ktrtrace/TraceLevel.h"
#include "plugins/ktrtrace/TraceSlot.h"

#include <cstdint>
#include <memory>
#include <string>

#include <spdlog/logger.h>

namespace ktrtrace {

/// The trace of this process: takes a place in the trace folder, and writes the lines that are grave enough. Touches
/// the disk when it is made. Any thread.
class TraceLog {
public:
    /// Where the trace can't be written at all, standard error hears so, once.
    TraceLog(const std::string& folder, TraceLevel least, RotatingSink::Limits limits);

    bool takes(TraceLevel level) const { return level >= least_ && logger_ != nullptr; }

    /// True when the line has reached its file.
    bool write(TraceLevel level, const std::string& line);

    /// The file that is written now; null when there is none.
    const char* fileName() const { return slot_ ? slot_->file().c_str() : nullptr; }

private:
    const TraceLevel least_;
    std::unique_ptr<TraceSlot> slot_;
    std::shared_ptr<RotatingSink> sink_;
    std::unique_ptr<spdlog::logger> logger_;
};

}  // namespace ktrtrace
