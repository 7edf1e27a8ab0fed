// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "database/confinedtarget_p.h"
#include "database/noderegistry_p.h"
#include "database/relationstore_p.h"
#include "nodestore/inodeentrytarget.h"

#include "platform/persistscope.h"

#include <QSet>

namespace tq {

class DriverTable;

/** Writes the whole database in one pass, under a reading guard. */
class DatabaseWriter
{
public:
    DatabaseWriter(IPersistDestination* target, bool saveAll, const DriverTable& drivers)
        : m_target(target)
        , m_entries(dynamic_cast<INodeEntryTarget*>(target))
        , m_confined(target)
        , m_drivers(drivers)
        , m_saveAll(saveAll)
    {
    }

    /** Replaces the group `name` by what `write(target)` writes into it. */
    template <class Write>
    void writeGroup(const QString& name, Write write)
    {
        // First the removal, so that entries that vanished since the last save do not survive.
        m_target->remove(name);
        const PersistGroup group(m_target, name);
        write(m_target);
    }

    /** Replaces the array of nodes, in ascending order of ids; logs how many were written. */
    void writeNodes(const RegistryLock::Reading& guard, const NodeRegistry& registry);

    /** Replaces the array of relations between the nodes that were written, in their order; logs
     * how many were written and which lack a node. */
    void writeRelations(const RegistryLock::Reading& guard, const NodeRegistry& registry,
        const RelationStore& relations);

private:
    void writeNode(const Node& node, const QString& id, PersistWriteArray& array);
    void failed(const Node& node, const QString& id, const QString& why);
    /** Runs code of the node's; tells when it throws, and throws again where nobody minds the
     * entries. Returns whether it came through. */
    template <class Call>
    bool survives(const Node& node, const QString& id, Call call);

    IPersistDestination* m_target;
    INodeEntryTarget* m_entries; ///< the target as well; null when it does not mind the entries
    ConfinedTarget m_confined;
    const DriverTable& m_drivers;
    QSet<QString> m_written;
    bool m_saveAll;
};

} // namespace tq
