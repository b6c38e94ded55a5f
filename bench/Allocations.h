#pragma once

#include <cstddef>

namespace bench {

/// How often this thread has called `operator new`, which this program replaces.
std::size_t allocationsOfThisThread();

}  // namespace bench
