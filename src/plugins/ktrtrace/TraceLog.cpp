#include "plugins/ktrtrace/TraceLog.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <pthread.h>
#include <string_view>
#include <unistd.h>

namespace ktrtrace {

namespace {

// Time with its zone, level, process, thread and text.
constexpr const char* pattern = "%Y-%m-%dT%H:%M:%S.%f%z %-7l %P %v";

spdlog::level::level_enum libraryLevel(TraceLevel level) {
    switch (level) {
    case TraceLevel::debug:
        return spdlog::level::debug;
    case TraceLevel::warning:
        return spdlog::level::warn;
    case TraceLevel::error:
        return spdlog::level::err;
    case TraceLevel::info:
    case TraceLevel::off:
        break;
    }
    return spdlog::level::info;
}

/// "main", or the name that the thread has set for itself.
const char* threadName() {
    thread_local std::array<char, 16> name{};
    if (name.front() == '\0') {
        if (::gettid() == ::getpid() || ::pthread_getname_np(::pthread_self(), name.data(), name.size()) != 0) {
            name = {'m', 'a', 'i', 'n'};
        }
    }
    return name.data();
}

std::string programPath() {
    std::array<char, 4096> path{};
    const auto length = ::readlink("/proc/self/exe", path.data(), path.size());
    return length > 0 ? std::string(path.data(), static_cast<std::size_t>(length)) : "unknown";
}

}  // namespace

TraceLog::TraceLog(const std::string& folder, TraceLevel least, RotatingSink::Limits limits) : least_(least) {
    if (least == TraceLevel::off) {
        return;
    }
    std::string trouble;
    slot_ = TraceSlot::taken(folder, trouble);
    if (!slot_) {
        static_cast<void>(std::fprintf(stderr, "ktrtrace: no trace in %s: %s\n", folder.c_str(), trouble.c_str()));
        return;
    }
    sink_ = std::make_shared<RotatingSink>(slot_->file(), limits);
    logger_ = std::make_unique<spdlog::logger>("ktrtrace", sink_);
    logger_->set_level(spdlog::level::trace);
    logger_->set_pattern(pattern);
    // The library's own handler would write to standard error repeatedly.
    logger_->set_error_handler([](const std::string&) {});
    write(TraceLevel::info, "ktrtrace: the trace of " + programPath() + " begins, level " + std::string(nameOf(least)));
}

bool TraceLog::write(TraceLevel level, const std::string& line) {
    logger_->log(libraryLevel(level), spdlog::string_view_t(threadName() + (' ' + line)));
    return sink_->isWriting();
}

}  // namespace ktrtrace
