#pragma once

#include <atomic>
#include <dlfcn.h>

namespace mediaconverter {

/// The function of that name that the caller's own one stands in front of, for a program or preloaded library that
/// replaces functions of the C library and passes calls on. `known` keeps it, so that it is looked up once. Any thread.
template<typename Function>
Function nextFunction(std::atomic<Function>& known, const char* name) {
    Function function = known.load(std::memory_order_relaxed);
    if (function == nullptr) {
        function = reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
        known.store(function, std::memory_order_relaxed);
    }
    return function;
}

}  // namespace mediaconverter
