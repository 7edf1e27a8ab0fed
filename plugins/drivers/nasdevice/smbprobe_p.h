// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "discovery/iprobeexplainer.h"

#include <QObject>
#include <QTcpSocket>
#include <QTimer>

namespace tq {

/**
 * Finds out, in 2 s at most and without blocking, whether a device is an SMB server.
 *
 * It is asked for a dialect; no login of any kind is sent. At most 4 KiB are read.
 */
class SmbProbe : public QObject
{
    Q_OBJECT

public:
    SmbProbe(const QString& host, quint16 port, QObject* parent);

    void start();

    /** Returns, when it is no server, why. */
    EProbeRejection rejection() const { return m_rejection; }

signals:
    /** Emitted once, never from start(). */
    void finished(bool isServer);

private:
    void judge();
    void finish(bool isServer);

    QString m_host;
    quint16 m_port;
    QTcpSocket m_socket;
    QTimer m_deadline;
    QByteArray m_received;
    bool m_isFinished = false;
    EProbeRejection m_rejection = EProbeRejection::eUnknown;
};

} // namespace tq
