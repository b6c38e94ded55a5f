#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// Outliving a display. The toolkit ends a program whose X server or Wayland compositor has gone.
namespace platform::qt {

/// From here on an end that `expectEnd` has not announced starts this program again in the same process, off-screen and
/// with the arguments that `prepare` gives (the program's path first); where it gives none, the end takes its course.
/// `prepare` runs on whatever thread the end comes. Once a process.
void startAgainWhenDisplayIsLost(std::function<std::optional<std::vector<std::string>>()> prepare);

/// The process is about to end because it was asked to.
void expectEnd();

/// Whether this program has been started again for want of a display; false from the second call on.
bool wasStartedAgain();

}  // namespace platform::qt
