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
    }
    return stored;
}

} // namespace

NodeViews::NodeViews(NodeDB& database) : m_database(&database), m_root(new NodeView(QString()))
{
    connect(m_root.get(), &NodeView::contentsChanged, this, &NodeViews::changed);
    connect(&database, &NodeDB::nodeRemoved, this, &NodeViews::dropNode);
}

NodeViews::~NodeViews() = default;

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

int NodeViews::removeEverywhere(const QString& entryId)
{
    const QString id = entryId; // may be an entry's own
    int places = 0;
    const QPointer<NodeViews> alive(this);
    auto views = all();
    views.append(m_root);
    for (const tqm::smart<NodeView>& view : std::as_const(views)) {
        if (view->contains(id)) {
            view->remove(id);
            ++places;
        }
        if (!alive)
            break;
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
    for (const NodeView::Entry& entry : root->entries()) {
        if (root->contains(entry->id()))
            root->remove(entry->id());
    }
    restorer.appendTo(*root);
}

} // namespace tq
