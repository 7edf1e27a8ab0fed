// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QHash>
#include <QObject>
#include <QString>
#include <QTcpServer>

#include <atomic>

class QTcpSocket;

namespace tq {

/** What went through a relay, for the threads at both of its ends. */
struct SmbTraffic
{
    std::atomic<qint64> answered = 0; ///< bytes from the server since somebody set it to 0
    std::atomic<bool> isTooMuch = false; ///< a connection was cut because of that
    std::atomic<int> session = 0; ///< counts them; one at a time
    std::atomic<int> brokenSession = -1; ///< whose connection the server ended, or never took
    std::atomic<bool> isEnded = false; ///< nobody waits for what is read any more
};

/**
 * A port of this machine that leads to an SMB server while the relay lives.
 *
 * libsmbclient blocks, cannot be interrupted, and reads a listing to its end, however long. It is
 * therefore connected to a relay: cutting its connections ends every call of it at once, which is
 * how a read is bounded in time and memory and can be cancelled. Addresses are resolved, and
 * connections made, on this side and without blocking.
 */
class SmbRelay : public QObject
{
    Q_OBJECT

public:
    /** In bytes; some 50,000 names of a listing. */
    static constexpr qint64 k_mostAnswered = 8 * 1024 * 1024;

    /** A connection is cut when the server sent k_mostAnswered since `traffic.answered` was set to
     * 0. `traffic` outlives the relay. */
    SmbRelay(const QString& host, quint16 port, SmbTraffic& traffic);

    /** Cuts everything. */
    ~SmbRelay() override;

    /** Returns the port on 127.0.0.1; 0 when there is none to be had. */
    quint16 port() const { return m_server.serverPort(); }

    /** Returns why the server cannot be reached; empty as long as nobody tried in vain. */
    QString failure() const { return m_failure; }

private:
    /** The far end of a connection. */
    struct Far
    {
        QTcpSocket* socket = nullptr; ///< a child of the near end
        bool isReached = false;
        int session = 0; ///< whose connection it is
    };

    void take(QTcpSocket* local);
    void pump(QTcpSocket* from, QTcpSocket* to);
    void count(QTcpSocket* local, qint64 bytes);
    void fail(QTcpSocket* local);
    void cut(QTcpSocket* local);

    QString m_host;
    quint16 m_port;
    SmbTraffic& m_traffic;
    QTcpServer m_server;
    QHash<QTcpSocket*, Far> m_pairs; ///< by the near end
    QString m_failure;
};

} // namespace tq
