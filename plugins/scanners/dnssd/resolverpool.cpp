// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "scanners/dnssd/resolverpool_p.h"

#include <QNetworkInterface>

#include <netinet/in.h>

namespace tq {

namespace {

constexpr int k_opensAtOnce = 16; ///< other events come to their turn as well
constexpr qint64 k_shortestWatch = 30000; ///< ms; before another one gets the place
constexpr qint64 k_retryPause = 10000; ///< ms

/** A link-local address names its interface. */
QHostAddress addressOf(const AvahiAddress& address, int interfaceIndex)
{
    if (address.proto == AVAHI_PROTO_INET)
        return QHostAddress(ntohl(address.data.ipv4.address));
    QHostAddress result(address.data.ipv6.address);
    if (result.isLinkLocal())
        result.setScopeId(QNetworkInterface::interfaceNameFromIndex(interfaceIndex));
    return result;
}

} // namespace

void ResolverPool::add(const Announcement& announcement, EServiceKind kind)
{
    const auto [place, isNew] = m_entries.try_emplace(announcement);
    if (!isNew)
        return;
    Entry& entry = place->second;
    entry.pool = this;
    entry.announcement = &place->first;
    wait(entry, { kind == eUnknownServiceKind ? eUnknownKind : eKnownKind, ++m_arrivals });
}

void ResolverPool::remove(const Announcement& announcement)
{
    const auto place = m_entries.find(announcement);
    if (place == m_entries.end())
        return;
    Entry& entry = place->second;
    if (entry.resolver)
        close(entry);
    else
        m_waiting.erase({ entry.turn, entry.announcement });
    m_entries.erase(place);
}

void ResolverPool::clear()
{
    m_waiting.clear();
    m_answered.clear();
    m_entries.clear();
    m_open = 0;
}

bool ResolverPool::openDue(AvahiClient* client, qint64 now)
{
    m_now = now;
    for (int opened = 0; !m_waiting.empty(); ++opened) {
        const auto [turn, announcement] = *m_waiting.begin();
        const bool isDue = turn.first != eAgain || turn.second <= now;
        if (!isDue || (m_open >= k_mostOpen && !makeRoom(turn.first, now)))
            return false;
        if (opened == k_opensAtOnce)
            return true;
        m_waiting.erase(m_waiting.begin());
        if (!open(m_entries.at(*announcement), client, now))
            return false; // the next ones may wait for an answer in vain as well
    }
    return false;
}

bool ResolverPool::open(Entry& entry, AvahiClient* client, qint64 now)
{
    const ServiceKey& service = entry.announcement->service;
    const ServicePlace& place = entry.announcement->place;
    // The address asked for is of the version that the question goes over: that is what the
    // announcement's host has there for certain.
    const AvahiProtocol protocol = place.isIPv6 ? AVAHI_PROTO_INET6 : AVAHI_PROTO_INET;
    entry.resolver = avahi_service_resolver_new(client, place.interfaceIndex, protocol,
        service.name.constData(), service.type.constData(), service.domain.constData(), protocol,
        AvahiLookupFlags(0), &ResolverPool::resolved, &entry);
    if (!entry.resolver) {
        wait(entry, { eAgain, now + k_retryPause });
        return false;
    }
    entry.openedAt = now;
    entry.hasAnswered = false;
    ++m_open;
    return true;
}

bool ResolverPool::makeRoom(EQueue wanted, qint64 now)
{
    if (m_answered.empty())
        return false;
    const auto [openedAt, announcement] = *m_answered.begin();
    if (wanted == eAgain && now - openedAt < k_shortestWatch)
        return false;
    Entry& entry = m_entries.at(*announcement);
    close(entry);
    wait(entry, { eAgain, now });
    return true;
}

void ResolverPool::close(Entry& entry)
{
    avahi_service_resolver_free(std::exchange(entry.resolver, nullptr));
    if (entry.hasAnswered)
        m_answered.erase({ entry.openedAt, entry.announcement });
    --m_open;
}

void ResolverPool::wait(Entry& entry, Turn turn)
{
    entry.turn = turn;
    m_waiting.emplace(turn, entry.announcement);
}

void ResolverPool::resolved(AvahiServiceResolver*, AvahiIfIndex interface, AvahiProtocol,
    AvahiResolverEvent event, const char*, const char*, const char*, const char* hostName,
    const AvahiAddress* address, uint16_t port, AvahiStringList* texts, AvahiLookupResultFlags,
    void* data)
{
    Entry& entry = *static_cast<Entry*>(data);
    ResolverPool& self = *entry.pool;
    if (event == AVAHI_RESOLVER_FAILURE) {
        self.close(entry);
        return self.wait(entry, { eAgain, self.m_now + k_retryPause });
    }
    if (!std::exchange(entry.hasAnswered, true))
        self.m_answered.emplace(entry.openedAt, entry.announcement);
    // Port 0 says, by the standard, that the name is taken and nothing is behind it.
    if (address && hostName && port != 0)
        self.m_take(*entry.announcement,
            { hostName, port, boundedTexts(texts), addressOf(*address, interface) });
}

} // namespace tq
