#include "platform/qt/BusValues.h"

#include <QByteArray>
#include <QDBusVariant>
#include <QMetaType>
#include <QStringDecoder>
#include <type_traits>

namespace platform::qt {

namespace {

QVariant busText(const std::string& text) {
    const QByteArray bytes(text.data(), static_cast<qsizetype>(text.size()));
    QStringDecoder decoder(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
    const QString decoded = decoder(bytes);
    return decoder.hasError() || bytes.contains('\0') ? QVariant(bytes) : QVariant(decoded);
}

}  // namespace

QVariant busValue(const UserInfoValue& value) {
    return std::visit(
        [](const auto& held) -> QVariant {
            using Held = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<Held, std::string>) {
                return busText(held);
            } else if constexpr (std::is_same_v<Held, Bytes>) {
                return QByteArray(reinterpret_cast<const char*>(held.data()), static_cast<qsizetype>(held.size()));
            } else if constexpr (std::is_same_v<Held, std::int64_t>) {
                return QVariant::fromValue<qlonglong>(held);
            } else if constexpr (std::is_same_v<Held, std::uint64_t>) {
                return QVariant::fromValue<qulonglong>(held);
            } else {
                return QVariant::fromValue(held);
            }
        },
        value);
}

std::optional<UserInfoValue> userInfoValue(const QVariant& value) {
    switch (value.metaType().id()) {
    case QMetaType::Int:
        return value.value<std::int32_t>();
    case QMetaType::UInt:
        return value.value<std::uint32_t>();
    case QMetaType::LongLong:
        return std::int64_t{value.toLongLong()};
    case QMetaType::ULongLong:
        return std::uint64_t{value.toULongLong()};
    case QMetaType::Short:
        return value.value<std::int16_t>();
    case QMetaType::UShort:
        return value.value<std::uint16_t>();
    case QMetaType::UChar:
        return value.value<std::uint8_t>();
    case QMetaType::Double:
        return value.toDouble();
    case QMetaType::Bool:
        return value.toBool();
    case QMetaType::QString:
        return value.toString().toStdString();
    case QMetaType::QByteArray: {
        const auto bytes = value.toByteArray();
        return Bytes(bytes.begin(), bytes.end());
    }
    default:
        break;
    }
    if (value.metaType() == QMetaType::fromType<QDBusVariant>()) {
        return userInfoValue(value.value<QDBusVariant>().variant());
    }
    return std::nullopt;
}

QVariantMap busValues(const UserInfo& userInfo) {
    QVariantMap values;
    for (const auto& [key, value] : userInfo) {
        values.insert(QString::fromStdString(key), busValue(value));
    }
    return values;
}

UserInfo userInfo(const QVariantMap& values) {
    UserInfo plain;
    for (auto entry = values.begin(); entry != values.end(); ++entry) {
        if (auto value = userInfoValue(entry.value())) {
            plain.emplace(entry.key().toStdString(), std::move(*value));
        }
    }
    return plain;
}

}  // namespace platform::qt
