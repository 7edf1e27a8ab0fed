// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "labdevice/segment.h"

#include "simulated/site/site.h"

#include <QProcess>
#include <QStringList>

namespace lab {

namespace {

const int k_firstTable = 1000;

QString runIp(const QStringList& lines)
{
    QProcess ip;
    ip.start(QStringLiteral("ip"), { QStringLiteral("-batch"), QStringLiteral("-") });
    ip.write(lines.join(QLatin1Char('\n')).toUtf8() + '\n');
    ip.closeWriteChannel();
    if (!ip.waitForFinished())
        return QStringLiteral("the program ip: %1").arg(ip.errorString());
    if (ip.exitCode() == 0)
        return QString();
    return QString::fromUtf8(ip.readAllStandardError()).simplified();
}

QString linkUp(int place)
{
    return QStringLiteral("link set %1 up").arg(Segment::linkOf(place));
}

// A link that goes down takes its route along.
QString ownRoute(int place)
{
    return QStringLiteral("route replace 10.77.0.0/24 dev %1 table %2")
        .arg(Segment::linkOf(place), QString::number(k_firstTable + place));
}

// What a device sends from its address leaves by its own interface.
QString ownRule(const char* verb, int place, const QString& address)
{
    return QStringLiteral("rule %1 from %2 lookup %3")
        .arg(QLatin1String(verb), address, QString::number(k_firstTable + place));
}

QStringList addAddress(int place, const QString& address)
{
    return {
        QStringLiteral("addr add %1/24 dev %2 noprefixroute").arg(address, Segment::linkOf(place)),
        ownRule("add", place, address)
    };
}

QStringList removeAddress(int place, const QString& address)
{
    return { QStringLiteral("addr del %1/24 dev %2").arg(address, Segment::linkOf(place)),
        ownRule("del", place, address) };
}

} // namespace

QString Segment::add(int place, const tq::site::DeviceSpec& device) const
{
    const QString link = QStringLiteral("link add %1 link %2 address %3 type macvlan mode bridge")
                             .arg(linkOf(place), m_link, device.mac);
    return runIp(QStringList{ link } + addAddress(place, device.address.toString())
        + QStringList{ linkUp(place), ownRoute(place) });
}

QString Segment::replaceAddress(int place, const QString& old, const QString& address) const
{
    return runIp(removeAddress(place, old) + addAddress(place, address));
}

QString Segment::unplug(int place) const
{
    return runIp({ QStringLiteral("link set %1 down").arg(linkOf(place)) });
}

QString Segment::plug(int place) const
{
    return runIp({ linkUp(place), ownRoute(place) });
}

} // namespace lab
