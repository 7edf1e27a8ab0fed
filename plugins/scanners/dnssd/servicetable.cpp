// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "scanners/dnssd/servicetable_p.h"

#include <algorithm>
#include <tuple>

namespace tq {

namespace {

constexpr qint64 k_settleTime = 500; ///< ms
constexpr qsizetype k_mostAddresses = 8;

/** Which of a service's addresses is the better one to show: the smaller. */
std::tuple<bool, bool, bool> rankOf(const QHostAddress& address)
{
    const bool isIPv6 = address.protocol() == QAbstractSocket::IPv6Protocol;
    return { address.isLoopback(), isIPv6, address.isLinkLocal() };
}

} // namespace

bool ServiceTable::announce(const Announcement& announcement, EServiceKind kind)
{
    auto entry = m_services.find(announcement.service);
    if (entry == m_services.end()) {
        if (m_services.size() >= k_mostServices)
            return false;
        entry = m_services.emplace(announcement.service, Service()).first;
        entry->second.kind = kind;
    }
    entry->second.lines[announcement.place].isDoubted = false;
    return true;
}

void ServiceTable::withdraw(const Announcement& announcement, qint64 now)
{
    const auto entry = m_services.find(announcement.service);
    if (entry != m_services.end())
        withdraw(entry, announcement.place, now);
}

ServiceTable::Services::iterator ServiceTable::withdraw(
    Services::iterator entry, const ServicePlace& place, qint64 now)
{
    Service& service = entry->second;
    if (service.lines.erase(place) == 0)
        return std::next(entry);
    if (!service.lines.empty()) {
        unsettle(*entry, now);
        return std::next(entry);
    }
    if (service.report)
        tell(eGone, *entry);
    return m_services.erase(entry);
}

void ServiceTable::resolve(
    const Announcement& announcement, const Resolution& resolution, qint64 now)
{
    const auto entry = m_services.find(announcement.service);
    if (entry == m_services.end() || !entry->second.lines.contains(announcement.place))
        return;
    Line& line = entry->second.lines.at(announcement.place);
    line.resolution = resolution;
    if (line.addresses.size() < k_mostAddresses)
        line.addresses.append(resolution.address);
    for (const auto& [place, other] : entry->second.lines) {
        if (other.resolution && other.resolution->texts == resolution.texts)
            line.resolution->texts = other.resolution->texts; // kept once for all places
    }
    unsettle(*entry, now);
}

void ServiceTable::doubtAll()
{
    for (auto& [key, service] : m_services) {
        for (auto& [place, line] : service.lines)
            line.isDoubted = true;
    }
}

void ServiceTable::withdrawDoubted(qint64 now)
{
    for (auto entry = m_services.begin(); entry != m_services.end();) {
        QList<ServicePlace> doubted;
        for (const auto& [place, line] : entry->second.lines) {
            if (line.isDoubted)
                doubted.append(place);
        }
        auto next = std::next(entry);
        for (const ServicePlace& place : std::as_const(doubted))
            next = withdraw(entry, place, now);
        entry = next;
    }
}

void ServiceTable::advance(qint64 now)
{
    while (!m_unsettled.empty() && m_unsettled.front().first <= now) {
        const auto entry = m_services.find(m_unsettled.front().second);
        m_unsettled.pop_front();
        if (entry != m_services.end() && entry->second.isUnsettled)
            settle(*entry);
    }
}

void ServiceTable::unsettle(Services::value_type& entry, qint64 now)
{
    if (std::exchange(entry.second.isUnsettled, true))
        return;
    m_unsettled.emplace_back(now + k_settleTime, entry.first);
}

bool ServiceTable::isStillTold(const Service& service, const QHostAddress& address)
{
    return std::any_of(service.lines.begin(), service.lines.end(), [&](const auto& entry) {
        const Line& line = entry.second;
        return line.addresses.contains(address)
            || (line.resolution && line.resolution->address == address);
    });
}

std::optional<ServiceTable::Report> ServiceTable::reportOf(const Service& service)
{
    const Line* best = nullptr;
    int bestInterface = 0;
    for (const auto& [place, line] : service.lines) {
        const bool isBetter = line.resolution
            && (!best || rankOf(line.resolution->address) < rankOf(best->resolution->address));
        if (isBetter) {
            best = &line;
            bestInterface = place.interfaceIndex;
        }
    }
    if (!best)
        return std::nullopt;
    Report result{ bestInterface, *best->resolution, QHostAddress() };
    const auto protocol = result.resolution.address.protocol();
    for (const auto& [place, line] : service.lines) {
        const bool isOther = line.resolution && line.resolution->address.protocol() != protocol;
        if (isOther
            && (result.second.isNull() || rankOf(line.resolution->address) < rankOf(result.second)))
            result.second = line.resolution->address;
    }
    // A host may have several addresses, which are told in any order and on any interface: the one
    // that was reported stays as long as it is among them, but IPv6 gives way to IPv4.
    const QHostAddress known = service.report ? service.report->resolution.address : QHostAddress();
    if (known.protocol() == protocol && isStillTold(service, known))
        result.resolution.address = known;
    return result;
}

void ServiceTable::settle(Services::value_type& entry)
{
    Service& service = entry.second;
    service.isUnsettled = false;
    std::optional<Report> report = reportOf(service);
    for (auto& [place, line] : service.lines)
        line.addresses.clear();
    if (!report)
        return;
    const bool isNew = !service.report;
    const bool isChanged = !isNew && report->resolution != service.report->resolution;
    if (!isNew)
        report->interfaceIndex = service.report->interfaceIndex;
    service.report = std::move(report);
    if (isNew || isChanged)
        tell(isNew ? eNew : eChanged, entry);
}

void ServiceTable::tell(EEvent kind, const Services::value_type& entry)
{
    const Report& report = *entry.second.report;
    Event event{ kind,
        serviceRecord(entry.first, entry.second.kind, report.interfaceIndex, report.resolution,
            report.second) };
    if (kind == eGone)
        event.info.isAvailable = 0;
    m_events.append(event);
}

} // namespace tq
