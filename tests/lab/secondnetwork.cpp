// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "lab/secondnetwork.h"

using namespace Qt::StringLiterals;

namespace tst {

namespace {

constexpr int k_patience = 30000; // ms

/** Brings a link's end up, with IPv6 and no waiting for its address. */
QString bringUp(const QString& interface, const QString& address)
{
    return u"conf=/proc/sys/net/ipv6/conf/%1; echo 0 >$conf/disable_ipv6 && echo 0 "
           ">$conf/accept_dad && ip addr add %2/24 brd + dev %1 && ip link set %1 up"_s.arg(
               interface, address);
}

} // namespace

SecondNetwork::~SecondNetwork()
{
    m_holder.kill();
    m_holder.waitForFinished(k_patience);
}

QString SecondNetwork::make()
{
    m_holder.start(u"unshare"_s,
        { u"--net"_s, u"sh"_s, u"-c"_s, u"ip link set lo up && echo ready && exec cat"_s });
    if (!m_holder.waitForReadyRead(k_patience) || m_holder.readAll() != "ready\n")
        return u"no second network namespace"_s;
    for (const QString& number : { u"0"_s, u"1"_s }) {
        const QString pair = u"ip link add here%1 type veth peer name there%1 netns %2"_s;
        const QString address = u"10.78.%1.%2"_s;
        const bool isMade = run(pair.arg(number).arg(m_holder.processId()), eHere)
            && run(bringUp(u"there"_s + number, address.arg(number, u"2"_s)), eThere)
            && run(bringUp(u"here"_s + number, address.arg(number, u"1"_s)), eHere);
        if (!isMade)
            return u"no link to the second network namespace, or no IPv6"_s;
    }
    return QString();
}

QStringList SecondNetwork::enter() const
{
    return { u"nsenter"_s,
        u"--net=/proc/"_s + QString::number(m_holder.processId()) + u"/ns/net"_s };
}

bool SecondNetwork::run(const QString& command, ESide side) const
{
    const QStringList words =
        (side == eHere ? QStringList() : enter()) + QStringList{ u"sh"_s, u"-c"_s, command };
    return QProcess::execute(words.first(), words.mid(1)) == 0;
}

} // namespace tst
