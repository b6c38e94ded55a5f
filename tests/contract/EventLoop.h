#pragma once

#include <chrono>
#include <functional>

namespace test {

/// Runs the real event loop of this thread until `done` returns true; false if it does not within `limit`.
bool turnUntil(const std::function<bool()>& done, std::chrono::milliseconds limit = std::chrono::seconds(20));

/// Runs the real event loop for this time.
void turnFor(std::chrono::milliseconds time);

}  // namespace test
