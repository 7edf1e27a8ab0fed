// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "database/databasereader_p.h"

#include "database/confinedtarget_p.h"
#include "database/relationstore_p.h"
#include "discovery/drivertable_p.h"
#include "nodestore/node.h"
#include "nodestore/storedkeys.h"

#include "platform/persistscope.h"
#include "platform/plugincall.h"

#include <memory>

namespace tq {

using namespace stored;

void DatabaseReader::readNodes()
{
    const PersistGroup group(m_source, k_globalNodes);
    readPersistedArray(m_source, k_nodes, [this](int index) { return readNode(index); });
}

bool DatabaseReader::readNode(int index)
{
    if (!m_db)
        return false;
    const QVariant type = m_source->value(k_nodeType, QVariant());
    std::unique_ptr<Node> node(m_db->createNodeFromType(ENodeType(type.toInt())));
    if (!node || !load(*node, ENodeType(type.toInt()), index))
        return type.isValid();
    const QString id = node->id();
    if (id.isEmpty()) {
        logLine(Log::eSurvived, "A stored node has no id and is left out, entry ", index);
        return type.isValid();
    }
    if (!m_db->node(id).null())
        logLine(Log::eSurvived, "A stored node has the id of another one: ", id);
    m_db->insertNode(node.release());
    ++m_nodeCount;
    return true;
}

bool DatabaseReader::load(Node& node, ENodeType type, int index)
{
    // What it leaves open or closes too much would shift all that is read after it.
    ConfinedTarget confined(m_source);
    const bool isLoaded = callPlugin("load", [&] { node.load(&confined); });
    const QString fault = confined.endEntry();
    if (!fault.isEmpty())
        logLine(Log::eSurvived, "A node did not read itself properly: entry ", index, ", driver ",
            m_drivers.driverName(type), ": ", fault);
    return isLoaded;
}

void DatabaseReader::readRelations()
{
    const PersistGroup group(m_source, k_nodeRelations);
    const auto relations =
        readPersistedEntries<NodeRelation>(m_source, k_relations, [this](NodeRelation& relation) {
            const QVariant from = m_source->value(k_nodeFrom, QVariant());
            const QVariant type = m_source->value(k_relationType, QVariant());
            const QVariant to = m_source->value(k_nodeTo, QVariant());
            relation = { from.toString(), ENodeRelationType(type.toInt()), to.toString() };
            return from.isValid() || type.isValid() || to.isValid();
        });
    for (const NodeRelation& relation : relations) {
        if (!m_db)
            return;
        m_db->addNodeRelation(relation.from, relation.to, relation.type);
        ++m_relationCount;
    }
}

} // namespace tq
