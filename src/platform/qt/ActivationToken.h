#pragma once

#include <QString>

/// The desktop's leave to come to the front, on its way from the press of a button to what that press opens. A token is
/// good for one opening. Main thread.
namespace platform::qt {

void setActivationToken(const QString& token);

/// Empty when there is none; there is none afterwards.
QString takeActivationToken();

}  // namespace platform::qt
