#pragma once

#include "platform/UserInfo.h"

#include <QVariant>
#include <QVariantMap>
#include <optional>

/// Converts the plain values of a notification to and from QtDBus. Types are preserved in both directions.
namespace platform::qt {

/// A text that is not a valid D-Bus string (not UTF-8, or with a NUL) is sent as bytes.
QVariant busValue(const UserInfoValue& value);

/// Absent for a type that notifications do not carry. Nested variants are unwrapped.
std::optional<UserInfoValue> userInfoValue(const QVariant& value);

QVariantMap busValues(const UserInfo& userInfo);

/// Omits entries of other types.
UserInfo userInfo(const QVariantMap& values);

}  // namespace platform::qt
