// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "scanners/arp/discardport_p.h"

#include <cerrno>
#include <cstring>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tq {

namespace {

constexpr quint16 k_discard = 9;

int makeSocket(int family)
{
    return ::socket(family, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
}

template <class Address>
bool sendTo(int socket, const Address& target)
{
    const auto sent =
        ::sendto(socket, nullptr, 0, 0, reinterpret_cast<const sockaddr*>(&target), sizeof target);
    return sent >= 0 || (errno != EAGAIN && errno != ENOBUFS && errno != EINTR);
}

} // namespace

DiscardPort::DiscardPort() : m_socket(makeSocket(AF_INET)), m_socket6(makeSocket(AF_INET6)) { }

DiscardPort::~DiscardPort()
{
    for (const int socket : { m_socket, m_socket6 }) {
        if (socket >= 0)
            ::close(socket);
    }
}

bool DiscardPort::send(const QHostAddress& address)
{
    if (address.protocol() == QAbstractSocket::IPv6Protocol) {
        sockaddr_in6 target{};
        target.sin6_family = AF_INET6;
        target.sin6_port = htons(k_discard);
        target.sin6_scope_id = address.scopeId().toUInt();
        const Q_IPV6ADDR bytes = address.toIPv6Address();
        std::memcpy(&target.sin6_addr, &bytes, sizeof target.sin6_addr);
        return sendTo(m_socket6, target);
    }
    sockaddr_in target{};
    target.sin_family = AF_INET;
    target.sin_port = htons(k_discard);
    target.sin_addr.s_addr = htonl(address.toIPv4Address());
    return sendTo(m_socket, target);
}

} // namespace tq
