// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "scanners/arp/discardport_p.h"
#include "scanners/arp/neighbourtable_p.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <memory>

class QSocketNotifier;
struct mnl_socket;
struct nlmsghdr;

namespace tq {

/**
 * Follows the kernel's neighbour table over netlink, on the thread that starts it and without
 * blocking it: joins the group of changes, lists the table, then takes each change. What may have
 * been missed is listed anew.
 */
class NeighbourWatch : public QObject
{
    Q_OBJECT

public:
    explicit NeighbourWatch(QObject* parent = nullptr);
    ~NeighbourWatch() override;

    /** Returns whether the kernel lets us watch; a refusal is logged at level 2. */
    [[nodiscard]] bool start();

    /** Lets devices be confirmed, until stop(): by netlink where the kernel lets us, else by a
     * datagram, which makes the kernel ask. Times are in ms. */
    void confirm(qint64 staleTime = NeighbourTable::k_staleTime);

    /** Forgets everything; nothing is emitted afterwards. */
    void stop();
    bool isRunning() const { return m_socket != nullptr; }

signals:
    void happened(const tq::NeighbourTable::Event& event);

private:
    struct SocketCloser
    {
        void operator()(mnl_socket* socket) const;
    };

    void list();
    void listAgain();
    void readSocket();
    qint64 receive();
    void takeMessages(qint64 size);
    void takeMessage(const nlmsghdr* message);
    void takeError(const nlmsghdr* message);
    void endListing();
    void deliver();
    void keepTime();
    void ask(const NeighbourTable::Place& place);
    bool send(const QByteArray& request);

    std::unique_ptr<mnl_socket, SocketCloser> m_socket;
    QSocketNotifier* m_notifier = nullptr; ///< a child
    std::unique_ptr<char[]> m_buffer;
    DiscardPort m_port;
    NeighbourTable m_table;
    QElapsedTimer m_clock;
    QTimer m_decideTimer;
    QTimer m_listTimer;
    quint32 m_sequence = 0;
    quint32 m_listing = 0; ///< sequence number of the listing that runs; 0: none does
    quint32 m_permission = 0; ///< sequence number of the question that only asks whether we may
    bool m_mayAsk = true;
    bool m_isIncomplete = false; ///< something was missed since the listing began
    int m_repeats = 0;
};

} // namespace tq
