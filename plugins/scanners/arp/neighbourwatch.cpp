// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "scanners/arp/neighbourwatch_p.h"

#include "scanners/arp/neighbourmessages_p.h"

#include "platform/logline.h"

#include <libmnl/libmnl.h>

#include <QPointer>
#include <QSocketNotifier>

#include <cerrno>
#include <cstring>
#include <utility>

#include <linux/rtnetlink.h>
#include <sys/socket.h>

namespace tq {

namespace {

constexpr std::size_t k_bufferSize = 32768; ///< the kernel's own limit for one part of a listing
constexpr int k_socketRoom = 1 << 20; ///< bytes; room for the changes that a sweep makes
constexpr int k_readsAtOnce = 32; ///< other events come to their turn as well
constexpr int k_decideInterval = 250; ///< ms
constexpr int k_listPause = 200; ///< ms between two listings
constexpr int k_mostRepeats = 5;
// The kernel first trusts a stale line for 5 s, then asks three times at 1 s. A question by netlink
// begins with the asking.
constexpr qint64 k_answerTime = 5000;
constexpr qint64 k_answerTimeOfDatagrams = 9000;

} // namespace

void NeighbourWatch::SocketCloser::operator()(mnl_socket* socket) const
{
    mnl_socket_close(socket);
}

NeighbourWatch::NeighbourWatch(QObject* parent)
    : QObject(parent), m_buffer(std::make_unique<char[]>(k_bufferSize))
{
    m_decideTimer.setInterval(k_decideInterval);
    m_listTimer.setInterval(k_listPause);
    m_listTimer.setSingleShot(true);
    QObject::connect(&m_listTimer, &QTimer::timeout, this, &NeighbourWatch::list);
    QObject::connect(&m_decideTimer, &QTimer::timeout, this, [this] {
        m_table.advance(m_clock.elapsed());
        deliver();
    });
}

NeighbourWatch::~NeighbourWatch() = default;

bool NeighbourWatch::start()
{
    stop();
    m_socket.reset(mnl_socket_open2(NETLINK_ROUTE, SOCK_NONBLOCK | SOCK_CLOEXEC));
    // The group is joined before the listing: so no change is missed between the two.
    if (!m_socket || mnl_socket_bind(m_socket.get(), RTMGRP_NEIGH, MNL_SOCKET_AUTOPID) < 0) {
        logLine(Log::eSurvived, "The neighbour table cannot be watched: ",
            QString::fromLocal8Bit(std::strerror(errno)));
        m_socket.reset();
        return false;
    }
    const int fd = mnl_socket_get_fd(m_socket.get());
    ::setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &k_socketRoom, sizeof k_socketRoom);
    m_notifier = new QSocketNotifier(fd, QSocketNotifier::Read, this);
    QObject::connect(m_notifier, &QSocketNotifier::activated, this, &NeighbourWatch::readSocket);
    m_clock.start();
    m_mayAsk = true;
    m_table.setAnswerTime(k_answerTime);
    // A question about no address changes nothing: the kernel refuses it, and the reason says
    // whether we may ask at all.
    m_permission = ++m_sequence;
    send(questionRequest({}, m_permission));
    list();
    return true;
}

void NeighbourWatch::confirm(qint64 staleTime)
{
    m_table.confirm(staleTime);
    keepTime();
}

void NeighbourWatch::stop()
{
    m_listTimer.stop();
    m_decideTimer.stop();
    if (m_notifier) {
        m_notifier->setEnabled(false);
        std::exchange(m_notifier, nullptr)->deleteLater(); // we may stand in its signal
    }
    m_socket.reset();
    m_table = NeighbourTable();
    m_listing = 0;
    m_repeats = 0;
}

void NeighbourWatch::list()
{
    m_isIncomplete = false;
    m_table.beginListing();
    m_listing = ++m_sequence;
    if (!send(listingRequest(m_listing)))
        listAgain();
}

void NeighbourWatch::listAgain()
{
    m_listing = 0;
    m_listTimer.start();
}

bool NeighbourWatch::send(const QByteArray& request)
{
    const auto size = std::size_t(request.size());
    return mnl_socket_sendto(m_socket.get(), request.constData(), size) == request.size();
}

void NeighbourWatch::readSocket()
{
    for (int reads = 0; reads < k_readsAtOnce; ++reads) {
        const qint64 size = receive();
        if (size <= 0)
            break;
        takeMessages(size);
    }
    deliver();
}

qint64 NeighbourWatch::receive()
{
    sockaddr_nl sender{};
    socklen_t senderSize = sizeof sender;
    const auto size = ::recvfrom(mnl_socket_get_fd(m_socket.get()), m_buffer.get(), k_bufferSize,
        MSG_TRUNC, reinterpret_cast<sockaddr*>(&sender), &senderSize);
    if (size >= 0 && size <= qint64(k_bufferSize))
        return sender.nl_pid == 0 ? size : 0; // only the kernel is listened to
    if (size < 0 && (errno == EAGAIN || errno == EINTR))
        return 0;
    if (size < 0 && errno != ENOBUFS)
        logLine(Log::eSurvived,
            "Reading the neighbour table failed: ", QString::fromLocal8Bit(std::strerror(errno)));
    m_isIncomplete = true;
    if (m_listing == 0)
        m_listTimer.start();
    return 0;
}

void NeighbourWatch::takeMessages(qint64 size)
{
    int left = int(size);
    const auto* message = reinterpret_cast<const nlmsghdr*>(m_buffer.get());
    while (mnl_nlmsg_ok(message, left)) {
        takeMessage(message);
        message = mnl_nlmsg_next(message, &left);
    }
}

void NeighbourWatch::takeMessage(const nlmsghdr* message)
{
    const bool isOfListing = m_listing != 0 && message->nlmsg_seq == m_listing;
    if (isOfListing && (message->nlmsg_flags & NLM_F_DUMP_INTR) != 0)
        m_isIncomplete = true;
    if (message->nlmsg_type == NLMSG_ERROR)
        takeError(message);
    else if (message->nlmsg_type == NLMSG_DONE && isOfListing)
        endListing();
    else if (const auto neighbour = readNeighbour(message))
        m_table.feed(*neighbour, m_clock.elapsed());
}

void NeighbourWatch::takeError(const nlmsghdr* message)
{
    if (message->nlmsg_len < mnl_nlmsg_size(sizeof(nlmsgerr)))
        return;
    const int error = static_cast<const nlmsgerr*>(mnl_nlmsg_get_payload(message))->error;
    if (message->nlmsg_seq == m_permission && error == -EPERM) {
        m_mayAsk = false;
        m_table.setAnswerTime(k_answerTimeOfDatagrams);
    } else if (m_listing != 0 && message->nlmsg_seq == m_listing && error != 0) {
        logLine(Log::eSurvived,
            "Listing the neighbour table failed: ", QString::fromLocal8Bit(std::strerror(-error)));
        listAgain();
    }
}

void NeighbourWatch::endListing()
{
    m_listing = 0;
    // A listing with a gap must not end: what it did not show would be gone. One that never gets
    // through is better than none.
    if (m_isIncomplete && ++m_repeats <= k_mostRepeats)
        return m_listTimer.start();
    m_repeats = 0;
    m_table.endListing(m_clock.elapsed());
}

void NeighbourWatch::deliver()
{
    const QPointer<NeighbourWatch> self(this);
    const NeighbourTable::Outcome outcome = m_table.take();
    for (const NeighbourTable::Place& place : outcome.questions)
        ask(place);
    for (const NeighbourTable::Place& place : outcome.lost)
        m_port.send(place.address);
    for (const NeighbourTable::Event& event : outcome.events) {
        emit happened(event);
        if (!self || !isRunning())
            return;
    }
    keepTime();
}

void NeighbourWatch::keepTime()
{
    if (m_table.isWaiting() != m_decideTimer.isActive())
        m_table.isWaiting() ? m_decideTimer.start() : m_decideTimer.stop();
}

void NeighbourWatch::ask(const NeighbourTable::Place& place)
{
    if (!m_mayAsk || !send(questionRequest(place, ++m_sequence)))
        m_port.send(place.address);
}

} // namespace tq
