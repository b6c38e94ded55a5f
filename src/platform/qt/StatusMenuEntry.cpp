#include "platform/qt/StatusMenuEntry.h"

namespace platform::qt {

namespace {

/// Characters; a menu is as wide as its longest text.
constexpr qsizetype longestLabel = 60;
constexpr qsizetype keptAtTheEnd = 20;

}  // namespace

QString menuLabel(const std::string& text, QChar mnemonic) {
    auto label = QString::fromStdString(text);
    if (label.size() > longestLabel) {
        label = label.left(longestLabel - keptAtTheEnd - 1) + QChar(0x2026) + label.right(keptAtTheEnd);
    }
    return label.replace(mnemonic, QString(2, mnemonic));
}

}  // namespace platform::qt
