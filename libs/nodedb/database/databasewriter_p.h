// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "database/noderegistry_p.h"
#include "database/relationstore_p.h"

#include "platform/persistscope.h"

namespace tq {

/** Writes the whole database in one pass, under a reading guard. */
class DatabaseWriter
{
public:
    DatabaseWriter(IPersistDestination* target, bool saveAll) : m_target(target), m_saveAll(saveAll)
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

    /** Replaces the array of relations, in their order; logs how many were written and which lack a
     * node. */
    void writeRelations(const RegistryLock::Reading& guard, const NodeRegistry& registry,
        const RelationStore& relations);

private:
    bool isWritten(const Node& node) const { return m_saveAll || node.shouldPersist(); }

    IPersistDestination* m_target;
    bool m_saveAll;
};

} // namespace tq
