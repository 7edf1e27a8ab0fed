// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "database/databasewriter_p.h"

#include "discovery/drivertable_p.h"
#include "nodestore/storedkeys.h"

#include <exception>

namespace tq {

using namespace stored;

void DatabaseWriter::writeNodes(const RegistryLock::Reading& guard, const NodeRegistry& registry)
{
    int count = 0;
    writeGroup(k_globalNodes, [&](IPersistDestination* target) {
        target->remove(k_nodes);
        PersistWriteArray array(target, k_nodes);
        for (const QString& id : registry.ids(guard))
            writeNode(*registry.find(guard, id), id, array);
        count = array.count();
    });
    logLine(Log::eProgress, "NodeDB saved: ", count, " nodes.");
}

void DatabaseWriter::writeNode(const Node& node, const QString& id, PersistWriteArray& array)
{
    using EWriter = INodeEntryTarget::EWriter;
    const EWriter writer = m_entries ? m_entries->writerOf(id) : EWriter::eNode;
    bool isWritten = writer == EWriter::eTarget;
    if (writer == EWriter::eNode)
        survives(node, id, [&] { isWritten = m_saveAll || node.shouldPersist(); });
    if (!isWritten)
        return;
    array.next();
    m_written.insert(id);
    if (writer == EWriter::eTarget)
        return m_entries->writeEntry(id);
    if (!survives(node, id, [&] { node.save(&m_confined); }))
        return;
    const QString why = m_confined.endEntry();
    if (!why.isEmpty())
        failed(node, id, why);
}

template <class Call>
bool DatabaseWriter::survives(const Node& node, const QString& id, Call call)
{
    const auto caught = [&](const QString& why) {
        failed(node, id, why);
        try {
            m_confined.endEntry();
        } catch (...) {
            // The first exception is the one that tells what went wrong.
        }
        if (!m_entries)
            throw; // what is being handled
        return false;
    };
    try {
        call();
        return true;
    } catch (const std::exception& e) {
        return caught(QString::fromUtf8(e.what()));
    } catch (...) {
        return caught(QStringLiteral("unknown exception"));
    }
}

void DatabaseWriter::failed(const Node& node, const QString& id, const QString& why)
{
    logLine(Log::eSurvived, "A node could not be written: ", id, ", driver ",
        m_drivers.driverName(node.type()), ": ", why);
    if (m_entries)
        m_entries->entryFailed(id);
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
            if (!m_written.contains(relation.from) || !m_written.contains(relation.to))
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
