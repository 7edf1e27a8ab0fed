// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "scanners/wsdiscovery/serviceplace_p.h"

#include <QUrl>

#include <algorithm>
#include <map>
#include <optional>

namespace tq {

namespace {

constexpr qsizetype k_longestUrl = 512;
constexpr int k_httpPort = 80;
constexpr int k_httpsPort = 443;

/** Returns a URL that may be that of a service; an invalid one for anything else. */
QUrl serviceUrl(const QString& text)
{
    if (text.size() > k_longestUrl)
        return QUrl();
    const QUrl url(text, QUrl::StrictMode);
    const bool isWeb =
        url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https");
    const bool isSound =
        isWeb && !url.host().isEmpty() && url.userInfo().isEmpty() && url.port() != 0;
    return isSound ? url : QUrl();
}

ServicePlace placeAt(QUrl url, const QHostAddress& address)
{
    const bool ssl = url.scheme() == QLatin1String("https");
    url.setHost(address.toString());
    return { address, url.port(ssl ? k_httpsPort : k_httpPort), ssl,
        url.toString(QUrl::FullyEncoded) };
}

/** Returns how good the address of a URL is, the best being 0. */
int rankOf(const QHostAddress& address, const QHostAddress& sender)
{
    const bool isIPv4 = address.protocol() == QAbstractSocket::IPv4Protocol;
    return (isIPv4 ? 0 : 2) + (address == sender ? 0 : 1);
}

} // namespace

bool isOnLink(const QHostAddress& address, const QList<Subnet>& subnets)
{
    return std::any_of(subnets.begin(), subnets.end(), [&](const Subnet& subnet) {
        return address.isInSubnet(subnet.network, subnet.prefixLength);
    });
}

QList<ServicePlace> placesOf(const QStringList& urls, const QHostAddress& sender, bool isItself,
    const QList<Subnet>& subnets)
{
    std::multimap<int, ServicePlace> ranked; // of one rank, the device's order is kept
    std::optional<ServicePlace> instead;
    for (const QString& text : urls) {
        const QUrl url = serviceUrl(text);
        if (!url.isValid() || url.isEmpty())
            continue;
        const QHostAddress address(url.host());
        if (isOnLink(address, subnets))
            ranked.emplace(rankOf(address, sender), placeAt(url, address));
        else if (!instead)
            instead = placeAt(url, sender);
    }
    QList<ServicePlace> result;
    for (const auto& [rank, place] : ranked)
        result.append(place);
    if (result.isEmpty() && instead && isItself)
        result.append(*instead);
    return result;
}

} // namespace tq
