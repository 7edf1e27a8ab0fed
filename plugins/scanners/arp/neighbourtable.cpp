// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "scanners/arp/neighbourtable_p.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <tuple>
#include <utility>

#include <linux/neighbour.h>

namespace tq {

namespace {

constexpr qint64 k_familyTime = 2000; ///< an IPv4 address gets this head start
constexpr qint64 k_quietTime = 2000; ///< between two questions to one device
constexpr qint64 k_freshTime = 15000; ///< a line that appeared so lately shows where a device is
constexpr qint64 k_trustTime = 60000; ///< what the kernel holds reachable for so long, is
constexpr int k_mostAsked = 8; ///< a router may answer for a whole network
constexpr qint64 k_confirmInterval = 60000; ///< between two times that one device is confirmed
constexpr qint64 k_confirmGap = 50; ///< between two addresses that are asked so
constexpr qint64 k_confirmBurst = 250; ///< whoever calls rarely makes up for no more than this
constexpr std::size_t k_mostRemembered = 4096; ///< devices that went
constexpr qint64 k_always = std::numeric_limits<qint64>::min() / 2;

bool isIPv4(const QHostAddress& address)
{
    return address.protocol() == QAbstractSocket::IPv4Protocol;
}

bool canBeADevice(const QHostAddress& address)
{
    const bool isNobody = address.isNull() || address == QHostAddress(QHostAddress::AnyIPv4)
        || address == QHostAddress(QHostAddress::AnyIPv6);
    return !isNobody && !address.isLoopback() && !address.isMulticast() && !address.isBroadcast();
}

bool isTrusted(quint16 state)
{
    return (state & (NUD_REACHABLE | NUD_PERMANENT)) != 0;
}

bool isLive(const Neighbour& neighbour)
{
    constexpr unsigned k_known = NUD_REACHABLE | NUD_STALE | NUD_DELAY | NUD_PROBE | NUD_PERMANENT;
    return !neighbour.isDeleted && (neighbour.state & k_known) != 0 && neighbour.mac.isOneDevices();
}

} // namespace

bool NeighbourTable::Place::operator<(const Place& other) const
{
    const auto rank = [](const QHostAddress& host) {
        return isIPv4(host) ? 0 : host.isLinkLocal() ? 2 : 1;
    };
    const int mine = rank(address);
    const int theirs = rank(other.address);
    if (mine != theirs)
        return mine < theirs;
    if (mine == 0)
        return std::make_tuple(address.toIPv4Address(), interfaceIndex)
            < std::make_tuple(other.address.toIPv4Address(), other.interfaceIndex);
    const Q_IPV6ADDR left = address.toIPv6Address();
    const Q_IPV6ADDR right = other.address.toIPv6Address();
    const int order = std::memcmp(&left, &right, sizeof left);
    return order != 0 ? order < 0 : interfaceIndex < other.interfaceIndex;
}

void NeighbourTable::beginListing()
{
    ++m_listing;
}

void NeighbourTable::feed(const Neighbour& neighbour, qint64 now)
{
    if (neighbour.isProxy || !canBeADevice(neighbour.address))
        return;
    const Place place{ neighbour.interfaceIndex, neighbour.address };
    const bool live = isLive(neighbour);
    const auto owner = m_owners.find(place);
    const bool isAskedFor = neighbour.state == NUD_INCOMPLETE && m_missing.count(place) != 0;
    if (owner != m_owners.end() && neighbour.isDeleted)
        leave(place, now);
    else if (owner != m_owners.end() && (!live || owner->second != neighbour.mac) && !isAskedFor)
        drop(place, now);
    if (live)
        put(place, neighbour, now);
}

void NeighbourTable::put(const Place& place, const Neighbour& neighbour, qint64 now)
{
    Device& device = m_devices[neighbour.mac];
    device.mac = neighbour.mac;
    const auto [found, isNew] = device.lines.try_emplace(place);
    Line& line = found->second;
    m_missing.erase(place);
    if (isNew) {
        m_owners[place] = neighbour.mac;
        line.since = m_isListed ? now : k_always;
        line.trustedUntil = now;
        if (isRival(place, device) && !device.isDoubted)
            beginDoubt(device, now);
    } else if (neighbour.state == NUD_REACHABLE && line.state != NUD_REACHABLE) {
        line.hasAnswered = true;
    }
    if (isTrusted(line.state) || isTrusted(neighbour.state))
        line.trustedUntil = now;
    line.state = neighbour.state;
    line.listing = m_listing;
    if (m_isListed)
        review(device, now);
}

bool NeighbourTable::isRival(const Place& place, const Device& device)
{
    return device.isReported && isIPv4(place.address) && isIPv4(device.reported)
        && place.address != device.reported;
}

void NeighbourTable::beginDoubt(Device& device, qint64 now)
{
    device.isDoubted = true;
    device.doubtedSince = now;
    device.deadline.reset();
    for (auto& [place, line] : device.lines)
        line.isAsked = line.hasAnswered = false;
}

/** Takes it that a line is there no more, for whatever reason. */
void NeighbourTable::leave(const Place& place, qint64 now)
{
    Device& device = m_devices[m_owners.at(place)];
    if (!m_staleTime || !device.isReported || place.address != device.reported)
        return drop(place, now);
    if (!m_missing.try_emplace(place).second)
        return; // it is being asked for, and the end of that is not put off
    Line& line = device.lines.at(place);
    line.state = NUD_NONE;
    line.trustedUntil = k_always;
    device.confirmAt = 0;
}

void NeighbourTable::drop(const Place& place, qint64 now)
{
    m_missing.erase(place);
    const auto owner = m_owners.find(place);
    Device& device = m_devices[owner->second];
    m_owners.erase(owner);
    device.lines.erase(place);
    if (place.address == device.reported)
        device.confirmAt = 0; // now its others count
    if (m_isListed)
        review(device, now);
}

void NeighbourTable::endListing(qint64 now)
{
    QList<Place> unseen;
    for (const auto& [mac, device] : std::as_const(m_devices)) {
        for (const auto& [place, line] : device.lines) {
            if (line.listing != m_listing)
                unseen.append(place);
        }
    }
    for (const Place& place : std::as_const(unseen))
        leave(place, now);
    m_isListed = true;
    advance(now);
}

void NeighbourTable::advance(qint64 now)
{
    if (!m_isListed)
        return;
    for (auto& [mac, device] : m_devices) {
        if (!device.lines.empty())
            review(device, now);
    }
    if (m_staleTime) {
        dropSilent(now);
        confirmStale(now);
    }
}

bool NeighbourTable::isWaiting() const
{
    return (m_staleTime && !m_owners.empty())
        || std::any_of(m_devices.begin(), m_devices.end(),
            [](const auto& each) { return each.second.deadline || each.second.isDoubted; });
}

NeighbourTable::Outcome NeighbourTable::take()
{
    if (m_devices.size() > m_owners.size() + k_mostRemembered)
        std::erase_if(m_devices, [](const auto& each) { return each.second.lines.empty(); });
    return std::exchange(m_outcome, {});
}

void NeighbourTable::review(Device& device, qint64 now)
{
    if (device.lines.empty())
        return dismiss(device);
    if (!device.isReported)
        return introduce(device, now);
    const auto current = std::find_if(device.lines.begin(), device.lines.end(),
        [&](const auto& each) { return each.first.address == device.reported; });
    if (current == device.lines.end())
        replace(device, now);
    else if (device.isDoubted)
        settleDoubt(device, current->second, current->first, now);
    else
        device.deadline.reset();
}

void NeighbourTable::introduce(Device& device, qint64 now)
{
    const Place& first = device.lines.begin()->first;
    if (!isIPv4(first.address)) {
        if (!device.deadline)
            device.deadline = now + k_familyTime;
        if (now >= *device.deadline)
            report(device, eNew, first.address, now);
        return;
    }
    const auto second = std::next(device.lines.begin());
    const bool isOnly = second == device.lines.end() || !isIPv4(second->first.address);
    if (!isOnly && !askAll(device, now))
        return;
    const QHostAddress best = isOnly ? first.address : aliveIPv4(device).value_or(first.address);
    report(device, eNew, best, now);
}

void NeighbourTable::settleDoubt(Device& device, Line& current, const Place& place, qint64 now)
{
    const bool hasRival = std::any_of(device.lines.begin(), device.lines.end(),
        [&](const auto& each) { return isRival(each.first, device); });
    const bool isTrusted = current.state == NUD_PERMANENT
        || (current.state == NUD_REACHABLE && now - device.doubtedSince >= k_trustTime);
    if (!hasRival || current.hasAnswered || isTrusted) {
        device.isDoubted = false;
        device.deadline.reset();
        device.quietUntil = now + k_quietTime;
        return;
    }
    if (device.deadline && now < *device.deadline)
        return;
    if (device.deadline && current.state != NUD_REACHABLE) {
        const Place silent = place;
        return drop(silent, now);
    }
    // Not asked yet, or the kernel trusts the line and would not ask: it will when the trust ends.
    if (now < device.quietUntil)
        return;
    ask(place, current, now);
    device.deadline = now + m_answerTime;
}

void NeighbourTable::replace(Device& device, qint64 now)
{
    if (std::exchange(device.isDoubted, false))
        device.deadline.reset();
    auto best = device.lines.end();
    for (auto each = device.lines.begin(); each != device.lines.end(); ++each) {
        const bool isFresh = isIPv4(each->first.address) && each->second.since > now - k_freshTime;
        if (isFresh && (best == device.lines.end() || each->second.since > best->second.since))
            best = each;
    }
    if (best != device.lines.end())
        return report(device, eChanged, best->first.address, now);
    const QHostAddress first = device.lines.begin()->first.address;
    if (!isIPv4(first)) {
        // A device that fell silent on IPv4 is not moved to IPv6: it may be restarting.
        device.deadline.reset();
        if (!isIPv4(device.reported))
            report(device, eChanged, first, now);
        return;
    }
    if (!askAll(device, now))
        return;
    device.deadline.reset();
    if (const auto address = aliveIPv4(device))
        report(device, eChanged, *address, now);
}

std::optional<QHostAddress> NeighbourTable::aliveIPv4(const Device& device)
{
    std::optional<QHostAddress> trusted;
    for (const auto& [place, line] : device.lines) {
        if (!isIPv4(place.address))
            break;
        if (line.hasAnswered)
            return place.address;
        if (!trusted && isTrusted(line.state))
            trusted = place.address;
    }
    return trusted;
}

void NeighbourTable::dismiss(Device& device)
{
    device.isDoubted = false;
    device.deadline.reset();
    if (std::exchange(device.isReported, false))
        m_outcome.events.append({ eGone, device.reported, device.mac });
}

void NeighbourTable::report(Device& device, EEvent kind, const QHostAddress& address, qint64 now)
{
    const bool hasMoved = kind == eNew && !device.reported.isNull() && address != device.reported
        && (isIPv4(address) || !isIPv4(device.reported));
    device.reported = address;
    device.isReported = true;
    device.isDoubted = false;
    device.deadline.reset();
    device.quietUntil = now + k_quietTime;
    for (auto& [place, line] : device.lines)
        line.isAsked = line.hasAnswered = false;
    m_outcome.events.append({ kind, address, device.mac });
    if (hasMoved)
        m_outcome.events.append({ eChanged, address, device.mac });
}

void NeighbourTable::ask(const Place& place, Line& line, qint64 now)
{
    line.isAsked = true;
    line.hasAnswered = line.state == NUD_PERMANENT;
    if (!line.hasAnswered)
        question(place, line, now);
}

void NeighbourTable::question(const Place& place, const Line& line, qint64 now)
{
    if (line.state != NUD_NONE)
        return m_outcome.questions.append(place);
    m_outcome.lost.append(place);
    m_missing[place] = now + m_answerTime;
}

void NeighbourTable::dropSilent(qint64 now)
{
    QList<Place> silent;
    for (const auto& [place, deadline] : m_missing) {
        if (deadline && now >= *deadline)
            silent.append(place);
    }
    for (const Place& place : std::as_const(silent))
        drop(place, now);
}

bool NeighbourTable::askAll(Device& device, qint64 now)
{
    int asked = 0;
    bool isOpen = false;
    for (auto& [place, line] : device.lines) {
        if (!isIPv4(place.address) || asked == k_mostAsked)
            break;
        ++asked;
        if (!line.isAsked) {
            ask(place, line, now);
            device.deadline = device.deadline.value_or(now + m_answerTime);
        }
        isOpen = isOpen || !line.hasAnswered;
    }
    return !isOpen || !device.deadline || now >= *device.deadline;
}

void NeighbourTable::confirmStale(qint64 now)
{
    // Twice as long as one round at full pace takes: so everybody comes to their turn.
    const qint64 interval = std::max(k_confirmInterval, 2 * k_confirmGap * qint64(m_owners.size()));
    m_nextConfirm = std::max(m_nextConfirm, now - k_confirmBurst);
    for (auto& [mac, device] : m_devices) {
        if (now < m_nextConfirm)
            return;
        if (!device.isReported || device.isDoubted || device.deadline || now < device.confirmAt)
            continue;
        const int asked = askStale(device, now);
        m_nextConfirm += asked * k_confirmGap;
        if (asked > 0)
            device.confirmAt = now + interval;
    }
}

int NeighbourTable::askStale(const Device& device, qint64 now)
{
    const bool isThere = std::any_of(device.lines.begin(), device.lines.end(),
        [&](const auto& each) { return each.first.address == device.reported; });
    int asked = 0;
    for (const auto& [place, line] : device.lines) {
        const bool isOfUse = !isThere || place.address == device.reported;
        const bool isStale = !isTrusted(line.state) && now >= line.trustedUntil + *m_staleTime;
        if (!isOfUse || !isStale || asked == k_mostAsked)
            continue;
        question(place, line, now);
        ++asked;
    }
    return asked;
}

} // namespace tq
