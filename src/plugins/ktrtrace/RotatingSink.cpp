#include "plugins/ktrtrace/RotatingSink.h"

#include "plugins/ktrtrace/TraceSlot.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <exception>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace ktrtrace {

namespace {

constexpr mode_t ownFile = 0600;

spdlog::file_event_handlers keepPrivate() {
    spdlog::file_event_handlers handlers;
    handlers.after_open = [](const spdlog::filename_t&, std::FILE* file) {
        static_cast<void>(::fchmod(::fileno(file), ownFile));
    };
    return handlers;
}

/// Where the last complete line of the file ends; the end of the file if it cannot be read.
off_t endOfLines(int descriptor, off_t size) {
    std::array<char, 4096> block{};
    for (off_t end = size; end > 0;) {
        const off_t start = std::max<off_t>(end - static_cast<off_t>(block.size()), 0);
        const ssize_t got = ::pread(descriptor, block.data(), static_cast<std::size_t>(end - start), start);
        if (got != end - start) {
            return size;
        }
        const std::string_view text(block.data(), static_cast<std::size_t>(got));
        if (const auto found = text.rfind('\n'); found != text.npos) {
            return start + static_cast<off_t>(found) + 1;
        }
        end = start;
    }
    return 0;
}

/// A full disk accepts the beginning of a line and refuses the rest; a power cut can have the same effect.
void cutTornLine(const std::string& file) {
    const int descriptor = ::open(file.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW);
    if (descriptor < 0) {
        return;
    }
    struct stat status = {};
    if (::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) {
        const off_t end = endOfLines(descriptor, status.st_size);
        // If it cannot be truncated, the torn line stays: a trace has nowhere to report this.
        [[maybe_unused]] const bool isWhole = end == status.st_size || ::ftruncate(descriptor, end) == 0;
    }
    ::close(descriptor);
}

}  // namespace

RotatingSink::RotatingSink(std::string file, Limits limits) : file_(std::move(file)), limits_(limits) {}

bool RotatingSink::isWriting() {
    const std::lock_guard lock(mutex_);
    return inner_ != nullptr;
}

void RotatingSink::open() {
    // The library would wait and retry several times; this shows at once whether opening can succeed.
    const int probe = openForAdding(file_);
    if (probe < 0) {
        return;
    }
    ::close(probe);
    cutTornLine(file_);
    inner_ = std::make_unique<spdlog::sinks::rotating_file_sink_st>(file_, limits_.fileSize, limits_.olderFiles, false,
                                                                    keepPrivate());
    inner_->set_formatter(formatter_->clone());
}

void RotatingSink::sink_it_(const spdlog::details::log_msg& message) {
    const auto now = std::chrono::steady_clock::now();
    if (inner_ == nullptr && now < retry_) {
        return;
    }
    try {
        if (inner_ == nullptr) {
            open();
        }
        if (inner_ != nullptr) {
            inner_->log(message);
            // Flushed at once: a crash must not lose the last lines, and a timer would wake an idle process.
            inner_->flush();
        }
    } catch (const std::exception&) {
        // After a failure the library's sink may have no file left, and would crash at the next line. Closing the file
        // tries once more to write the rest of this line.
        inner_.reset();
        cutTornLine(file_);
    }
    if (inner_ == nullptr) {
        retry_ = now + limits_.pause;
    }
}

void RotatingSink::flush_() {}

}  // namespace ktrtrace
