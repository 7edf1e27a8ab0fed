// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "database/nodedb_p.h"

#include "platform/logline.h"
#include "platform/plugincall.h"

namespace tq {

namespace {

/** Calls `forOne` for each capability in ascending order; an empty set stands for the empty
 * capability. */
template <class ForOne>
void forEachCapability(const std::set<std::string>& capabilities, ForOne forOne)
{
    if (capabilities.empty())
        forOne(std::string());
    for (const std::string& capability : capabilities)
        forOne(capability);
}

} // namespace

tqm::smart<INodeDriverComponent> NodeDB::nodeDriver(ENodeType type) const
{
    const auto driver = d->drivers.find(type);
    if (driver.null())
        logLine(Log::eSurvived, "No node driver available for type: ", int(type));
    return driver;
}

tqm::smart<INodeDriverComponent> NodeDB::nodeDriver(const QString& nodeId) const
{
    const auto known = node(nodeId);
    if (known.null()) {
        // kept: misspelt
        logLine(Log::eSurvived, "Node id does not exits in NodeDB: ", nodeId);
        return {};
    }
    const auto driver = d->drivers.find(known->type());
    if (driver.null())
        logLine(Log::eSurvived, "No node driver available for node: ",
            callPlugin("name", QString(), [&] { return known->name(); }));
    return driver;
}

Node* NodeDB::createNodeFromType(ENodeType type) const
{
    if (const auto driver = d->drivers.find(type))
        return callPlugin("createNode", nullptr, [&] { return driver->createNode(type); });
    logLine(Log::eSurvived, "No node driver available for node type: ", int(type));
    return nullptr;
}

tqm::smart<NodeHint> NodeDB::createNodeHint(ENodeType type) const
{
    const auto driver = nodeDriver(type);
    if (driver.null())
        return {};
    return callPlugin(
        "createNodeHint", tqm::smart<NodeHint>(), [&] { return driver->createNodeHint(type); });
}

QString NodeDB::readableNodeTypeName(ENodeType type) const
{
    const auto driver = nodeDriver(type);
    if (driver.null())
        return QString();
    return callPlugin(
        "readableNodeTypeName", QString(), [&] { return driver->readableNodeTypeName(type); });
}

QList<QPair<ENodeType, QString>> NodeDB::readableNodeTypeNames(
    const QList<ENodeType>* types, bool exclude) const
{
    return d->drivers.names(types, exclude);
}

void NodeDB::startScanners(const std::string& capability, unsigned int argument, int secondArgument)
{
    if (d->service)
        d->service->startScanners(capability, argument, secondArgument);
}

void NodeDB::startScanners(
    const std::set<std::string>& capabilities, unsigned int argument, int secondArgument)
{
    const QPointer<NodeDB> alive(this);
    forEachCapability(capabilities, [&](const std::string& capability) {
        if (alive)
            startScanners(capability, argument, secondArgument);
    });
}

void NodeDB::stopScanners(const std::string& capability)
{
    if (d->service)
        d->service->stopScanners(capability);
}

void NodeDB::stopScanners(const std::set<std::string>& capabilities)
{
    const QPointer<NodeDB> alive(this);
    forEachCapability(capabilities, [&](const std::string& capability) {
        if (alive)
            stopScanners(capability);
    });
}

QString NodeDB::lookupHint(const NodeHint& hint) const
{
    const auto known = d->registry.findFirst(d->lock.read(), [&](const Node& node) {
        return callPlugin("isIdentical", false, [&] { return node.isIdentical(hint); });
    });
    return known.null() ? QString() : known->id();
}

bool NodeDB::alreadyKnown(const NodeHint& hint, QString& nodeId) const
{
    const QString id = lookupHint(hint);
    if (id.isNull())
        return false;
    nodeId = id;
    return true;
}

void NodeDB::probe(const NodeHint& hint)
{
    if (d->service && !d->lock.refusesChange("probe"))
        d->service->probe(hint);
}

void NodeDB::newNodeHint(const tq::NodeHint& hint)
{
    if (d->service && !d->lock.refusesChange("newNodeHint"))
        d->service->newHint(hint);
}

void NodeDB::nodeHintChanged(const tq::NodeHint& hint)
{
    const QString id = lookupHint(hint);
    if (!id.isNull())
        takeOver(hint, id);
}

void NodeDB::takeOver(const NodeHint& hint, const QString& id)
{
    const auto known = node(id);
    if (!d->service || known.null() || known->creationService() == eManualService)
        return;
    if (d->registry.isUpdatedByThisThread(d->lock.read(), id))
        d->service->deferChange(hint, id); // waiting here would be for ever
    else
        d->service->applyChange(hint, id);
}

void NodeDB::nodeHintGone(const tq::NodeHint& hint)
{
    const QString id = lookupHint(hint);
    if (!id.isNull() && !d->lock.refusesChange("nodeHintGone"))
        emit nodeLost(id);
}

void NodeDB::probeResult(int requestId, tqm::smart<INodeDriverComponent> driver, int result)
{
    if (d->service)
        d->service->probeResult(requestId, driver, result);
}

} // namespace tq

// Here, because the meta-object needs the complete type of hints.
#include "nodestore/moc_nodedb.cpp"
