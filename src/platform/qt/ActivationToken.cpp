#include "platform/qt/ActivationToken.h"

#include <utility>

namespace platform::qt {

namespace {

QString& current() {
    static QString token;
    return token;
}

}  // namespace

void setActivationToken(const QString& token) {
    current() = token;
}

QString takeActivationToken() {
    return std::exchange(current(), {});
}

}  // namespace platform::qt
