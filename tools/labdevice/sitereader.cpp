// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "labdevice/site.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QStringList>

#include <optional>

namespace lab {

namespace {

/** Reads one device; the first thing that is wrong with it is kept. */
class DeviceReader
{
public:
    DeviceReader(const QJsonObject& json, const QList<DeviceSpec>& others)
        : m_json(json), m_others(others)
    {
    }

    DeviceSpec read();
    QString error() const { return m_error; }

private:
    void refuse(const QString& key, const QString& why);
    std::optional<QString> text(const QString& key);
    std::optional<int> number(const QString& key, int least, int most);
    void checkKeys();
    QString readName();
    QHostAddress readAddress();
    QString readMac(const QHostAddress& address);
    EAnswer readAnswer();
    QList<quint16> readPorts(EAnswer answer);

    const QJsonObject& m_json;
    const QList<DeviceSpec>& m_others;
    QString m_error;
};

QString shown(const QJsonValue& value)
{
    const QJsonArray wrapped{ value };
    const QByteArray json = QJsonDocument(wrapped).toJson(QJsonDocument::Compact);
    return QString::fromUtf8(json.mid(1, json.size() - 2));
}

void DeviceReader::refuse(const QString& key, const QString& why)
{
    if (!m_error.isEmpty())
        return;
    const QJsonValue value = m_json.value(key);
    m_error = value.isUndefined() ? QStringLiteral("\"%1\" is missing").arg(key)
                                  : QStringLiteral("\"%1\" %2 %3").arg(key, shown(value), why);
}

std::optional<QString> DeviceReader::text(const QString& key)
{
    static const QRegularExpression control(QStringLiteral("[\\x00-\\x1f\\x7f]"));
    const QJsonValue value = m_json.value(key);
    if (value.isUndefined())
        return std::nullopt;
    if (!value.isString() || value.toString().contains(control))
        refuse(key, QStringLiteral("is not one line of text"));
    return value.toString();
}

std::optional<int> DeviceReader::number(const QString& key, int least, int most)
{
    const QJsonValue value = m_json.value(key);
    if (value.isUndefined())
        return std::nullopt;
    const int found = value.toInt(least - 1);
    if (found < least || found > most)
        refuse(key, QStringLiteral("is no number from %1 to %2").arg(least).arg(most));
    return found;
}

void DeviceReader::checkKeys()
{
    static const QStringList known{ QStringLiteral("name"), QStringLiteral("address"),
        QStringLiteral("mac"), QStringLiteral("answers"), QStringLiteral("port"),
        QStringLiteral("server"), QStringLiteral("title"), QStringLiteral("delay") };
    const QStringList keys = m_json.keys();
    for (const QString& key : keys) {
        if (!known.contains(key))
            refuse(key,
                QStringLiteral("stands under a key that is none of %1")
                    .arg(known.join(QStringLiteral(", "))));
    }
}

QString DeviceReader::readName()
{
    static const QRegularExpression word(QStringLiteral("^[\\w.-]+$"));
    const QString name = text(QStringLiteral("name")).value_or(QString());
    if (!word.match(name).hasMatch())
        refuse(QStringLiteral("name"), QStringLiteral("is not one word"));
    for (const DeviceSpec& other : m_others) {
        if (other.name == name)
            refuse(QStringLiteral("name"), QStringLiteral("is used twice"));
    }
    return name;
}

QHostAddress DeviceReader::readAddress()
{
    const QHostAddress address(text(QStringLiteral("address")).value_or(QString()));
    const QString why = refusalOf(address, m_others);
    if (!why.isEmpty())
        refuse(QStringLiteral("address"), why);
    return address;
}

QString DeviceReader::readMac(const QHostAddress& address)
{
    // The second digit makes it locally administered and no group's.
    static const QRegularExpression own(QStringLiteral("^[0-9a-f][26ae](:[0-9a-f]{2}){5}$"));
    const QString mac = text(QStringLiteral("mac")).value_or(macOf(address)).toLower();
    if (!own.match(mac).hasMatch())
        refuse(QStringLiteral("mac"), QStringLiteral("is no locally administered MAC"));
    for (const DeviceSpec& other : m_others) {
        if (other.mac == mac)
            refuse(QStringLiteral("mac"), QStringLiteral("belongs to %1").arg(other.name));
    }
    return mac;
}

EAnswer DeviceReader::readAnswer()
{
    const QString wanted = text(QStringLiteral("answers")).value_or(QString());
    QStringList names;
    for (const EAnswer answer :
        { AnswerHttp, AnswerHttps, AnswerSilence, AnswerRefuse, AnswerSlow }) {
        if (nameOf(answer) == wanted)
            return answer;
        names.append(nameOf(answer));
    }
    refuse(QStringLiteral("answers"),
        QStringLiteral("is none of %1").arg(names.join(QStringLiteral(", "))));
    return AnswerRefuse;
}

QList<quint16> DeviceReader::readPorts(EAnswer answer)
{
    const auto port = number(QStringLiteral("port"), 1, 65535);
    if (answer == AnswerRefuse)
        return {};
    if (port)
        return { static_cast<quint16>(*port) };
    if (answer == AnswerSilence)
        return { 80, 443 };
    return { static_cast<quint16>(answer == AnswerHttps ? 443 : 80) };
}

DeviceSpec DeviceReader::read()
{
    DeviceSpec device;
    checkKeys();
    device.name = readName();
    device.address = readAddress();
    device.mac = readMac(device.address);
    device.answers = readAnswer();
    device.ports = readPorts(device.answers);
    device.server = text(QStringLiteral("server")).value_or(QString());
    device.title = text(QStringLiteral("title")).value_or(device.name);
    const int usual = device.answers == AnswerSlow ? 5 : 0;
    device.delay = number(QStringLiteral("delay"), 0, 600).value_or(usual) * 1000;
    return device;
}

QString readDevices(const QJsonArray& devices, QList<DeviceSpec>& read)
{
    for (const QJsonValue& value : devices) {
        const QJsonObject json = value.toObject();
        DeviceReader reader(json, read);
        read.append(reader.read());
        if (!reader.error().isEmpty())
            return QStringLiteral("device %1: %2").arg(read.size()).arg(reader.error());
    }
    if (read.isEmpty())
        return QStringLiteral("it has no \"devices\"");
    return QString();
}

} // namespace

Site readSite(const QString& path)
{
    Site site;
    QFile file(path);
    QJsonParseError fault;
    if (!file.open(QIODevice::ReadOnly)) {
        site.error = file.errorString();
    } else {
        const QJsonDocument json = QJsonDocument::fromJson(file.readAll(), &fault);
        site.error = fault.error != QJsonParseError::NoError
            ? QStringLiteral("%1 at byte %2").arg(fault.errorString()).arg(fault.offset)
            : readDevices(json.object().value(QStringLiteral("devices")).toArray(), site.devices);
    }
    if (!site.error.isEmpty())
        site.error.prepend(QStringLiteral("site file %1: ").arg(path));
    return site;
}

} // namespace lab
