#pragma once

#include <QString>
#include <functional>
#include <string>

namespace platform::qt {

/// One line of the status icon's menu.
struct StatusMenuEntry {
    /// Identifies the entry while its text changes.
    std::string key;
    std::string text;
    /// Called on the main thread, from the event loop, when the user chooses the entry.
    std::function<void()> chosen;
};

/// The text with `mnemonic`, the character that marks a key in a menu's text, doubled, so that it is shown as it is; a
/// long text is shortened in its middle.
QString menuLabel(const std::string& text, QChar mnemonic);

}  // namespace platform::qt
