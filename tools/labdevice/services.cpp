// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "labdevice/services.h"

namespace lab {

Services::Services(const tq::site::DeviceSpec& device, const Place& place)
{
    if (!place.bus.isEmpty() && !device.announces.isEmpty())
        m_announcer = std::make_unique<Announcer>(place.bus);
    if (!place.smbServer.isEmpty() && device.smb)
        m_shares = std::make_unique<SmbServer>(
            *device.smb, place.smbServer, place.shares + QLatin1Char('/') + device.name);
}

Services::~Services() = default;

QString Services::listen(const tq::site::DeviceSpec& device, const QString& link)
{
    if (!device.onvif || !device.onvif->discoverable)
        return QString();
    m_discovery = std::make_unique<WsDiscovery>(device, ++m_times);
    return m_discovery->listen(link);
}

void Services::come(const tq::site::DeviceSpec& device, const Done& done)
{
    if (m_discovery)
        m_discovery->sayHello();
    const Done part = Gathering::make((m_announcer ? 1 : 0) + (m_shares ? 1 : 0), done);
    if (m_announcer)
        m_announcer->announce(device, part);
    if (m_shares)
        m_shares->start(device.address, part);
}

void Services::leave(const Done& done)
{
    if (m_discovery)
        m_discovery->sayBye();
    if (m_announcer)
        m_announcer->withdraw(done);
    else
        done(QString());
}

void Services::close()
{
    m_discovery.reset();
    if (m_shares)
        m_shares->stop();
}

bool Services::refuse(const Done& done) const
{
    if (!m_announcer)
        done(QStringLiteral("it announces nothing here"));
    return !m_announcer;
}

void Services::announce(const tq::site::DeviceSpec& device, const Done& done)
{
    if (!refuse(done))
        m_announcer->announce(device, done);
}

void Services::withdraw(const Done& done)
{
    if (!refuse(done))
        m_announcer->withdraw(done);
}

QString Services::leftOut(const tq::site::DeviceSpec& device)
{
    QStringList kinds;
    if (!device.announces.isEmpty())
        kinds.append(QStringLiteral("DNS-SD"));
    if (device.onvif && device.onvif->discoverable)
        kinds.append(QStringLiteral("WS-Discovery"));
    if (device.smb)
        kinds.append(QStringLiteral("SMB"));
    if (kinds.isEmpty())
        return QString();
    return QStringLiteral("%1 does without %2 on loopback\n")
        .arg(device.name, kinds.join(QStringLiteral(" and ")));
}

} // namespace lab
