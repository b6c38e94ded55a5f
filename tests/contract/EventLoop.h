#pragma once

#include <chrono>
#include <functional>

namespace test {

/// Turns the real event loop of this thread until `done` holds; false when it does not within `limit`.
bool turnUntil(const std::function<bool()>& done, std::chrono::milliseconds limit = std::chrono::seconds(20));

/// Turns the real event loop for this long.
void turnFor(std::chrono::milliseconds time);

}  // namespace test
