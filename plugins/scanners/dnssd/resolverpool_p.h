// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "scanners/dnssd/servicerecord_p.h"

#include <functional>
#include <map>
#include <set>
#include <utility>

#include <avahi-client/lookup.h>

namespace tq {

/**
 * Asks the daemon what is behind announcements, and keeps asking: a resolver that stays open tells
 * of changes.
 *
 * The daemon allows a client a limited number of them, so 256 are open at a time. Where there are
 * more announcements, those that were never asked for come first, known kinds before unknown ones;
 * then they take turns. One that does not answer is asked again later. Knows no clock: times are
 * monotonic ms.
 */
class ResolverPool
{
public:
    static constexpr int k_mostOpen = 256;

    using Take = std::function<void(const Announcement&, const Resolution&)>;

    /** `take` is called from Avahi's callbacks: it must not end the client or the pool. */
    explicit ResolverPool(Take take) : m_take(std::move(take)) { }
    ResolverPool(const ResolverPool&) = delete;
    ResolverPool& operator=(const ResolverPool&) = delete;

    /** Takes an announcement to ask for; one that is known already is asked no sooner. */
    void add(const Announcement& announcement, EServiceKind kind);
    void remove(const Announcement& announcement);

    /** Forgets everything; only for a client that ends now, which ends its resolvers itself. */
    void clear();

    /**
     * Opens what is due, a few at a time: opening waits for the daemon. Returns whether there is
     * more to open at once.
     */
    bool openDue(AvahiClient* client, qint64 now);

    /** Returns whether any announcement waits for its turn. */
    bool isWaiting() const { return !m_waiting.empty(); }

private:
    enum EQueue { eKnownKind, eUnknownKind, eAgain };

    /** A place in the queue; the time of eAgain is when it is due, else the order of arrival. */
    using Turn = std::pair<EQueue, qint64>;

    struct Entry
    {
        ResolverPool* pool = nullptr;
        const Announcement* announcement = nullptr; ///< the key of this entry
        Turn turn; ///< in m_waiting, while there is no resolver
        AvahiServiceResolver* resolver = nullptr;
        qint64 openedAt = 0;
        bool hasAnswered = false; ///< in m_answered, since it was opened
    };

    using Entries = std::map<Announcement, Entry>;

    static void resolved(AvahiServiceResolver* resolver, AvahiIfIndex interface,
        AvahiProtocol protocol, AvahiResolverEvent event, const char* name, const char* type,
        const char* domain, const char* hostName, const AvahiAddress* address, uint16_t port,
        AvahiStringList* texts, AvahiLookupResultFlags flags, void* entry);
    bool open(Entry& entry, AvahiClient* client, qint64 now);
    bool makeRoom(EQueue wanted, qint64 now);
    void close(Entry& entry);
    void wait(Entry& entry, Turn turn);

    Take m_take;
    Entries m_entries;
    std::set<std::pair<Turn, const Announcement*>> m_waiting;
    std::set<std::pair<qint64, const Announcement*>> m_answered; ///< open; the oldest first
    int m_open = 0;
    qint64 m_arrivals = 0;
    qint64 m_now = 0;
};

} // namespace tq
