// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "lab/secondnetwork.h"

namespace tst {

namespace {

constexpr int k_patience = 30000; // ms

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

/** Brings a link's end up, with IPv6 and no waiting for its address. */
QString bringUp(const QString& interface, const QString& address)
{
    return text("conf=/proc/sys/net/ipv6/conf/%1; echo 0 >$conf/disable_ipv6 && echo 0 "
                ">$conf/accept_dad && ip addr add %2/24 brd + dev %1 && ip link set %1 up")
        .arg(interface, address);
}

} // namespace

SecondNetwork::~SecondNetwork()
{
    m_holder.kill();
    m_holder.waitForFinished(k_patience);
}

QString SecondNetwork::make()
{
    m_holder.start(text("unshare"),
        { text("--net"), text("sh"), text("-c"),
            text("ip link set lo up && echo ready && exec cat") });
    if (!m_holder.waitForReadyRead(k_patience) || m_holder.readAll() != "ready\n")
        return text("no second network namespace");
    for (const QString& number : { text("0"), text("1") }) {
        const QString pair = text("ip link add here%1 type veth peer name there%1 netns %2");
        const QString address = text("10.78.%1.%2");
        const bool isMade = run(pair.arg(number).arg(m_holder.processId()), eHere)
            && run(bringUp(text("there") + number, address.arg(number, text("2"))), eThere)
            && run(bringUp(text("here") + number, address.arg(number, text("1"))), eHere);
        if (!isMade)
            return text("no link to the second network namespace, or no IPv6");
    }
    return QString();
}

QStringList SecondNetwork::enter() const
{
    return { text("nsenter"),
        text("--net=/proc/") + QString::number(m_holder.processId()) + text("/ns/net") };
}

bool SecondNetwork::run(const QString& command, ESide side) const
{
    const QStringList words =
        (side == eHere ? QStringList() : enter()) + QStringList{ text("sh"), text("-c"), command };
    return QProcess::execute(words.first(), words.mid(1)) == 0;
}

} // namespace tst
