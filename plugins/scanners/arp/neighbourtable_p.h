// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "platform/macaddress.h"

#include <QHostAddress>
#include <QList>

#include <map>
#include <optional>

namespace tq {

/** One line of the kernel's neighbour table, as a message tells it. */
struct Neighbour
{
    int interfaceIndex = 0;
    QHostAddress address;
    MACAddress mac;
    quint16 state = 0; ///< NUD_… of linux/neighbour.h
    bool isProxy = false; ///< this machine answers for the address
    bool isDeleted = false;
};

/**
 * Turns the lines of the neighbour table into devices that come, change and go.
 *
 * A device is a MAC. It has one address at a time: its first IPv4 one, or an IPv6 one when no IPv4
 * address shows up soon after. Further addresses, such as a second family, a second IPv4 address,
 * or the many that a router answers for, are no event. When a new IPv4 address appears the device
 * is asked whether it still has the one that was reported; if that one fails or stays silent, the
 * device has changed. When the first listing shows several IPv4 addresses of one MAC, they are
 * asked before any of them is reported. A device is gone when its last line is; one that comes back
 * with another IPv4 address is new and changed.
 *
 * The kernel keeps a line that nobody uses for ever, whatever became of the device. So on request
 * the table confirms: once the kernel has not trusted a line for 15 s, its device is asked, on the
 * reported address, or on each other when that one fell silent. A device is asked once a minute at
 * most, all together at most 20 addresses a second; where there are more than 600 lines, so much
 * less often that half of that is never exceeded for long. The kernel also drops lines to make
 * room, in a sweep above all: that of a reported address is asked for anew then, and the device is
 * gone when nobody answers.
 *
 * Knows neither sockets nor clocks: times are monotonic ms, and questions are for the caller to
 * ask.
 */
class NeighbourTable
{
public:
    enum EEvent { eNew, eChanged, eGone };

    struct Event
    {
        EEvent kind;
        QHostAddress address; ///< for eGone the one that was reported
        MACAddress mac;
    };

    /** Where a line stands. The order is that of preference: IPv4, then IPv6, then link-local. */
    struct Place
    {
        int interfaceIndex = 0;
        QHostAddress address;
        bool operator<(const Place& other) const;
    };

    /** What there is to tell and to ask since the last take(). */
    struct Outcome
    {
        QList<Event> events;
        QList<Place> questions; ///< addresses that the kernel should ask for once more
        QList<Place> lost; ///< likewise, without a line: only what is sent there makes it ask
    };

    /** How long a device may take to answer a question; questions that are open keep their time. */
    void setAnswerTime(qint64 milliseconds) { m_answerTime = milliseconds; }

    static constexpr qint64 k_staleTime = 15000;

    /** Lets devices be confirmed from now on, whose lines were not trusted for `staleTime`. */
    void confirm(qint64 staleTime = k_staleTime) { m_staleTime = staleTime; }

    /** Begins a full listing; nothing is reported before the first one has ended. */
    void beginListing();

    /** Takes one line, of a listing or a change. */
    void feed(const Neighbour& neighbour, qint64 now);

    /** Ends a listing: lines that it did not show are gone. */
    void endListing(qint64 now);

    /** Decides what was waiting for time to pass; called now and then while isWaiting(). */
    void advance(qint64 now);
    bool isWaiting() const;

    Outcome take();

private:
    struct Line
    {
        quint16 state = 0;
        qint64 since = 0; ///< when it appeared
        qint64 trustedUntil = 0; ///< when it was last seen trusted, or appeared
        int listing = 0; ///< the last listing that showed it
        bool isAsked = false;
        bool hasAnswered = false;
    };

    struct Device
    {
        MACAddress mac;
        std::map<Place, Line> lines;
        QHostAddress reported; ///< kept when the device goes
        bool isReported = false;
        bool isDoubted = false; ///< another IPv4 address appeared
        qint64 doubtedSince = 0;
        qint64 quietUntil = 0; ///< no question before
        qint64 confirmAt = 0; ///< not before
        std::optional<qint64> deadline; ///< of what is being waited for
    };

    void put(const Place& place, const Neighbour& neighbour, qint64 now);
    void leave(const Place& place, qint64 now);
    void drop(const Place& place, qint64 now);
    static bool isRival(const Place& place, const Device& device);
    void beginDoubt(Device& device, qint64 now);
    void review(Device& device, qint64 now);
    void introduce(Device& device, qint64 now);
    void settleDoubt(Device& device, Line& current, const Place& place, qint64 now);
    void replace(Device& device, qint64 now);
    void dismiss(Device& device);
    void report(Device& device, EEvent kind, const QHostAddress& address, qint64 now);
    /** Returns the first IPv4 address that answered, else the first that the kernel trusts. */
    static std::optional<QHostAddress> aliveIPv4(const Device& device);
    void ask(const Place& place, Line& line, qint64 now);
    /** Asks for the IPv4 addresses, each once. Returns whether all have answered or time is up. */
    bool askAll(Device& device, qint64 now);
    void question(const Place& place, const Line& line, qint64 now);
    void dropSilent(qint64 now);
    void confirmStale(qint64 now);
    /** Asks for what the kernel does not trust of a device. Returns how many addresses. */
    int askStale(const Device& device, qint64 now);

    qint64 m_answerTime = 5000;
    int m_listing = 0;
    bool m_isListed = false;
    std::optional<qint64> m_staleTime; ///< none: nobody is confirmed
    qint64 m_nextConfirm = 0; ///< keeps the pace of all devices together
    std::map<Place, MACAddress> m_owners;
    std::map<Place, std::optional<qint64>>
        m_missing; ///< lines that were dropped; when asked: until
    std::map<MACAddress, Device> m_devices;
    Outcome m_outcome;
};

} // namespace tq
