// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "scanners/arp/neighbourmessages_p.h"

#include <libmnl/libmnl.h>

#include <array>
#include <cstring>

#include <linux/neighbour.h>
#include <linux/rtnetlink.h>
#include <netinet/in.h>

namespace tq {

namespace {

constexpr std::size_t k_ipv4Size = 4;
constexpr std::size_t k_ipv6Size = 16;

QHostAddress readAddress(const nlattr* attribute, int family, int interfaceIndex)
{
    const auto size = mnl_attr_get_payload_len(attribute);
    const auto* const payload = static_cast<const quint8*>(mnl_attr_get_payload(attribute));
    if (family == AF_INET && size == k_ipv4Size) {
        quint32 bigEndian = 0;
        std::memcpy(&bigEndian, payload, sizeof bigEndian);
        return QHostAddress(ntohl(bigEndian));
    }
    if (family != AF_INET6 || size != k_ipv6Size)
        return QHostAddress();
    QHostAddress address(payload);
    if (address.isLinkLocal())
        address.setScopeId(QString::number(interfaceIndex));
    return address;
}

MACAddress readMac(const nlattr* attribute)
{
    MACAddress::Bytes bytes{};
    if (mnl_attr_get_payload_len(attribute) != bytes.size())
        return MACAddress();
    std::memcpy(bytes.data(), mnl_attr_get_payload(attribute), bytes.size());
    return MACAddress(bytes);
}

/** Calls `take` for each attribute behind the message's own header. */
template <class Take>
void forEachAttribute(const nlmsghdr* message, Take take)
{
    // Not libmnl's tail of the payload, which is rounded up beyond a length that lies.
    const auto* const end = reinterpret_cast<const char*>(message) + message->nlmsg_len;
    const auto* attribute =
        static_cast<const nlattr*>(mnl_nlmsg_get_payload_offset(message, sizeof(ndmsg)));
    while (mnl_attr_ok(attribute, int(end - reinterpret_cast<const char*>(attribute)))) {
        take(attribute);
        attribute = mnl_attr_next(attribute);
    }
}

nlmsghdr* startRequest(char* buffer, quint16 type, int flags, quint32 sequence)
{
    nlmsghdr* const message = mnl_nlmsg_put_header(buffer);
    message->nlmsg_type = type;
    message->nlmsg_flags = quint16(flags);
    message->nlmsg_seq = sequence;
    return message;
}

QByteArray asBytes(const nlmsghdr* message)
{
    return QByteArray(reinterpret_cast<const char*>(message), qsizetype(message->nlmsg_len));
}

} // namespace

std::optional<Neighbour> readNeighbour(const nlmsghdr* message)
{
    const bool isNeighbour =
        message->nlmsg_type == RTM_NEWNEIGH || message->nlmsg_type == RTM_DELNEIGH;
    if (!isNeighbour || message->nlmsg_len < mnl_nlmsg_size(sizeof(ndmsg)))
        return std::nullopt;
    const auto* const line = static_cast<const ndmsg*>(mnl_nlmsg_get_payload(message));
    Neighbour result;
    result.interfaceIndex = line->ndm_ifindex;
    result.state = line->ndm_state;
    result.isProxy = (line->ndm_flags & NTF_PROXY) != 0;
    result.isDeleted = message->nlmsg_type == RTM_DELNEIGH;
    forEachAttribute(message, [&](const nlattr* attribute) {
        if (mnl_attr_get_type(attribute) == NDA_DST)
            result.address = readAddress(attribute, line->ndm_family, line->ndm_ifindex);
        else if (mnl_attr_get_type(attribute) == NDA_LLADDR)
            result.mac = readMac(attribute);
    });
    if (result.address.isNull())
        return std::nullopt;
    return result;
}

QByteArray listingRequest(quint32 sequence)
{
    alignas(nlmsghdr) std::array<char, 64> buffer{};
    nlmsghdr* const message =
        startRequest(buffer.data(), RTM_GETNEIGH, NLM_F_REQUEST | NLM_F_DUMP, sequence);
    mnl_nlmsg_put_extra_header(message, sizeof(ndmsg));
    return asBytes(message);
}

QByteArray questionRequest(const NeighbourTable::Place& place, quint32 sequence)
{
    alignas(nlmsghdr) std::array<char, 64> buffer{};
    nlmsghdr* const message =
        startRequest(buffer.data(), RTM_NEWNEIGH, NLM_F_REQUEST | NLM_F_ACK, sequence);
    auto* const line = static_cast<ndmsg*>(mnl_nlmsg_put_extra_header(message, sizeof(ndmsg)));
    const bool isIPv6 = place.address.protocol() == QAbstractSocket::IPv6Protocol;
    line->ndm_family = isIPv6 ? AF_INET6 : AF_INET;
    line->ndm_ifindex = place.interfaceIndex;
    line->ndm_state = NUD_PROBE;
    const Q_IPV6ADDR bytes = place.address.toIPv6Address();
    if (isIPv6)
        mnl_attr_put(message, NDA_DST, sizeof bytes, &bytes);
    else if (!place.address.isNull())
        mnl_attr_put_u32(message, NDA_DST, htonl(place.address.toIPv4Address()));
    return asBytes(message);
}

} // namespace tq
