#include "tools/meeting-client/Notification.h"

#include <QDBusMetaType>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringDecoder>

namespace {

QString signatureOf(const QVariant& value) {
    return QString::fromLatin1(QDBusMetaType::typeToSignature(value.metaType()));
}

QJsonValue jsonValueOf(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::QByteArray: {
        QJsonArray bytes;
        for (const char byte : value.toByteArray()) {
            bytes.append(static_cast<unsigned char>(byte));
        }
        return bytes;
    }
    case QMetaType::Bool:
        return value.toBool();
    case QMetaType::Double:
        return value.toDouble();
    case QMetaType::QString:
        return value.toString();
    default:
        break;
    }
    // A JSON number holds 64 signed bits here; a greater value is written exactly, as a text.
    bool fits = false;
    const qlonglong number = value.toLongLong(&fits);
    if (fits && (value.typeId() != QMetaType::ULongLong || number >= 0)) {
        return number;
    }
    return value.toString();
}

// As in JSON, so that a line end or a quotation mark in a value cannot break the line.
QString quoted(const QString& text) {
    const QString list = QString::fromUtf8(QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact));
    return list.mid(1, list.size() - 2);
}

QString textOf(const QVariant& value) {
    if (value.typeId() == QMetaType::QByteArray) {
        return QString::fromLatin1(value.toByteArray().toPercentEncoding("/"));
    }
    return value.typeId() == QMetaType::QString ? quoted(value.toString()) : value.toString();
}

}  // namespace

std::string asText(const Notification& notification) {
    QString line = notification.name;
    if (!notification.object.isEmpty()) {
        line += QStringLiteral(" object=") + quoted(notification.object);
    }
    for (auto entry = notification.userInfo.begin(); entry != notification.userInfo.end(); ++entry) {
        line += ' ' + entry.key() + '=' + signatureOf(entry.value()) + ':' + textOf(entry.value());
    }
    return line.toStdString();
}

std::string asJson(const Notification& notification) {
    QJsonObject userInfo;
    for (auto entry = notification.userInfo.begin(); entry != notification.userInfo.end(); ++entry) {
        userInfo.insert(entry.key(),
                        QJsonObject{{"type", signatureOf(entry.value())}, {"value", jsonValueOf(entry.value())}});
    }
    const QJsonObject object{{"name", notification.name}, {"object", notification.object}, {"userInfo", userInfo}};
    return QJsonDocument(object).toJson(QJsonDocument::Compact).toStdString();
}

QVariant pathValue(const std::string& path) {
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder.decode(QByteArrayView(path.data(), static_cast<qsizetype>(path.size())));
    if (decoder.hasError()) {
        return QByteArray(path.data(), static_cast<qsizetype>(path.size()));
    }
    return text;
}
