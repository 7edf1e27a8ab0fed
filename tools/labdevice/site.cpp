// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "labdevice/site.h"

#include <QSet>
#include <QStringList>

#include <array>

namespace lab {

namespace {

const quint32 k_segment = 0x0A4D0000; // 10.77.0.0/24; .1 is the near side
const quint32 k_loopback = 0x7F004D00; // 127.0.77.0/24

quint32 hostPart(const QHostAddress& address)
{
    return address.toIPv4Address() & 0xFF;
}

} // namespace

QString nameOf(EAnswer answer)
{
    static const std::array names{ QStringLiteral("http"), QStringLiteral("https"),
        QStringLiteral("silence"), QStringLiteral("refuse"), QStringLiteral("slow") };
    return names.at(answer);
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

bool resize(Site& site, int count)
{
    const qsizetype pattern = site.devices.size();
    QSet<quint32> taken;
    for (const DeviceSpec& device : std::as_const(site.devices))
        taken.insert(device.address.toIPv4Address());
    quint32 next = k_segment + 2;
    while (site.devices.size() < count) {
        while (taken.contains(next))
            ++next;
        if ((next & 0xFF) == 255)
            return false;
        DeviceSpec device = site.devices.at(site.devices.size() % pattern);
        device.name += QStringLiteral("-%1").arg(site.devices.size() / pattern + 1);
        device.address = QHostAddress(next);
        device.mac = macOf(device.address);
        site.devices.append(device);
        taken.insert(next);
    }
    site.devices.resize(count);
    return true;
}

void moveToLoopback(Site& site)
{
    for (DeviceSpec& device : site.devices) {
        device.address = QHostAddress(k_loopback | hostPart(device.address));
        for (quint16& port : device.ports)
            port = port < 1024 ? static_cast<quint16>(port + 8000) : port;
    }
}

} // namespace lab
