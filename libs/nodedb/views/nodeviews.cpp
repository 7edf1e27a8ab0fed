// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "views/nodeviews.h"

#include "nodestore/node.h"
#include "nodestore/nodedb.h"
#include "views/nodeview.h"
#include "views/storedviews_p.h"
#include "views/viewrestorer_p.h"
#include "views/viewwalk_p.h"

#include "platform/persistscope.h"

#include <algorithm>
#include <utility>

namespace tq {

namespace {

const QString k_nodeViews = QStringLiteral("NodeViews");

StoredViews readStored(IPersistDestination* source)
{
    StoredViews stored;
    try {
        const PersistGroup group(source, k_nodeViews);
        readViews(source, stored);
    } catch (const std::exception& e) {
        logLine(Log::eSurvived, "The views could not be read whole: ", QString::fromUtf8(e.what()));
    } catch (...) {
        logLine(Log::eSurvived, "The views could not be read whole: unknown exception");
    }
    return stored;
}

} // namespace

NodeViews::NodeViews(NodeDB& database) : m_database(&database), m_root(new NodeView(QString()))
{
    connect(m_root.get(), &NodeView::contentsChanged, this, &NodeViews::followContents);
    connect(&database, &NodeDB::nodeRemoved, this, &NodeViews::dropNode);
}

NodeViews::~NodeViews() = default;

void NodeViews::followContents()
{
    ++m_changes;
    m_holders.reset();
    const QString before = std::exchange(m_rootName, m_root->name());
    if (m_loads == 0 && before == m_rootName)
        emit changed();
}

tqm::smart<NodeView> NodeViews::root() const
{
    return m_root;
}

QList<tqm::smart<NodeView>> NodeViews::all() const
{
    return viewsBelow(*m_root);
}

tqm::smart<NodeView> NodeViews::view(const NodeViewID& id) const
{
    const auto views = all();
    const auto found = std::find_if(
        views.cbegin(), views.cend(), [&](const auto& view) { return view->id() == id; });
    return found == views.cend() ? nullptr : *found;
}

bool NodeViews::holds(const QString& id) const
{
    return holders().contains(id);
}

const NodeViews::Holders& NodeViews::holders() const
{
    if (!m_holders) {
        m_holders.emplace();
        auto views = all();
        views.append(m_root);
        for (const tqm::smart<NodeView>& view : std::as_const(views)) {
            for (const NodeView::Entry& entry : view->entries())
                m_holders->insert(entry->id(), view.get());
        }
    }
    return *m_holders;
}

int NodeViews::removeEverywhere(const QString& entryId)
{
    const QString id = entryId; // may be an entry's own
    QList<QPointer<NodeView>> views;
    for (NodeView* const view : holders().values(id))
        views.append(view);
    if (views.isEmpty())
        return 0;
    Holders known = *std::exchange(m_holders, std::nullopt);
    const bool isView = !tqm::smart<NodeView>(views.first()->find(id)).null();
    const QPointer<NodeViews> alive(this);
    const int before = m_changes;
    int places = 0;
    for (const QPointer<NodeView>& view : std::as_const(views)) {
        if (!alive || !view || !view->contains(id))
            continue;
        view->remove(id);
        ++places;
    }
    // Thousands of nodes may be removed in a row: what is known stays so, if this was all.
    if (alive && !isView && m_changes - before == places) {
        known.remove(id);
        m_holders = std::move(known);
    }
    return places;
}

void NodeViews::dropNode(const NodeID& id)
{
    // The signal may have been queued, and the node be back.
    if (m_database && m_database->node(id).null())
        removeEverywhere(id);
}

void NodeViews::save(IPersistDestination* target) const
{
    target->remove(k_nodeViews);
    const PersistGroup group(target, k_nodeViews);
    writeViews(target, *m_root);
}

void NodeViews::load(IPersistDestination* source)
{
    ViewRestorer restorer(readStored(source));
    const tqm::smart<NodeView> root = m_root;
    const QPointer<NodeViews> alive(this);
    ++m_loads;
    for (const NodeView::Entry& entry : root->entries()) {
        if (root->contains(entry->id()))
            root->remove(entry->id());
    }
    restorer.appendTo(*root);
    if (alive && --m_loads == 0)
        emit changed();
}

} // namespace tq
