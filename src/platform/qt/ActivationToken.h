#pragma once

#include <QString>

/// The desktop's permission to come to the front, passed from the press of a button to the program that the press
/// opens. A token is valid for one opening. Main thread.
namespace platform::qt {

void setActivationToken(const QString& token);

/// Empty if there is none. Calling it removes the token.
QString takeActivationToken();

}  // namespace platform::qt
