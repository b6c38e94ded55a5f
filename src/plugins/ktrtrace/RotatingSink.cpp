#include "plugins/ktrtrace/RotatingSink.h"

#include "plugins/ktrtrace/TraceSlot.h"

#include <cstdio>
#include <exception>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

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

}  // namespace

RotatingSink::RotatingSink(std::string file, Limits limits) : file_(std::move(file)), limits_(limits) {}

bool RotatingSink::isWriting() {
    const std::lock_guard lock(mutex_);
    return inner_ != nullptr;
}

void RotatingSink::open() {
    // The library would wait and try again several times; this tells at once whether there is any use.
    const int probe = openForAdding(file_);
    if (probe < 0) {
        return;
    }
    ::close(probe);
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
            // At once: a crash must not take the last lines along, and a timer would wake an idle process.
            inner_->flush();
        }
    } catch (const std::exception&) {
        // After a failure the library's sink may be left without a file, and would crash at the next line.
        inner_.reset();
    }
    if (inner_ == nullptr) {
        retry_ = now + limits_.pause;
    }
}

void RotatingSink::flush_() {}

}  // namespace ktrtrace
