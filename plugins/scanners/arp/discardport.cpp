// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "scanners/arp/discardport_p.h"

#include <cerrno>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tq {

namespace {

constexpr quint16 k_discard = 9;

} // namespace

DiscardPort::DiscardPort()
    : m_socket(::socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0))
{
}

DiscardPort::~DiscardPort()
{
    if (m_socket >= 0)
        ::close(m_socket);
}

bool DiscardPort::send(const QHostAddress& address)
{
    sockaddr_in target{};
    target.sin_family = AF_INET;
    target.sin_port = htons(k_discard);
    target.sin_addr.s_addr = htonl(address.toIPv4Address());
    const auto sent = ::sendto(
        m_socket, nullptr, 0, 0, reinterpret_cast<const sockaddr*>(&target), sizeof target);
    return sent >= 0 || (errno != EAGAIN && errno != ENOBUFS && errno != EINTR);
}

} // namespace tq
