// A trace plug-in that reports its name. The build sets its exports and its name.
#include <cstdarg>
#include <cstdint>
#include <cstdio>

namespace {

[[gnu::constructor]] void sayLoaded() {
    std::printf("loaded %s\n", TEST_PLUGIN_NAME);
}

}  // namespace

#define EXPORTED extern "C" __attribute__((visibility("default")))

#ifdef TEST_PLUGIN_TRACE
EXPORTED std::int32_t KTRTRACE(std::uint64_t level, const char* module, const char* second, const char* format,
                               std::va_list arguments);

EXPORTED __attribute__((format(printf, 4, 0))) std::int32_t
KTRTRACE(std::uint64_t level, const char* module, const char* second, const char* format, std::va_list arguments) {
    std::printf("trace %s %d %s %s ", TEST_PLUGIN_NAME, static_cast<int>(level), module != nullptr ? module : "(null)",
                second != nullptr ? second : "(null)");
    std::vprintf(format, arguments);
    std::printf("\n");
    return 100;
}
#endif

#ifdef TEST_PLUGIN_RAW
EXPORTED std::int32_t KTRTRACERAW(std::uint64_t level, const char* first, const char* second, const char* third);

EXPORTED std::int32_t KTRTRACERAW(std::uint64_t level, const char* first, const char* second, const char* third) {
    std::printf("raw %s %d %s %s %s\n", TEST_PLUGIN_NAME, static_cast<int>(level), first, second, third);
    return 200;
}
#endif

#ifdef TEST_PLUGIN_FILENAME
EXPORTED const char* KTRTRACEFILENAME();

EXPORTED const char* KTRTRACEFILENAME() {
    return TEST_PLUGIN_NAME ".log";
}
#endif
