#include "unifiedtram/unifiedtram.h"

#include <dlfcn.h>
#include <filesystem>
#include <system_error>

// Constant initialisation: a trace call from another unit's static initialiser sees null, never an unconstructed
// object.
constinit std::atomic<KTRTraceFunction> g_ktrtrace{nullptr};
constinit std::atomic<KTRTraceRawFunction> g_ktrtraceraw{nullptr};
constinit std::atomic<KTRTraceFileNameFunction> g_ktrtracefilename{nullptr};

namespace {

ktrtra_init_class ktrtra_init_instance;

/// Empty if the system cannot provide it, which leaves the facility without a plug-in.
std::filesystem::path applicationFolder() {
    std::error_code error;
    const auto executable = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::filesystem::path() : executable.parent_path().parent_path();
}

template<typename Function>
Function lookUp(void* bundle, const char* name) {
    return reinterpret_cast<Function>(::dlsym(bundle, name));
}

}  // namespace

ktrtra_init_class::ktrtra_init_class() {
    if (!LoadTraceModule()) {
        return;
    }
    g_ktrtrace = lookUp<KTRTraceFunction>(bundle_, "KTRTRACE");
    g_ktrtraceraw = lookUp<KTRTraceRawFunction>(bundle_, "KTRTRACERAW");
    g_ktrtracefilename = lookUp<KTRTraceFileNameFunction>(bundle_, "KTRTRACEFILENAME");
}

ktrtra_init_class::~ktrtra_init_class() {
    g_ktrtrace = nullptr;
    g_ktrtraceraw = nullptr;
    if (bundle_ != nullptr) {
        ::dlclose(bundle_);
    }
}

bool ktrtra_init_class::LoadTraceModule() {
    if (LoadComponentBundleFromPluginFolder()) {
        return true;
    }
    const auto folder = applicationFolder();
    return !folder.empty() && loadBundleInFolder(folder.parent_path());
}

bool ktrtra_init_class::LoadComponentBundleFromPluginFolder() {
    const auto folder = applicationFolder();
    return !folder.empty() && loadBundleInFolder(folder / "PlugIns");
}

bool ktrtra_init_class::loadBundleInFolder(const std::string& folder) {
    const std::string file = folder + '/' + bundleName_;
    // NODELETE: see the destructor's promise.
    bundle_ = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    return bundle_ != nullptr;
}

std::int32_t KTRTRACE2(std::uint64_t level, const char* module, const char* second, const char* format,
                       std::va_list arguments) {
    const auto trace = g_ktrtrace.load(std::memory_order_acquire);
    return trace != nullptr ? trace(level, module, second, format, arguments) : -1;
}

std::int32_t KTRTRACERAW(std::uint64_t level, const char* first, const char* second, const char* third) {
    const auto trace = g_ktrtraceraw.load(std::memory_order_acquire);
    return trace != nullptr ? trace(level, first, second, third) : -1;
}

const char* KTRTRACEFILENAME2() {
    const auto fileName = g_ktrtracefilename.load(std::memory_order_acquire);
    return fileName != nullptr ? fileName() : nullptr;
}

// The variadic functions differ only in level and module. A variable-argument list can only be started in the function
// that received it, hence a macro and not a function. The test comes before the list, so without a plug-in a call costs
// little more than the call itself.
#define KTR_TRACE_AND_RETURN(level, module)                                                                            \
    if (g_ktrtrace.load(std::memory_order_acquire) == nullptr) {                                                       \
        return -1;                                                                                                     \
    }                                                                                                                  \
    std::va_list arguments;                                                                                            \
    va_start(arguments, format);                                                                                       \
    const std::int32_t result = KTRTRACE2(level, module, nullptr, format, arguments);                                  \
    va_end(arguments);                                                                                                 \
    return result

std::int32_t KTRDEBUG(const char* format, ...) {
    KTR_TRACE_AND_RETURN(kKTRTraceLevelDebug, nullptr);
}
std::int32_t KTRINFO(const char* format, ...) {
    KTR_TRACE_AND_RETURN(kKTRTraceLevelInfo, nullptr);
}
std::int32_t KTRWARN(const char* format, ...) {
    KTR_TRACE_AND_RETURN(kKTRTraceLevelWarning, nullptr);
}
std::int32_t KTRERROR(const char* format, ...) {
    KTR_TRACE_AND_RETURN(kKTRTraceLevelError, nullptr);
}

std::int32_t KTRDEBUG2(const char* module, const char* format, ...) {
    KTR_TRACE_AND_RETURN(kKTRTraceLevelDebug, module);
}
std::int32_t KTRINFO2(const char* module, const char* format, ...) {
    KTR_TRACE_AND_RETURN(kKTRTraceLevelInfo, module);
}
std::int32_t KTRWARN2(const char* module, const char* format, ...) {
    KTR_TRACE_AND_RETURN(kKTRTraceLevelWarning, module);
}
std::int32_t KTRERROR2(const char* module, const char* format, ...) {
    KTR_TRACE_AND_RETURN(kKTRTraceLevelError, module);
}

std::int32_t MacDebugTrace2(const char* module, const char* format, ...) {
    KTR_TRACE_AND_RETURN(kKTRTraceLevelDebug, module);
}
std::int32_t MacInfoTrace2(const char* module, const char* format, ...) {
    KTR_TRACE_AND_RETURN(kKTRTraceLevelInfo, module);
}
std::int32_t MacWarnTrace2(const char* module, const char* format, ...) {
    KTR_TRACE_AND_RETURN(kKTRTraceLevelWarning, module);
}
std::int32_t MacErrorTrace2(const char* module, const char* format, ...) {
    KTR_TRACE_AND_RETURN(kKTRTraceLevelError, module);
}

const char* MacTraceFileName2() {
    return KTRTRACEFILENAME2();
}
