#pragma once

#include "platform/UserInfo.h"

#include <QVariant>
#include <QVariantMap>
#include <optional>

/// The plain values of a notification as QtDBus carries them. Types survive both ways.
namespace platform::qt {

/// A text that is no valid D-Bus string (not UTF-8, or with a NUL) travels as bytes.
QVariant busValue(const UserInfoValue& value);

/// Absent for a type that notifications do not carry. Variants within variants are unwrapped.
std::optional<UserInfoValue> userInfoValue(const QVariant& value);

QVariantMap busValues(const UserInfo& userInfo);

/// Entries of other types are left out.
UserInfo userInfo(const QVariantMap& values);

}  // namespace platform::qt
