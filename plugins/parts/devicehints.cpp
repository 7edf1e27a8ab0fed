// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "parts/devicehints.h"

#include "discovery/nodehintfromarp.h"
#include "discovery/nodehintfrombonjour.h"
#include "discovery/nodehintipdevice.h"
#include "nodestore/nodedb.h"

#include "platform/logline.h"

#include <QHostAddress>

namespace tq {

namespace {

bool isAt(const IPDeviceNode& node, const HintFacts& facts)
{
    const QString host = node.hostAddress();
    return isSameHost(host, facts.address) || isSameHost(host, facts.secondAddress);
}

bool isIPv6(const QString& host)
{
    return QHostAddress(host).protocol() == QAbstractSocket::IPv6Protocol;
}

/** A device may announce several services: the node is known by the first. Before the id that it
 * has in WS-Discovery, the name of a service goes. */
void takeService(IPDeviceNode& node, const SServiceInfo& record)
{
    const QString known = node.fullName();
    const bool isOfService = known.contains(QLatin1String("._"));
    if (isOfService && known != record.fullName)
        return;
    node.setServiceName(record.serviceName);
    node.setFullName(record.fullName);
    node.setBonjourAvailable(record.isAvailable != 0);
}

void takeEnteredData(IPDeviceNode& node, const NodeHintIPDevice& hint)
{
    if (!hint.user().isEmpty()) {
        const QString person = NodeDB::getDB()->activeUser();
        node.setLoginForApplicationUser(person, hint.user(), hint.password(), hint.savePassword());
    }
    hint.proxy().deepCopy(&node.proxy());
}

void fillRecord(const IPDeviceNode& node, SServiceInfo& record)
{
    record.serviceName = node.serviceName();
    record.fullName = node.fullName();
    record.isAvailable = node.bonjourAvailable() ? 1 : 0;
    record.address = node.hostAddress();
    record.port = quint16(node.port());
    record.ssl = node.ssl() ? 1 : 0;
    record.mac = node.mac();
    record.model = node.modelInfo();
}

void fillEntered(const IPDeviceNode& node, NodeHintIPDevice& device)
{
    device.setHostAddress(node.hostAddress());
    device.setPort(node.port());
    device.setSsl(node.ssl());
    device.setUser(node.user(false));
    device.setPassword(node.password(false));
    device.setSavePassword(node.savePassword());
    node.proxy().deepCopy(&device.proxy());
}

} // namespace

bool isDeviceOf(const IPDeviceNode& node, const NodeHint& hint)
{
    const HintFacts facts = factsOf(hint);
    if (!node.mac().isEmpty() && !facts.mac.isEmpty())
        return node.mac() == facts.mac;
    return isAt(node, facts) || (!facts.serviceId.isEmpty() && facts.serviceId == node.fullName());
}

void takeOver(IPDeviceNode& node, const NodeHint& hint)
{
    const HintFacts facts = factsOf(hint);
    const bool isNamed = !node.name().isEmpty() && !isSameHost(node.name(), node.hostAddress());
    if (!isNamed && !facts.name.isEmpty())
        node.setName(facts.name);
    const bool isBetter = isIPv6(node.hostAddress()) && !isIPv6(facts.address);
    if (!facts.address.isEmpty() && (isBetter || !isAt(node, facts)))
        node.setHostAddress(facts.address);
    if (node.mac().isEmpty() && !facts.mac.isEmpty())
        node.setMac(facts.mac);
    if (node.fullName().isEmpty())
        node.setFullName(facts.serviceId);
    const auto* const record = dynamic_cast<const NodeHintFromBonjour*>(&hint);
    if (!record)
        return;
    takeService(node, *record);
    if (record->isResolved != 0 && facts.isEndpointTold) {
        node.setPort(facts.endpoints.first().port);
        node.setSsl(facts.endpoints.first().ssl);
    }
    if (!facts.model.isEmpty())
        node.setModelInfo(facts.model);
}

void fillFrom(const IPDeviceNode& node, NodeHint& hint)
{
    hint.setName(node.name());
    hint.setNodeType(node.type());
    if (auto* const seen = dynamic_cast<NodeHintFromARP*>(&hint)) {
        seen->setAddress(node.hostAddress());
        seen->setMac(node.mac());
    } else if (auto* const record = dynamic_cast<NodeHintFromBonjour*>(&hint)) {
        fillRecord(node, *record);
    } else if (auto* const device = dynamic_cast<NodeHintIPDevice*>(&hint)) {
        fillEntered(node, *device);
    }
}

QString deviceId(const HintFacts& facts, int port)
{
    if (facts.mac.isEmpty())
        return QStringLiteral("ip:%1:%2").arg(facts.address.toLower()).arg(port);
    return QStringLiteral("mac:") + facts.mac.toString().remove(QLatin1Char(':')).toLower();
}

QString deviceName(const HintFacts& facts, const QString& ownName)
{
    const bool isGiven = facts.service == eManualService && !facts.name.isEmpty();
    if (!isGiven && !ownName.isEmpty())
        return ownName;
    return facts.name.isEmpty() ? facts.address : facts.name;
}

void describe(IPDeviceNode& node, const NodeHint& hint, const Endpoint& endpoint)
{
    const HintFacts facts = factsOf(hint);
    node.setHostAddress(facts.address);
    node.setPort(endpoint.port);
    node.setSsl(endpoint.ssl);
    node.setMac(facts.mac);
    node.setFullName(facts.serviceId);
    node.setCreationService(facts.service);
    node.setShouldPersist(true);
    if (const auto* const entered = dynamic_cast<const NodeHintIPDevice*>(&hint))
        takeEnteredData(node, *entered);
    if (const auto* const record = dynamic_cast<const NodeHintFromBonjour*>(&hint))
        takeService(node, *record);
}

NodeID insertDevice(std::unique_ptr<IPDeviceNode> node, const NodeHint& hint)
{
    NodeDB* const db = NodeDB::getDB();
    QString known;
    if (db->alreadyKnown(hint, known)) {
        db->nodeHintChanged(hint);
        return known;
    }
    const QString id = node->id();
    if (!db->node(id).null()) {
        logLine(Log::eSurvived, "There is a node with this id already: ", id);
        return QString();
    }
    db->insertNode(node.release());
    return id;
}

} // namespace tq
