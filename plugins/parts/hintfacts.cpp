// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "parts/hintfacts.h"

#include "discovery/nodehintfromarp.h"
#include "discovery/nodehintfrombonjour.h"
#include "discovery/nodehintipdevice.h"

#include <QHostAddress>

namespace tq {

namespace {

constexpr int k_httpPort = 80;
constexpr int k_httpsPort = 443;

const QList<Endpoint> k_usual = { { k_httpPort, false }, { k_httpsPort, true } };

QList<Endpoint> endpointsOf(const NodeHintIPDevice& hint)
{
    if (hint.port() != k_httpPort)
        return { { hint.port(), hint.ssl() } };
    return hint.ssl() ? QList<Endpoint>{ { k_httpsPort, true } } : k_usual;
}

/** Returns none where the record speaks of another service of the device. */
QList<Endpoint> endpointsOf(const SServiceInfo& record)
{
    QList<Endpoint> result;
    const bool isWeb = record.serviceType.startsWith(QLatin1String("_http"), Qt::CaseInsensitive);
    if (isWeb && record.port != 0) {
        const bool isSecure = record.ssl != 0
            || record.serviceType.startsWith(QLatin1String("_https"), Qt::CaseInsensitive);
        result.append({ record.port, isSecure });
    }
    if (record.securePort != 0 && record.securePort != record.port)
        result.append({ record.securePort, true });
    return result;
}

void take(const SServiceInfo& record, HintFacts& facts)
{
    const bool isSecondFirst = record.ipVersion == 6 && !record.secondAddress.isEmpty();
    facts.address = isSecondFirst ? record.secondAddress : record.address;
    facts.secondAddress = isSecondFirst ? record.address : record.secondAddress;
    if (facts.address.isEmpty())
        facts.address = record.hostName;
    facts.mac = record.mac;
    facts.model = record.model;
    facts.serialNumber = record.serialNumber;
    const QList<Endpoint> told = endpointsOf(record);
    facts.isEndpointTold = !told.isEmpty();
    facts.endpoints = facts.isEndpointTold ? told : k_usual;
    facts.service = eDNSSDService;
    facts.serviceId = record.fullName;
    if (facts.name.isEmpty())
        facts.name = record.serviceName;
}

void take(const NodeHintIPDevice& device, HintFacts& facts)
{
    facts.address = device.hostAddress().trimmed();
    if (device.furtherValue() == eWSDiscoveryService) {
        facts.service = eWSDiscoveryService;
        facts.serviceId = device.secondText();
        facts.serviceUrl = QUrl(device.thirdText(), QUrl::StrictMode);
        facts.endpoints = { { device.port(), device.ssl() } };
        facts.isEndpointTold = true;
    } else {
        facts.service = eManualService;
        facts.endpoints = endpointsOf(device);
        facts.isEndpointTold = facts.endpoints.size() == 1;
    }
}

} // namespace

HintFacts factsOf(const NodeHint& hint)
{
    HintFacts facts;
    facts.name = hint.name();
    facts.endpoints = k_usual;
    if (const auto* const seen = dynamic_cast<const NodeHintFromARP*>(&hint)) {
        facts.address = seen->address();
        facts.mac = seen->mac();
        facts.service = eARPService;
    } else if (const auto* const record = dynamic_cast<const NodeHintFromBonjour*>(&hint)) {
        take(*record, facts);
    } else if (const auto* const entered = dynamic_cast<const NodeHintIPDevice*>(&hint)) {
        take(*entered, facts);
    }
    return facts;
}

bool isServiceName(const QString& serviceId)
{
    return serviceId.contains(QLatin1String("._"));
}

bool isSameHost(const QString& left, const QString& right)
{
    if (left.isEmpty() || right.isEmpty())
        return false;
    const QHostAddress address(left);
    return address.isNull() ? left.compare(right, Qt::CaseInsensitive) == 0
                            : address == QHostAddress(right);
}

} // namespace tq
