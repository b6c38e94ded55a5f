#pragma once

#include <QString>
#include <QVariantMap>
#include <string>

/// One notification on the bus. Value; any thread.
struct Notification {
    QString name;
    QString object;        ///< empty: none
    QVariantMap userInfo;  ///< texts, numbers, and byte arrays for paths that are not UTF-8
};

/// One line without line end: the name, the object if there is one, then `key=type:value` for every entry.
std::string asText(const Notification& notification);

/// One JSON object in one line without line end: `name`, `object`, `userInfo`, where every entry of `userInfo` is an
/// object of `type` (its D-Bus signature) and `value` (a byte array as a list of numbers).
std::string asJson(const Notification& notification);

/// A path in the form it has on the bus: a text if it is UTF-8, else a byte array.
QVariant pathValue(const std::string& path);
