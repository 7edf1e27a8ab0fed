// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "labdevice/population.h"

#include <QSet>

namespace lab {

using tq::site::DeviceSpec;
using tq::site::Site;

namespace {

const quint32 k_first = 0x0A4D0002; // 10.77.0.2
const quint32 k_loopback = 0x7F004D00; // 127.0.77.0/24

} // namespace

bool resize(Site& site, int count)
{
    const qsizetype pattern = site.devices.size();
    QSet<quint32> taken;
    for (const DeviceSpec& device : std::as_const(site.devices))
        taken.insert(device.address.toIPv4Address());
    quint32 next = k_first;
    while (site.devices.size() < count) {
        while (taken.contains(next))
            ++next;
        if ((next & 0xFF) == 255)
            return false;
        DeviceSpec device = site.devices.at(site.devices.size() % pattern);
        device.name += QStringLiteral("-%1").arg(site.devices.size() / pattern + 1);
        device.address = QHostAddress(next);
        device.mac = tq::site::macOf(device.address);
        device.smb.reset();
        site.devices.append(device);
        taken.insert(next);
    }
    site.devices.resize(count);
    return true;
}

QString refusalOf(const Site& site)
{
    for (const DeviceSpec& device : site.devices) {
        const QString why = tq::site::refusalOf(device.address, {});
        if (!why.isEmpty())
            return QStringLiteral("%1: %2 %3").arg(device.name, device.address.toString(), why);
    }
    return QString();
}

void moveToLoopback(Site& site)
{
    for (DeviceSpec& device : site.devices) {
        device.address = QHostAddress(k_loopback | (device.address.toIPv4Address() & 0xFF));
        for (quint16& port : device.ports)
            port = port < 1024 ? static_cast<quint16>(port + 8000) : port;
    }
}

} // namespace lab
