#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <mutex>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <string>

namespace ktrtrace {

/// Writes each line at once to a file that is rotated when it is full (trace.log, trace.1.log, …); only their owner can
/// read these files. A line is written completely or not at all. If a line cannot be written (the disk is full, the
/// folder deleted), it is lost, and so are the lines of the next seconds; then the file is tried again. Any thread.
class RotatingSink final : public spdlog::sinks::base_sink<std::mutex> {
public:
    struct Limits {
        std::size_t fileSize = std::size_t{2} * 1024 * 1024;  ///< bytes
        std::size_t olderFiles = 4;
        std::chrono::milliseconds pause{5000};  ///< after a failure
    };

    RotatingSink(std::string file, Limits limits);

    /// False after a line that could not be written, until a line can be written again.
    bool isWriting();

protected:
    void sink_it_(const spdlog::details::log_msg& message) override;
    void flush_() override;

private:
    void open();

    const std::string file_;
    const Limits limits_;
    std::unique_ptr<spdlog::sinks::rotating_file_sink_st> inner_;
    std::chrono::steady_clock::time_point retry_;
};

}  // namespace ktrtrace
