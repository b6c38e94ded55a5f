#include "reference_calls.h"

std::int32_t emptyCall(const char*, const char*, ...) {
    return -1;
}
