// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "session/keptentries.h"

#include "nodestore/node.h"
#include "nodestore/nodedb.h"
#include "nodestore/storedkeys.h"

#include "persistence/istore.h"
#include "platform/logline.h"
#include "platform/persistscope.h"
#include "session/pluginanswer.h"

#include <QSet>

#include <algorithm>

namespace tq {

using namespace stored;

namespace {

QSet<int> typesWithDriver(const NodeDB& database)
{
    QSet<int> result;
    for (const auto& [type, name] : database.readableNodeTypeNames())
        result.insert(type);
    return result;
}

/** Returns whether a stored value says yes or no; stores without types give texts. */
bool isDecided(const QVariant& value)
{
    static const QStringList k_words{ QStringLiteral("true"), QStringLiteral("false"),
        QStringLiteral("1"), QStringLiteral("0") };
    return value.metaType() == QMetaType::fromType<bool>()
        || k_words.contains(value.toString(), Qt::CaseInsensitive);
}

/** Returns whether the database holds the node, and a save would pass it over. */
bool isTakenForNo(const tqm::smart<const Node>& node)
{
    return !node.null() && !pluginAnswer(false, [&] { return node->shouldPersist(); });
}

/** Reads an array as the database does. Returns whether nothing but a few entries is missing. */
template <class Read>
bool readEntries(IStore& store, const QString& group, const QString& array, Read read)
{
    constexpr int k_tooManyAbsent = 1000;
    int absent = 0;
    int count = 0;
    {
        const PersistGroup scope(&store, group);
        count = readPersistedArray(&store, array, [&](int i) {
            const bool isThere = read(i);
            absent += isThere ? 0 : 1;
            return isThere;
        });
    }
    // Without entries there is nothing at all, or what is there is no array any more.
    const bool isArray = count > 0 || store.tree({ { group, -1 } }).isEmpty();
    if (isArray && absent < k_tooManyAbsent)
        return true;
    const char* const fault = isArray ? " lacks too many entries" : " is no array";
    logLine(Log::eSurvived, "Damaged: in the group ", group, ", ", array, fault);
    return false;
}

/** Calls `write(i)` for `count` new entries after those that the array has. */
template <class Write>
void appendEntries(
    IStore& store, const QString& group, const QString& array, qsizetype count, Write write)
{
    if (count == 0)
        return;
    const PersistGroup scope(&store, group);
    const int first = store.beginReadArray(array);
    store.endArray();
    store.beginWriteArray(array);
    for (qsizetype i = 0; i < count; ++i) {
        store.setArrayIndex(first + int(i));
        write(i);
    }
    store.endArray();
}

} // namespace

bool KeptEntries::collect(IStore& store, const NodeDB& database)
{
    m_nodes.clear();
    m_ids.clear();
    m_relations.clear();
    const QSet<int> known = typesWithDriver(database);
    QList<int> indexes;
    const bool isWhole = readEntries(store, k_globalNodes, k_nodes, [&](int i) {
        const QVariant id = store.value(k_nodeId);
        const QVariant type = store.value(k_nodeType);
        const bool isThere = id.isValid() || type.isValid();
        const auto node = database.node(id.toString());
        const bool isLost =
            !known.contains(type.toInt()) || (!id.toString().isEmpty() && node.null());
        const bool isUndecided =
            !isLost && isTakenForNo(node) && !isDecided(store.value(k_shouldPersist));
        if (isThere && (isLost || isUndecided)) {
            indexes.append(i);
            add({ id.toString(), {}, isUndecided });
        }
        return isThere;
    });
    for (qsizetype i = 0; i < indexes.size(); ++i)
        m_nodes[i].entry = store.tree({ { k_globalNodes, -1 }, { k_nodes, indexes[i] } });
    return collectRelations(store) && isWhole;
}

bool KeptEntries::collectRelations(IStore& store)
{
    return readEntries(store, k_nodeRelations, k_relations, [&](int) {
        const QVariant from = store.value(k_nodeFrom);
        const QVariant to = store.value(k_nodeTo);
        if (m_ids.contains(from.toString()) || m_ids.contains(to.toString())) {
            m_relations.append(
                { from.toString(), to.toString(), store.value(k_relationType).toInt() });
        }
        return from.isValid() || to.isValid();
    });
}

void KeptEntries::add(const KeptNode& node)
{
    m_nodes.append(node);
    m_ids.insert(node.id);
}

bool KeptEntries::isNeeded(const KeptNode& node, const NodeDB& database)
{
    const auto loaded = database.node(node.id);
    return node.isUndecided ? isTakenForNo(loaded) : loaded.null();
}

qsizetype KeptEntries::lostCount() const
{
    return std::count_if(
        m_nodes.begin(), m_nodes.end(), [](const KeptNode& node) { return !node.isUndecided; });
}

QStringList KeptEntries::undecided() const
{
    QStringList result;
    for (const KeptNode& node : m_nodes) {
        if (node.isUndecided)
            result.append(node.id);
    }
    result.removeDuplicates();
    return result;
}

KeptEntries KeptEntries::remaining(const NodeDB& database) const
{
    KeptEntries result;
    for (const KeptNode& node : m_nodes) {
        if (isNeeded(node, database))
            result.add(node);
    }
    for (const KeptRelation& relation : m_relations) {
        // The database drops a relation when the node at its other end is removed.
        const QStringList destinations =
            database.relatedNodes(relation.from, ENodeRelationType(relation.type));
        const bool isOurs =
            result.m_ids.contains(relation.from) || result.m_ids.contains(relation.to);
        if (isOurs && destinations.contains(relation.to))
            result.m_relations.append(relation);
    }
    return result;
}

void KeptEntries::append(IStore& store) const
{
    appendEntries(store, k_globalNodes, k_nodes, m_nodes.size(),
        [&](qsizetype i) { writeNode(store, m_nodes[i].entry); });
    appendEntries(store, k_nodeRelations, k_relations, m_relations.size(), [&](qsizetype i) {
        store.setValue(k_nodeFrom, m_relations[i].from);
        store.setValue(k_relationType, m_relations[i].type);
        store.setValue(k_nodeTo, m_relations[i].to);
    });
}

} // namespace tq
