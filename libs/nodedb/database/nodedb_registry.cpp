// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "database/nodedb_p.h"
#include "database/nodesignals_p.h"

#include "platform/logline.h"
#include "platform/plugincall.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QThread>

#include <algorithm>

namespace tq {

namespace {

/** Puts a node on the database's thread if it was made on this one. */
void adopt(Node* node, const NodeDB& db)
{
    if (node->thread() == db.thread())
        return;
    if (node->thread() == QThread::currentThread())
        callPlugin("moveWithMembers", [&] { node->moveWithMembers(db.thread()); });
    else
        logLine(Log::eSurvived, "A node lives on a thread that is not its maker's: ", node->id());
}

using EBegin = NodeRegistry::Attempt::EOutcome;

/** Tries to begin an update of node `id` for up to `timeout` ms (-1: for ever), and once at least.
 */
NodeRegistry::Attempt tryToBegin(NodeDBPrivate& d, const QString& id, qint64 timeout)
{
    NodeRegistry::Attempt attempt{ EBegin::eGone };
    const auto isDecided = [&](const RegistryLock::Writing& guard) {
        attempt = d.registry.tryBeginUpdate(guard, id);
        return attempt.outcome != EBegin::eBusy;
    };
    if (auto guard = d.lock.write("beginUpdateNode")) // not held while lines are logged
        guard->waitUntil(isDecided, QDeadlineTimer(timeout));
    return attempt;
}

/** Waits for the update lock of node `id`; see NodeDB::beginUpdateNode(). */
Node* waitForCopy(NodeDBPrivate& d, const QString& id, int timeout)
{
    constexpr qint64 k_warnAfter = 5000; // ms
    QElapsedTimer timer;
    timer.start();
    // 0 is one attempt; what has waited has waited longer than `timeout`.
    const qint64 longest = timeout == -1 ? -1 : std::max<qint64>(qint64(timeout) + 1, 0);
    const bool isLong = longest == -1 || longest > k_warnAfter;
    NodeRegistry::Attempt attempt = tryToBegin(d, id, isLong ? k_warnAfter : longest);
    if (attempt.outcome == EBegin::eBusy && isLong) {
        logLine(Log::eSurvived, "Still waiting for another update of the node to end: ", id);
        const qint64 rest = std::max<qint64>(longest - timer.elapsed(), 0);
        attempt = tryToBegin(d, id, longest == -1 ? -1 : rest);
    }
    if (attempt.outcome == EBegin::eBusy)
        logLine(Log::eSurvived, "The update lock was not obtained within ", timer.elapsed(),
            " ms, because another update is open. Node id: ", id);
    return attempt.copy;
}

/** What is known of a node by those who hold no handle of it any more. */
struct NodeFacts
{
    explicit NodeFacts(const Node* node)
    {
        if (!node)
            return;
        name = callPlugin("name", QString(), [&] { return node->name(); });
        shouldPersist = callPlugin("shouldPersist", false, [&] { return node->shouldPersist(); });
    }

    QString name;
    bool shouldPersist = false;
};

void logRefusedRemoval(const QString& id)
{
    logLine(Log::eSurvived,
        "Couldn't remove node because it is locked by another consumer. Node id: ", id);
}

bool matches(const Node& node, const tqgen::BaseProperty& property)
{
    return callPlugin("compareProperty", false, [&] { return node.compareProperty(property); });
}

/** Drops the relations of a node that left the registry, then announces the removal. */
void announceRemoval(
    NodeDB* db, std::atomic<bool>& modified, const QString& id, const NodeFacts& facts)
{
    const QPointer<NodeDB> alive(db);
    db->removeAllNodeRelations(id);
    logLine(Log::eProgress, "Node removed: ", facts.name);
    if (!alive)
        return;
    if (facts.shouldPersist)
        modified = true;
    emit db->nodeRemoved(id);
}

} // namespace

void NodeDB::insertNode(Node* node)
{
    if (!node)
        return;
    const QString id = node->id();
    const NodeFacts facts(node);
    if (!NodeRegistry::claim(*node)) {
        logLine(Log::eSurvived, "The node was in the database already: ", id);
        return;
    }
    adopt(node, *this);
    const QPointer<Node> alive(node);
    NodeRegistry::Handle handle = NodeRegistry::handleFor(node);
    NodeRegistry::Displaced displaced;
    {
        const auto guard = d->lock.write("insertNode");
        if (!guard)
            return; // the handle deletes the node: ownership was taken
        displaced = d->registry.insert(*guard, id, handle);
        attachNodeSignals(*node, *this, Qt::AutoConnection);
    }
    handle.reset();
    d->lock.wakeAll();
    if (d->service)
        d->service->takeDeferred(id); // meant the node that was here
    if (displaced.wasInUse)
        logLine(Log::eSurvived, "A node was inserted over one that is in use: ", id);
    displaced.node.reset();
    logLine(Log::eProgress, "Node inserted: ", facts.name);
    if (!alive)
        return;
    if (facts.shouldPersist)
        d->modified = true;
    emit nodeInserted(id);
}

tqm::smart<const Node> NodeDB::node(const QString& id) const
{
    return d->registry.find(d->lock.read(), id);
}

void NodeDB::acquire(const QString& id)
{
    if (const auto guard = d->lock.write("acquire"))
        d->registry.acquire(*guard, id);
}

void NodeDB::release(const QString& nodeId)
{
    const QString id = nodeId; // may be the node's own, which may die below
    const NodeFacts facts(node(id).get());
    NodeRegistry::Removal removal{};
    {
        const auto guard = d->lock.write("release");
        if (!guard)
            return;
        removal = d->registry.release(*guard, id);
    }
    removal.removed.reset();
    switch (removal.outcome) {
    case NodeRegistry::ERemoval::eRemoved:
        d->lock.wakeAll();
        announceRemoval(this, d->modified, id, facts);
        break;
    case NodeRegistry::ERemoval::eLocked:
        logRefusedRemoval(id);
        break;
    case NodeRegistry::ERemoval::eUnmatched:
        logLine(Log::eSurvived, "NodeDB::release: no matching acquire call found ", id);
        break;
    case NodeRegistry::ERemoval::eDeferred:
    case NodeRegistry::ERemoval::eKept:
        break;
    }
}

void NodeDB::removeNode(const QString& nodeId)
{
    const QString id = nodeId; // may be the node's own, which dies below
    NodeRegistry::Handle known = node(id);
    if (known.null()) {
        logLine(Log::eSurvived, "NodeDB::removeNode remove on non-existing node ", id);
        return;
    }
    const NodeFacts facts(known.get());
    known.reset();
    NodeRegistry::Removal removal{};
    {
        const auto guard = d->lock.write("removeNode");
        if (!guard)
            return;
        removal = d->registry.remove(*guard, id);
    }
    removal.removed.reset();
    if (removal.outcome == NodeRegistry::ERemoval::eRemoved) {
        d->lock.wakeAll();
        announceRemoval(this, d->modified, id, facts);
    } else if (removal.outcome == NodeRegistry::ERemoval::eDeferred) {
        logLine(Log::eProgress, "NodeDB::removeNode removal deferred because node is acquired ",
            facts.name);
    } else if (removal.outcome == NodeRegistry::ERemoval::eLocked) {
        logRefusedRemoval(id);
    }
}

void NodeDB::removeAllNodes()
{
    const QPointer<NodeDB> alive(this);
    const QStringList ids = nodeIdList();
    for (const QString& id : ids) {
        if (alive)
            removeNode(id);
    }
}

Node* NodeDB::beginUpdateNode(const QString& nodeId, int timeout)
{
    const QString id = nodeId; // may be a node's own, which slots may remove
    if (node(id).null() || d->lock.refusesChange("beginUpdateNode"))
        return nullptr;
    const QPointer<NodeDB> alive(this);
    emit beginUpdatingNode(id);
    Node* const copy = alive ? waitForCopy(*d, id, timeout) : nullptr;
    if (copy)
        callPlugin("beginUpdateNode", [&] { copy->beginUpdateNode(); });
    return copy;
}

void NodeDB::endUpdateNode(Node* copy)
{
    if (!copy)
        return;
    const QString id = copy->id();
    const NodeFacts facts(copy);
    NodeRegistry::Handle handle;
    NodeRegistry::Handle displaced;
    {
        const auto guard = d->lock.write("endUpdateNode");
        if (!guard)
            return;
        if (NodeRegistry::claim(*copy)) {
            adopt(copy, *this);
            handle = NodeRegistry::handleFor(copy);
            displaced = d->registry.endUpdate(*guard, id, handle);
            // kept: queued here, automatic in insertNode()
            attachNodeSignals(*copy, *this, Qt::QueuedConnection);
        }
    }
    if (handle.null()) {
        logLine(Log::eSurvived, "The update of the node has ended already: ", id);
        return;
    }
    d->lock.wakeAll();
    displaced.reset();
    logLine(Log::eProgress, "Node updated: ", facts.name);
    if (facts.shouldPersist)
        d->modified = true;
    const QPointer<NodeDB> alive(this);
    callPlugin("endUpdateNode", [&] { copy->endUpdateNode(); });
    handle.reset(); // kept the copy alive for its hook
    if (!alive)
        return;
    emit nodeUpdated(id);
    if (!alive || !d->service)
        return;
    if (const auto hint = d->service->takeDeferred(id))
        takeOver(*hint, id);
}

bool NodeDB::nodenameExists(const QString& name) const
{
    return !d->registry
                .findFirst(d->lock.read(),
                    [&](const Node& node) {
                        return callPlugin("name", false, [&] { return node.name() == name; });
                    })
                .null();
}

QStringList NodeDB::nodeIdList(ENodeType type) const
{
    const QList<ENodeType> types{ type };
    return nodeIdList(type == eAnyNodeType ? nullptr : &types, false);
}

QStringList NodeDB::nodeIdList(const QList<ENodeType>* types, bool exclude) const
{
    return d->registry.ids(d->lock.read(),
        [&](const Node& node) { return passesTypeFilter(node.type(), types, exclude); });
}

QStringList NodeDB::search(ENodeType type) const
{
    return nodeIdList(type);
}

QStringList NodeDB::search(const tqgen::BaseProperty& property, ENodeType type) const
{
    return d->registry.ids(d->lock.read(), [&](const Node& node) {
        return (type == eAnyNodeType || node.type() == type) && matches(node, property);
    });
}

QStringList NodeDB::search(const tqgen::PropertySet& properties, ENodeType type) const
{
    const auto& wanted = properties.properties();
    return d->registry.ids(d->lock.read(), [&](const Node& node) {
        return (type == eAnyNodeType || node.type() == type)
            && std::all_of(wanted.begin(), wanted.end(),
                [&](const auto& property) { return matches(node, *property); });
    });
}

bool NodeDB::isModified() const
{
    return d->modified;
}

} // namespace tq
