// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "database/noderegistry_p.h"

#include "platform/plugincall.h"

#include <QMutex>
#include <QPointer>
#include <QThread>

#include <utility>

namespace tq {

namespace {

/** The nodes that wait to be deleted on their own thread. */
struct Waiting
{
    QMutex mutex; // guards `nodes`; innermost
    QList<QPointer<Node>> nodes;
    qsizetype pruneAt = 64;
};

Waiting& waiting()
{
    static Waiting list;
    return list;
}

void deleteOnItsThread(Node* node)
{
    {
        Waiting& list = waiting();
        const QMutexLocker locker(&list.mutex);
        if (list.nodes.size() >= list.pruneAt) {
            list.nodes.removeIf([](const QPointer<Node>& each) { return each.isNull(); });
            list.pruneAt = 2 * list.nodes.size() + 64;
        }
        list.nodes.append(node);
    }
    node->deleteLater();
}

} // namespace

NodeRegistry::Handle NodeRegistry::handleFor(const Node* node)
{
    return Handle(node, [](const Node* last) {
        if (last->thread() == QThread::currentThread() || !last->thread())
            delete last;
        else
            deleteOnItsThread(const_cast<Node*>(last));
    });
}

bool NodeRegistry::claim(Node& node)
{
    return !node.m_isOwned.exchange(true);
}

void NodeRegistry::deleteWaiting()
{
    QList<QPointer<Node>> nodes;
    {
        const QMutexLocker locker(&waiting().mutex);
        nodes.swap(waiting().nodes);
    }
    for (const QPointer<Node>& node : std::as_const(nodes)) {
        if (node && node->thread() == QThread::currentThread())
            delete node;
    }
}

NodeRegistry::Handle NodeRegistry::find(const Reading&, const QString& id) const
{
    const auto record = m_records.constFind(id);
    return record == m_records.cend() ? Handle() : record->node;
}

QStringList NodeRegistry::ids(const Reading&, const Filter& filter) const
{
    QStringList result;
    for (auto it = m_records.cbegin(); it != m_records.cend(); ++it) {
        if (!it->node.null() && (!filter || filter(*it->node)))
            result.append(it.key());
    }
    return result;
}

NodeRegistry::Handle NodeRegistry::findFirst(const Reading&, const Filter& filter) const
{
    for (const Record& record : m_records) {
        if (!record.node.null() && filter(*record.node))
            return record.node;
    }
    return {};
}

NodeRegistry::Displaced NodeRegistry::insert(const Writing&, const QString& id, const Handle& node)
{
    const Record before = std::exchange(m_records[id], Record{ node });
    const bool wasInUse = !before.node.null() && (before.acquireCount > 0 || before.updateLocked);
    return { before.node, wasInUse };
}

void NodeRegistry::acquire(const Writing&, const QString& id)
{
    ++m_records[id].acquireCount;
}

NodeRegistry::Removal NodeRegistry::release(const Writing&, const QString& id)
{
    const auto record = m_records.find(id);
    if (record == m_records.end() || record->acquireCount <= 0)
        return { ERemoval::eUnmatched, {} };
    if (--record->acquireCount > 0)
        return { ERemoval::eKept, {} };
    if (record->pendingRemoval)
        return removeRecord(record);
    if (record->node.null())
        m_records.erase(record);
    return { ERemoval::eKept, {} };
}

NodeRegistry::Removal NodeRegistry::remove(const Writing&, const QString& id)
{
    const auto record = m_records.find(id);
    if (record == m_records.end() || record->node.null())
        return { ERemoval::eKept, {} };
    if (record->acquireCount > 0) {
        record->pendingRemoval = true;
        return { ERemoval::eDeferred, {} };
    }
    return removeRecord(record);
}

NodeRegistry::Removal NodeRegistry::removeRecord(Records::iterator record)
{
    if (record->updateLocked)
        return { ERemoval::eLocked, {} };
    const Handle removed = record->node;
    m_records.erase(record);
    return { ERemoval::eRemoved, removed };
}

NodeRegistry::Attempt NodeRegistry::tryBeginUpdate(const Writing&, const QString& id)
{
    const auto record = m_records.find(id);
    if (record == m_records.end() || record->node.null())
        return { Attempt::EOutcome::eGone };
    if (record->updateLocked)
        return { Attempt::EOutcome::eBusy };
    const Handle node = record->node;
    Node* const copy = callPlugin("clone", nullptr, [&]() -> Node* { return node->clone(); });
    if (!copy) {
        logLine(Log::eSurvived, "The node could not be copied for an update: ", id);
        return { Attempt::EOutcome::eBegun };
    }
    record->updateLocked = true;
    record->updater = QThread::currentThreadId();
    return { Attempt::EOutcome::eBegun, copy };
}

NodeRegistry::Handle NodeRegistry::endUpdate(const Writing&, const QString& id, const Handle& copy)
{
    Record& record = m_records[id];
    record.updateLocked = false;
    record.updater = nullptr;
    return std::exchange(record.node, copy);
}

bool NodeRegistry::isUpdatedByThisThread(const Reading&, const QString& id) const
{
    const auto record = m_records.constFind(id);
    return record != m_records.cend() && record->updateLocked
        && record->updater == QThread::currentThreadId();
}

QList<NodeRegistry::Handle> NodeRegistry::takeAll(const Writing&)
{
    QList<Handle> nodes;
    for (const Record& record : std::exchange(m_records, Records()))
        nodes.append(record.node);
    return nodes;
}

} // namespace tq
