// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "parts/devicehints.h"

#include "discovery/nodehintfromarp.h"
#include "discovery/nodehintfrombonjour.h"
#include "discovery/nodehintipdevice.h"
#include "environments/environments.h"
#include "nodestore/nodedb.h"
#include "parts/deviceidentity.h"
#include "parts/devicemarks.h"

#include "platform/logline.h"

#include <QCoreApplication>
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
    if (isServiceName(known) && known != record.fullName)
        return;
    node.setServiceName(record.serviceName);
    node.setFullName(record.fullName);
    node.setBonjourAvailable(record.isAvailable != 0);
}

void takeEnteredLogin(IPDeviceNode& node, const NodeHint& hint)
{
    const auto* const entered = dynamic_cast<const NodeHintIPDevice*>(&hint);
    if (!entered || entered->user().isEmpty())
        return;
    const QString person = NodeDB::getDB()->activeUser();
    node.setLoginForApplicationUser(
        person, entered->user(), entered->password(), entered->savePassword());
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
    // With the hint a device could be made at an address that is another one's, login and all.
    if (isAddressConfirmed(node)) {
        device.setUser(node.user(false));
        device.setPassword(node.password(false));
        device.setSavePassword(node.savePassword());
    }
    node.proxy().deepCopy(&device.proxy());
}

/** Takes over where the device is; that confirms the address. */
void takePlace(IPDeviceNode& node, const HintFacts& facts)
{
    if (facts.address.isEmpty())
        return;
    const bool isBetter = isIPv6(node.hostAddress()) && !isIPv6(facts.address);
    node.setHostAddress(isBetter || !isAt(node, facts) ? facts.address : node.hostAddress());
}

void takeReference(IPDeviceNode& node, const QString& reference)
{
    auto* const marks = dynamic_cast<DeviceMarks*>(&node);
    if (marks && !reference.isEmpty() && marks->endpointReference() != reference)
        marks->setEndpointReference(reference);
}

/** Returns the id of the node that has this identity, by its MAC if there is one. */
NodeID nodeOf(const DeviceIdentity& identity)
{
    NodeDB* const db = NodeDB::getDB();
    NodeID found;
    for (const NodeID& id : identity.isEmpty() ? QStringList() : db->nodeIdList()) {
        const tqm::smart<const IPDeviceNode> node = db->node(id);
        if (node.null() || identityOf(*node).compare(identity) != DeviceIdentity::eSame)
            continue;
        if (!identity.mac.isEmpty() && node->mac() == identity.mac)
            return id;
        if (found.isNull())
            found = id;
    }
    return found;
}

/** Whether a device that was met may be the one that says the same of itself: it must not be
 * somewhere else in this environment. */
bool mayBeMet(const IPDeviceNode& known, const IPDeviceNode& met)
{
    return !isAddressConfirmed(known) || isSameHost(known.hostAddress(), met.hostAddress());
}

/** Gives the node of a device that was met, and made `met`, its place in this environment. Returns
 * false when it is being edited. */
bool bring(const NodeID& id, const NodeHint& hint, const IPDeviceNode& met)
{
    NodeDB* const db = NodeDB::getDB();
    Node* const copy = db->beginUpdateNode(id, 0);
    if (!copy) {
        logLine(Log::eSurvived, "A device was met again while its node is edited: ", id);
        return false;
    }
    auto& node = static_cast<IPDeviceNode&>(*copy);
    takeOver(node, hint);
    if (node.mac().isEmpty())
        node.setMac(met.mac());
    takeReference(node, identityOf(met).reference);
    node.setPort(met.port());
    node.setSsl(met.ssl());
    takeEnteredLogin(node, hint);
    db->endUpdateNode(copy);
    return true;
}

} // namespace

bool isAddressConfirmed(const IPDeviceNode& node)
{
    const auto* const marks = dynamic_cast<const DeviceMarks*>(&node);
    return !marks || marks->isAddressConfirmed();
}

QString unconfirmedAddress(const IPDeviceNode& node)
{
    const NodeDB* const db = NodeDB::getDB();
    return QCoreApplication::translate("tq::DeviceMarks",
        "The address %1 was not confirmed in the environment %2, and nothing tells without a login "
        "whether the device there is this one; when you have made sure, enter the address anew "
        "(set %3 IP=%1).")
        .arg(node.hostAddress(), db->environments()->name(db->activeEnvironment()), node.id());
}

bool isDeviceOf(const IPDeviceNode& node, const NodeHint& hint)
{
    const HintFacts facts = factsOf(hint);
    const auto match = identityOf(node).compare(identityOf(facts));
    if (match != DeviceIdentity::eUnknown)
        return match == DeviceIdentity::eSame;
    if (!isAddressConfirmed(node))
        return false;
    return isAt(node, facts) || (!facts.serviceId.isEmpty() && facts.serviceId == node.fullName());
}

void takeOver(IPDeviceNode& node, const NodeHint& hint)
{
    const HintFacts facts = factsOf(hint);
    const bool isNamed = !node.name().isEmpty() && !isSameHost(node.name(), node.hostAddress());
    if (!isNamed && !facts.name.isEmpty())
        node.setName(facts.name);
    takePlace(node, facts);
    takeReference(node, identityOf(facts).reference);
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

QString deviceId(const MACAddress& mac, const QUuid& otherwise)
{
    if (mac.isEmpty())
        return QStringLiteral("uuid:") + otherwise.toString(QUuid::WithoutBraces);
    return QStringLiteral("mac:") + mac.toString().remove(QLatin1Char(':')).toLower();
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
    takeReference(node, identityOf(facts).reference);
    takeEnteredLogin(node, hint);
    if (const auto* const entered = dynamic_cast<const NodeHintIPDevice*>(&hint))
        entered->proxy().deepCopy(&node.proxy());
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
    const NodeID same = nodeOf(identityOf(*node));
    if (const tqm::smart<const IPDeviceNode> other = db->node(same); !other.null()) {
        if (mayBeMet(*other, *node))
            return bring(same, hint, *node) ? same : NodeID();
        // It may be that device met at a second address, or lie.
        if (!node->mac().isEmpty() && other->mac() == node->mac()) {
            logLine(Log::eSurvived,
                "A device says the MAC of a known one, no node made: ", node->hostAddress(),
                " like ", same);
            return QString();
        }
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
