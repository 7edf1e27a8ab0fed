// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "session/hintrecord.h"

#include "discovery/nodehintfromarp.h"
#include "discovery/nodehintfrombonjour.h"
#include "discovery/nodehintipdevice.h"

#include <QHashFunctions>

#include <typeinfo>

namespace tq {

namespace {

std::size_t contentsOf(const NodeHint& hint)
{
    const std::size_t seed = QHashSeed::globalSeed();
    return qHashMulti(seed, typeid(hint).hash_code(), hint.name(), hint.secondText(),
        hint.thirdText(), hint.flag(), hint.furtherValue(), int(hint.nodeType()));
}

void take(HintRecord& record, const NodeHintFromARP& hint)
{
    record.address = hint.address();
    record.mac = hint.mac().toString();
    record.contents = qHashMulti(record.contents, record.address, record.mac);
}

void take(HintRecord& record, const NodeHintIPDevice& hint)
{
    record.address = hint.hostAddress();
    if (hint.furtherValue() == eWSDiscoveryService)
        record.serviceId = hint.secondText();
    record.contents = qHashMulti(record.contents, record.address, hint.port(), hint.ssl(),
        hint.user(), hint.password(), hint.savePassword(), hint.channel());
}

void take(HintRecord& record, const NodeHintFromBonjour& hint)
{
    if (!hint.serviceName.isEmpty())
        record.name = hint.serviceName;
    record.address = hint.address;
    record.mac = hint.mac.toString();
    record.serviceId = hint.fullName;
    const std::size_t service = qHashMulti(record.contents, hint.serviceName, hint.interfaceIndex,
        hint.isAvailable, hint.isResolved, hint.serviceKind, hint.serviceType, hint.domain,
        hint.hostName, hint.texts, hint.port);
    record.contents = qHashMulti(service, hint.ipVersion, record.mac, hint.timeToLive, hint.address,
        hint.fullName, hint.model, hint.serialNumber, hint.ssl, hint.path, hint.secondAddress,
        hint.securePort);
}

} // namespace

QString boundedText(const QString& text)
{
    return text.size() <= HintRecord::k_longest
        ? text
        : text.left(HintRecord::k_longest - 1) + QChar(0x2026);
}

HintRecord recordOf(const NodeHint& hint)
{
    HintRecord record;
    record.name = hint.name();
    record.nodeType = hint.nodeType();
    record.contents = contentsOf(hint);
    if (const auto* const arp = dynamic_cast<const NodeHintFromARP*>(&hint))
        take(record, *arp);
    else if (const auto* const device = dynamic_cast<const NodeHintIPDevice*>(&hint))
        take(record, *device);
    else if (const auto* const service = dynamic_cast<const NodeHintFromBonjour*>(&hint))
        take(record, *service);
    record.name = boundedText(record.name);
    record.address = boundedText(record.address);
    record.serviceId = boundedText(record.serviceId);
    return record;
}

} // namespace tq
