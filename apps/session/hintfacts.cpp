// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "session/hintfacts.h"

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

void take(HintFacts& facts, const NodeHintFromARP& hint)
{
    facts.address = hint.address();
    facts.mac = hint.mac().toString();
    facts.contents = qHashMulti(facts.contents, facts.address, facts.mac);
}

void take(HintFacts& facts, const NodeHintIPDevice& hint)
{
    facts.address = hint.hostAddress();
    facts.contents = qHashMulti(facts.contents, facts.address, hint.port(), hint.ssl(), hint.user(),
        hint.password(), hint.savePassword(), hint.channel());
}

void take(HintFacts& facts, const NodeHintFromBonjour& hint)
{
    if (!hint.serviceName.isEmpty())
        facts.name = hint.serviceName;
    facts.address = hint.address;
    facts.mac = hint.mac.toString();
    const std::size_t service = qHashMulti(facts.contents, hint.serviceName, hint.interfaceIndex,
        hint.isAvailable, hint.isResolved, hint.serviceKind, hint.serviceType, hint.domain,
        hint.hostName, hint.texts, hint.port);
    facts.contents = qHashMulti(service, hint.ipVersion, facts.mac, hint.timeToLive, hint.address,
        hint.fullName, hint.model, hint.serialNumber, hint.ssl, hint.path, hint.secondAddress,
        hint.securePort);
}

} // namespace

QString boundedText(const QString& text)
{
    return text.size() <= HintFacts::k_longest
        ? text
        : text.left(HintFacts::k_longest - 1) + QChar(0x2026);
}

HintFacts factsOf(const NodeHint& hint)
{
    HintFacts facts;
    facts.name = hint.name();
    facts.nodeType = hint.nodeType();
    facts.contents = contentsOf(hint);
    if (const auto* const arp = dynamic_cast<const NodeHintFromARP*>(&hint))
        take(facts, *arp);
    else if (const auto* const device = dynamic_cast<const NodeHintIPDevice*>(&hint))
        take(facts, *device);
    else if (const auto* const service = dynamic_cast<const NodeHintFromBonjour*>(&hint))
        take(facts, *service);
    facts.name = boundedText(facts.name);
    facts.address = boundedText(facts.address);
    return facts;
}

} // namespace tq
