#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// Surviving the loss of a display. The toolkit ends a program whose X server or Wayland compositor has disappeared.
namespace platform::qt {

/// From here on, an end of the process that `expectEnd` has not announced restarts this program in the same process,
/// off-screen and with the arguments that `prepare` returns (the program's path first). If `prepare` returns none, the
/// process ends. `prepare` runs on whatever thread the end starts. Once per process.
void startAgainWhenDisplayIsLost(std::function<std::optional<std::vector<std::string>>()> prepare);

/// Announces that the process is about to end because it was asked to.
void expectEnd();

/// Whether this program has been restarted because it lost its display; false from the second call on.
bool wasStartedAgain();

}  // namespace platform::qt
