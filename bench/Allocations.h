#pragma once

#include <cstddef>

namespace bench {

/// How often this thread has asked for memory by `operator new`, which the program replaces.
std::size_t allocationsOfThisThread();

}  // namespace bench
