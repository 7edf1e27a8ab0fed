// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "discovery/inodescanner.h"
#include "discovery/todolist.h"

#include <QHash>
#include <QMutex>

#include <memory>
#include <string>

namespace tq {

class DriverTable;
class NodeDB;

/** Decides what becomes of hints, runs probes and switches scanners. It emits the database's
 * discovery signals. */
class DiscoveryService
{
public:
    DiscoveryService(NodeDB& db, const DriverTable& drivers);

    /** Connects the drivers' deferred answers, and the database's own signal of immediate ones, to
     * its slot. */
    void connectDrivers();

    void startScanners(const std::string& capability, unsigned int argument, int secondArgument);
    void stopScanners(const std::string& capability);

    void newHint(const NodeHint& hint);
    void probe(const NodeHint& hint);
    void probeResult(int requestId, const ToDoList::Driver& driver, int result);

    /** Lets the known node `id` take over the hint's data in an update bracket of its own. */
    void applyChange(const NodeHint& hint, const QString& id);

    /** Keeps a change of a node that this thread is updating, until that update ends; the newest
     * one stays. */
    void deferChange(const NodeHint& hint, const QString& id);

    /** Returns the change kept for that node, if any, and forgets it. Any thread. */
    std::shared_ptr<const NodeHint> takeDeferred(const QString& id);

private:
    QList<tqm::smart<INodeScanner>> scanners(const std::string& capability) const;

    NodeDB& m_db;
    const DriverTable& m_drivers;
    ToDoList m_toDoList;
    QMutex m_deferredMutex; // guards m_deferred; innermost
    QHash<QString, std::shared_ptr<const NodeHint>> m_deferred;
};

} // namespace tq
