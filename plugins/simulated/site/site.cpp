// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "simulated/site/site.h"

#include <array>

namespace tq::site {

namespace {

const quint32 k_segment = 0x0A4D0000; // 10.77.0.0/24; .1 is the near side

quint32 hostPart(const QHostAddress& address)
{
    return address.toIPv4Address() & 0xFF;
}

} // namespace

QString nameOf(EKind kind)
{
    static const std::array names{ QStringLiteral("camera"), QStringLiteral("storage"),
        QStringLiteral("recording"), QStringLiteral("other") };
    return names.at(kind);
}

QString nameOf(EAnswer answer)
{
    static const std::array names{ QStringLiteral("http"), QStringLiteral("https"),
        QStringLiteral("silence"), QStringLiteral("refuse"), QStringLiteral("slow") };
    return names.at(answer);
}

QString nameOf(EAppearance appearance)
{
    static const std::array names{ QStringLiteral("arp"), QStringLiteral("dnssd"),
        QStringLiteral("wsdiscovery"), QStringLiteral("ipdevice") };
    return names.at(appearance);
}

QString nameOf(EProbe probe)
{
    static const std::array names{ QStringLiteral("at once"), QStringLiteral("late"),
        QStringLiteral("twice"), QStringLiteral("never"), QStringLiteral("refused") };
    return names.at(probe);
}

QString macOf(const QHostAddress& address)
{
    QByteArray bytes = QByteArrayLiteral("\x02\x77");
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes.append(static_cast<char>(address.toIPv4Address() >> shift));
    return QString::fromLatin1(bytes.toHex(':'));
}

QString DeviceSpec::toString() const
{
    QStringList numbers;
    for (const quint16 port : ports)
        numbers.append(QString::number(port));
    return QStringLiteral("%1 %2 %3 %4 %5")
        .arg(name, -8)
        .arg(address.toString(), -13)
        .arg(numbers.isEmpty() ? QStringLiteral("-") : numbers.join(QLatin1Char(',')), -6)
        .arg(mac, nameOf(answers));
}

QString refusalOf(const QHostAddress& address, const QList<DeviceSpec>& others)
{
    const quint32 number = address.toIPv4Address();
    const quint32 segment =
        others.isEmpty() ? k_segment : others.first().address.toIPv4Address() & 0xFFFFFF00;
    if ((number & 0xFFFFFF00) != segment || hostPart(address) < 2 || hostPart(address) == 255)
        return QStringLiteral("is not in %1 to %2")
            .arg(QHostAddress(segment + 2).toString(), QHostAddress(segment + 254).toString());
    for (const DeviceSpec& other : others) {
        if (other.address.toIPv4Address() == number)
            return QStringLiteral("belongs to %1").arg(other.name);
    }
    return QString();
}

} // namespace tq::site
