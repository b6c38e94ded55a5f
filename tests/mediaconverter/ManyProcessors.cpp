// A library to preload: the machine seems to have 64 processors.

#include <cstddef>
#include <sched.h>

extern "C" __attribute__((visibility("default"))) int sched_getaffinity(pid_t, std::size_t size,
                                                                        cpu_set_t* processors) noexcept {
    CPU_ZERO_S(size, processors);
    for (std::size_t processor = 0; processor < 64; ++processor) {
        CPU_SET_S(processor, size, processors);
    }
    return 0;
}
