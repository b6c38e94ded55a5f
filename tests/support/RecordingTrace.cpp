#include "support/RecordingTrace.h"

#include "support/Sequence.h"
#include "unifiedtram/unifiedtram.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <utility>

namespace test {

namespace {

std::atomic<RecordingTrace*> current{nullptr};

std::optional<std::string> copied(const char* text) {
    return text != nullptr ? std::optional<std::string>(text) : std::nullopt;
}

KTR_PRINTF(1, 0) std::string expanded(const char* format, std::va_list arguments) {
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), format, arguments);
    text.pop_back();
    return text;
}

}  // namespace

std::string info(const std::string& text) {
    return "info " + text;
}

std::string warning(const std::string& text) {
    return "warning " + text;
}

std::string error(const std::string& text) {
    return "error " + text;
}

RecordingTrace::RecordingTrace() : previous_(g_ktrtrace.exchange(&RecordingTrace::record)) {
    current = this;
}

RecordingTrace::~RecordingTrace() {
    g_ktrtrace = previous_;
    current = nullptr;
}

std::int32_t RecordingTrace::record(std::uint64_t level, const char* module, const char* second, const char* format,
                                    std::va_list arguments) {
    auto* const trace = current.load();
    trace->add({level, copied(module), copied(second), expanded(format, arguments), std::this_thread::get_id()});
    const std::lock_guard lock(trace->mutex_);
    return trace->result_;
}

void RecordingTrace::add(const TraceLine& line) {
    Sequence::add("trace: " + line.text);
    std::function<void(const TraceLine&)> onLine;
    {
        const std::lock_guard lock(mutex_);
        lines_.push_back(line);
        onLine = onLine_;
        changed_.notify_all();
    }
    if (onLine) {
        onLine(line);
    }
}

std::string RecordingTrace::written(const TraceLine& line) {
    std::string prefix;
    switch (line.level) {
    case kKTRTraceLevelInfo:
        prefix = "info ";
        break;
    case kKTRTraceLevelWarning:
        prefix = "warning ";
        break;
    case kKTRTraceLevelError:
        prefix = "error ";
        break;
    default:
        prefix = "level " + std::to_string(line.level) + ' ';
    }
    if (line.module != "RecordConverter") {
        prefix = "[module " + line.module.value_or("null") + "] " + prefix;
    }
    if (line.second) {
        prefix = "[second " + *line.second + "] " + prefix;
    }
    return prefix + line.text;
}

std::vector<TraceLine> RecordingTrace::lines() const {
    const std::lock_guard lock(mutex_);
    return lines_;
}

Log RecordingTrace::log() const {
    Log log;
    for (const auto& line : lines()) {
        log.push_back(written(line));
    }
    return log;
}

Log RecordingTrace::log(std::thread::id thread) const {
    Log log;
    for (const auto& line : lines()) {
        if (line.thread == thread) {
            log.push_back(written(line));
        }
    }
    return log;
}

Log RecordingTrace::logWithout(std::thread::id thread) const {
    Log log;
    for (const auto& line : lines()) {
        if (line.thread != thread) {
            log.push_back(written(line));
        }
    }
    return log;
}

void RecordingTrace::clear() {
    const std::lock_guard lock(mutex_);
    lines_.clear();
}

bool RecordingTrace::waitFor(const std::string& ending, std::size_t count) const {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(10), [&] {
        const auto seen =
            std::count_if(lines_.begin(), lines_.end(), [&](const auto& line) { return line.text.ends_with(ending); });
        return static_cast<std::size_t>(seen) >= count;
    });
}

void RecordingTrace::setResult(std::int32_t result) {
    const std::lock_guard lock(mutex_);
    result_ = result;
}

void RecordingTrace::setOnLine(std::function<void(const TraceLine&)> onLine) {
    const std::lock_guard lock(mutex_);
    onLine_ = std::move(onLine);
}

}  // namespace test
