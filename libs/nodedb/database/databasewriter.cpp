// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "database/databasewriter_p.h"

#include "database/storedgroups_p.h"

namespace tq {

using namespace stored;

void DatabaseWriter::writeNodes(const RegistryLock::Reading& guard, const NodeRegistry& registry)
{
    int count = 0;
    writeGroup(k_globalNodes, [&](IPersistDestination* target) {
        target->remove(k_nodes);
        PersistWriteArray array(target, k_nodes);
        for (const QString& id : registry.ids(guard)) {
            const NodeRegistry::Handle node = registry.find(guard, id);
            if (!isWritten(*node))
                continue;
            array.next();
            node->save(target);
        }
        count = array.count();
    });
    logLine(Log::eProgress, "NodeDB saved: ", count, " nodes.");
}

void DatabaseWriter::writeRelations(const RegistryLock::Reading& guard,
    const NodeRegistry& registry, const RelationStore& relations)
{
    int count = 0;
    writeGroup(k_nodeRelations, [&](IPersistDestination* target) {
        target->remove(k_relations);
        PersistWriteArray array(target, k_relations);
        for (const NodeRelation& relation : relations.all(guard)) {
            const NodeRegistry::Handle from = registry.find(guard, relation.from);
            const NodeRegistry::Handle to = registry.find(guard, relation.to);
            if (from.null() || to.null()) {
                logLine(
                    Log::eSurvived, "Cannot save node relation (trouble with driver component...)");
                continue;
            }
            if (!isWritten(*from) || !isWritten(*to))
                continue;
            array.next();
            target->setValue(k_nodeFrom, relation.from);
            target->setValue(k_relationType, int(relation.type));
            target->setValue(k_nodeTo, relation.to);
        }
        count = array.count();
    });
    logLine(Log::eProgress, "NodeDB saved: ", count, " nodes relations.");
}

} // namespace tq
