#pragma once

#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <string>

/// The trace facility: every diagnostic line of the application goes through here to an optional plug-in, which is
/// looked up once, before the entry point runs. Without the plug-in a call is one read of a pointer; nothing is
/// formatted. All functions may be called from any thread; texts are NUL-terminated or null.

/// Trace levels, one bit each.
inline constexpr std::uint64_t kKTRTraceLevelDebug = 1;
inline constexpr std::uint64_t kKTRTraceLevelInfo = 2;
inline constexpr std::uint64_t kKTRTraceLevelWarning = 4;
inline constexpr std::uint64_t kKTRTraceLevelError = 8;

/// Types of the plug-in's three functions, looked up as "KTRTRACE", "KTRTRACERAW" and "KTRTRACEFILENAME". They must
/// allow concurrent calls.
using KTRTraceFunction = std::int32_t (*)(std::uint64_t level, const char* module, const char* second,
                                          const char* format, std::va_list arguments);
using KTRTraceRawFunction = std::int32_t (*)(std::uint64_t level, const char* first, const char* second,
                                             const char* third);
using KTRTraceFileNameFunction = const char* (*)();

#define KTR_EXPORTED __attribute__((visibility("default")))
#define KTR_PRINTF(formatIndex, firstArgument) __attribute__((format(printf, formatIndex, firstArgument)))

/// The plug-in's functions; null if the plug-in is absent or lacks that function.
extern KTR_EXPORTED std::atomic<KTRTraceFunction> g_ktrtrace;
extern KTR_EXPORTED std::atomic<KTRTraceRawFunction> g_ktrtraceraw;
extern KTR_EXPORTED std::atomic<KTRTraceFileNameFunction> g_ktrtracefilename;

/// Finds the plug-in and owns its handle. One instance, `ktrtra_init_instance`, is built during static initialisation.
class ktrtra_init_class {
public:
    /// Looks in the folder `PlugIns` of the application folder, then beside the application folder, and loads the entry
    /// points of the plug-in it finds.
    ktrtra_init_class();

    /// Resets the two trace entry points and releases the plug-in. The file-name query keeps its entry point: the
    /// plug-in's code stays in memory, so that threads still tracing while the process ends stay safe.
    ~ktrtra_init_class();

    ktrtra_init_class(const ktrtra_init_class&) = delete;
    ktrtra_init_class& operator=(const ktrtra_init_class&) = delete;

private:
    bool LoadTraceModule();
    bool LoadComponentBundleFromPluginFolder();
    bool loadBundleInFolder(const std::string& folder);

    const char* const bundleName_ = "ktrtrace.bundle";
    void* bundle_ = nullptr;
};

/// All trace functions return the plug-in's result, or -1 without its entry point.
KTR_EXPORTED std::int32_t KTRTRACE2(std::uint64_t level, const char* module, const char* second, const char* format,
                                    std::va_list arguments) KTR_PRINTF(4, 0);
KTR_EXPORTED std::int32_t KTRTRACERAW(std::uint64_t level, const char* first, const char* second, const char* third);

/// The plug-in's trace file name; null without its entry point.
KTR_EXPORTED const char* KTRTRACEFILENAME2();

KTR_EXPORTED std::int32_t KTRDEBUG(const char* format, ...) KTR_PRINTF(1, 2);
KTR_EXPORTED std::int32_t KTRINFO(const char* format, ...) KTR_PRINTF(1, 2);
KTR_EXPORTED std::int32_t KTRWARN(const char* format, ...) KTR_PRINTF(1, 2);
KTR_EXPORTED std::int32_t KTRERROR(const char* format, ...) KTR_PRINTF(1, 2);

KTR_EXPORTED std::int32_t KTRDEBUG2(const char* module, const char* format, ...) KTR_PRINTF(2, 3);
KTR_EXPORTED std::int32_t KTRINFO2(const char* module, const char* format, ...) KTR_PRINTF(2, 3);
KTR_EXPORTED std::int32_t KTRWARN2(const char* module, const char* format, ...) KTR_PRINTF(2, 3);
KTR_EXPORTED std::int32_t KTRERROR2(const char* module, const char* format, ...) KTR_PRINTF(2, 3);

extern "C" {
KTR_EXPORTED std::int32_t MacDebugTrace2(const char* module, const char* format, ...) KTR_PRINTF(2, 3);
KTR_EXPORTED std::int32_t MacInfoTrace2(const char* module, const char* format, ...) KTR_PRINTF(2, 3);
KTR_EXPORTED std::int32_t MacWarnTrace2(const char* module, const char* format, ...) KTR_PRINTF(2, 3);
KTR_EXPORTED std::int32_t MacErrorTrace2(const char* module, const char* format, ...) KTR_PRINTF(2, 3);
KTR_EXPORTED const char* MacTraceFileName2();
}

// A variadic function stores its arguments before its first statement, whether it needs them or not. GCC therefore
// expands the four functions that the application calls at the caller, which tests for the plug-in first. Without a
// plug-in this saves 25 instructions of a call: 0.9 ns instead of 2.3 (bench/core_bench.cpp). The name with "Called" is
// the real function, because an expanded function cannot call itself. Clang cannot pass the arguments on, so its
// callers use the real functions.
#if defined(__GNUC__) && !defined(__clang__)

#define KTR_TRACE_AT_CALLER(function)                                                                                  \
    KTR_EXPORTED std::int32_t function##Called(const char* module, const char* format, ...) __asm__(#function);        \
    extern inline __attribute__((always_inline, gnu_inline)) std::int32_t function(const char* module,                 \
                                                                                   const char* format, ...) {          \
        return g_ktrtrace.load(std::memory_order_acquire) == nullptr                                                   \
                   ? -1                                                                                                \
                   : function##Called(module, format, __builtin_va_arg_pack());                                        \
    }

extern "C" {
KTR_TRACE_AT_CALLER(MacDebugTrace2)
KTR_TRACE_AT_CALLER(MacInfoTrace2)
KTR_TRACE_AT_CALLER(MacWarnTrace2)
KTR_TRACE_AT_CALLER(MacErrorTrace2)
}

#undef KTR_TRACE_AT_CALLER

#endif
