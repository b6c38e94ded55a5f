// The trace plug-in's three functions. They may be called from any thread at any time, even while the process ends.
// They preserve errno, and no exception leaves them.

#include "plugins/ktrtrace/TraceLevel.h"
#include "plugins/ktrtrace/TraceLog.h"
#include "plugins/ktrtrace/TraceSlot.h"
#include "plugins/ktrtrace/TraceText.h"

#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <optional>
#include <string>

namespace {

constexpr std::int32_t taken = 0;
constexpr std::int32_t lost = -1;

// Created for the first line and never destroyed: threads may still trace while the process ends.
ktrtrace::TraceLog& traceLog() {
    static auto& log =
        *new ktrtrace::TraceLog(ktrtrace::traceFolder(), ktrtrace::levelOfName(std::getenv("KTRTRACE_LEVEL")), {});
    return log;
}

/// `makeText` returns the text, or none; it is called only if the level is enabled, and with the caller's errno.
template<typename MakeText>
std::int32_t trace(std::uint64_t bits, const char* module, const char* second, MakeText makeText) noexcept {
    const int error = errno;
    std::int32_t result = lost;
    try {
        auto& log = traceLog();
        const auto level = ktrtrace::levelOfBits(bits);
        if (!log.takes(level)) {
            result = log.fileName() != nullptr ? taken : lost;
        } else {
            errno = error;
            const std::optional<std::string> text = makeText();
            result = text && log.write(level, ktrtrace::lineOf(module, second, *text)) ? taken : lost;
        }
    } catch (const std::exception&) {
        // No memory even for a line; the application must not notice.
        result = lost;
    }
    errno = error;
    return result;
}

}  // namespace

extern "C" {

__attribute__((visibility("default"), format(printf, 4, 0))) std::int32_t
KTRTRACE(std::uint64_t level, const char* module, const char* second, const char* format, std::va_list arguments) {
    return trace(level, module, second, [&] { return ktrtrace::formatted(format, arguments); });
}

__attribute__((visibility("default"))) std::int32_t KTRTRACERAW(std::uint64_t level, const char* module,
                                                                const char* second, const char* text) {
    return trace(level, module, second,
                 [&] { return text != nullptr ? std::optional<std::string>(text) : std::nullopt; });
}

__attribute__((visibility("default"))) const char* KTRTRACEFILENAME() {
    try {
        return traceLog().fileName();
    } catch (const std::exception&) {
        return nullptr;
    }
}
}
