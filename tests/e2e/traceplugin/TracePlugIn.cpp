// A trace plug-in for tests: appends each line to the file that RECORD_CONVERTER_TEST_TRACE names, after the level and
// the name of the thread, "main" or its id. A thread whose line contains a line of the file of that name with ".hold"
// waits until that file no longer has that line.

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <string>
#include <unistd.h>

namespace {

__attribute__((format(printf, 1, 0))) std::string formatted(const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const int size = std::vsnprintf(nullptr, 0, format, arguments);
    std::string text(static_cast<std::size_t>(size < 0 ? 0 : size), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    return text;
}

bool isHeld(const std::string& trace, const std::string& text) {
    std::ifstream file(trace + ".hold");
    for (std::string part; std::getline(file, part);) {
        if (text.find(part) != std::string::npos) {
            return true;
        }
    }
    return false;
}

int add(std::uint64_t level, const char* module, const std::string& text) {
    const char* const path = std::getenv("RECORD_CONVERTER_TEST_TRACE");
    if (path == nullptr) {
        return 0;
    }
    const std::string thread = gettid() == getpid() ? "main" : std::to_string(gettid());
    const std::string line =
        std::to_string(level) + ' ' + thread + ' ' + (module != nullptr ? module : "(none)") + '|' + text + '\n';
    // One write to a file opened for appending: lines of several threads do not mix.
    const int file = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    const auto written = write(file, line.data(), line.size());
    close(file);
    while (isHeld(path, text)) {
        usleep(1000);
    }
    return static_cast<int>(written);
}

}  // namespace

extern "C" {

__attribute__((visibility("default"), format(printf, 4, 0))) int
KTRTRACE(std::uint64_t level, const char* module, const char* /*second*/, const char* format, va_list arguments) {
    return add(level, module, formatted(format, arguments));
}

__attribute__((visibility("default"))) int KTRTRACERAW(std::uint64_t level, const char* module, const char* /*second*/,
                                                       const char* text) {
    return add(level, module, text);
}

__attribute__((visibility("default"))) const char* KTRTRACEFILENAME() {
    return std::getenv("RECORD_CONVERTER_TEST_TRACE");
}
}
