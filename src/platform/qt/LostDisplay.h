#pragma once

#include <functional>
#include <string>
#include <vector>

/// Outliving a display. The toolkit ends a program whose X server or Wayland compositor has gone.
namespace platform::qt {

/// From here on an end that `expectEnd` has not announced starts this program again in the same process, off-screen and
/// with `arguments` (the program's path first). `before` runs first, on whatever thread the end comes. Once a process.
void startAgainWhenDisplayIsLost(std::vector<std::string> arguments, std::function<void()> before);

/// The process is about to end because it was asked to.
void expectEnd();

/// Whether this program has been started again for want of a display; false from the second call on.
bool wasStartedAgain();

}  // namespace platform::qt
