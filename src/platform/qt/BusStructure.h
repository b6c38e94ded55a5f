#pragma once

#include <QDBusArgument>

/// Writes and reads a value's fields as one structure of the bus, in the order given. Any thread.
namespace platform::qt {

template<typename... Fields>
QDBusArgument& writeStructure(QDBusArgument& argument, const Fields&... fields) {
    argument.beginStructure();
    (argument << ... << fields);
    argument.endStructure();
    return argument;
}

template<typename... Fields>
const QDBusArgument& readStructure(const QDBusArgument& argument, Fields&... fields) {
    argument.beginStructure();
    (argument >> ... >> fields);
    argument.endStructure();
    return argument;
}

}  // namespace platform::qt
