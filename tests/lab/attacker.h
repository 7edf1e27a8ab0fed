// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "lab/hostilemessages.h"

#include <QByteArray>
#include <QStringList>
#include <QUdpSocket>

#include <memory>
#include <vector>

namespace tst {

/**
 * Somebody on the devices' side of the lab's segment, with many addresses: 10.77.0.100 to
 * 10.77.0.250 on the interface "foe". Hears the WS-Discovery probes of the near side and answers
 * them. For processes of its own there is another address, 10.77.0.251 on "foe-names".
 */
class Attacker
{
public:
    Attacker() = default;
    Q_DISABLE_COPY_MOVE(Attacker)

    /** Takes its place. Returns why it cannot; empty when it is there. */
    QString join();

    /** Returns what comes before a command that is to run on the devices' side. */
    QStringList enter() const;

    /** Returns whether a probe was heard: only then there is somebody to be answered. */
    bool hasHeardProbe();

    /** Returns the port from which the probe came. */
    quint16 victim() const { return m_victim; }

    /** Sends one message of each kind, all from one address, the next one each time. Returns how
     * many were sent. */
    int sendRound(int number);

private:
    QString addLinks() const;
    bool openSockets();

    int m_process = 0; ///< one of the devices' side
    std::unique_ptr<QUdpSocket> m_ear;
    std::vector<std::unique_ptr<QUdpSocket>> m_mouths;
    QByteArray m_probe;
    quint16 m_victim = 0;
};

} // namespace tst
