#pragma once

#include <condition_variable>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace test {

/// One trace line as it reaches the plug-in.
struct TraceLine {
    std::uint64_t level;
    std::optional<std::string> module;
    std::optional<std::string> second;
    std::string text;
    std::thread::id thread;
};

using Log = std::vector<std::string>;

// The form in which `RecordingTrace::log` writes a line of the application: the level, then the expanded text.
std::string info(const std::string& text);
std::string warning(const std::string& text);
std::string error(const std::string& text);

/// Replaces the trace plug-in for its lifetime and records the trace; restores the previous one at its end. One at a
/// time. Lines may come from any thread.
class RecordingTrace {
public:
    RecordingTrace();
    ~RecordingTrace();
    RecordingTrace(const RecordingTrace&) = delete;
    RecordingTrace& operator=(const RecordingTrace&) = delete;

    std::vector<TraceLine> lines() const;

    /// Every line in the form of `info`, `warning` and `error`, in order. A line without the application's module, or
    /// with more, is marked, so that no comparison misses it.
    Log log() const;

    /// The lines of one thread.
    Log log(std::thread::id thread) const;

    /// The lines of all threads but one.
    Log logWithout(std::thread::id thread) const;

    /// Forgets the lines recorded so far.
    void clear();

    /// Waits until a line that ends in `ending` has been traced `count` times; false after ten seconds.
    bool waitFor(const std::string& ending, std::size_t count = 1) const;

    /// Sets the result of the trace entry point; 0 by default.
    void setResult(std::int32_t result);

    /// Called for each line after it was recorded, on the tracing thread: lets a test act at exactly that moment.
    void setOnLine(std::function<void(const TraceLine&)> onLine);

private:
    static std::int32_t record(std::uint64_t level, const char* module, const char* second, const char* format,
                               std::va_list arguments) __attribute__((format(printf, 4, 0)));
    static std::string written(const TraceLine& line);

    void add(const TraceLine& line);

    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::vector<TraceLine> lines_;
    std::int32_t result_ = 0;
    std::function<void(const TraceLine&)> onLine_;
    std::int32_t (*previous_)(std::uint64_t, const char*, const char*, const char*, std::va_list);
};

}  // namespace test
