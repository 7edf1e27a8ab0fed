// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "cli/command.h"

#include "views/nodeview.h"

#include <QStringList>

#include <functional>

namespace tq {
class NodeDB;
class NodeViews;
} // namespace tq

namespace tq::cli {

/** Stands for the root on the command line and in output. */
inline const QString k_top = QStringLiteral("/");

/** Returns the view's id; "/" for the root. */
QString viewId(const NodeViews& views, const NodeView& view);

/** Returns what people call the view: its name, its id when that is blank, "/" for the root. */
QString viewLabel(const NodeViews& views, const NodeView& view);

/** Returns what people call an entry: a node is called by its id. */
QString entryLabel(const NodeViews& views, const NodeView::Entry& entry);

/** Finds the view that an argument means: "/", an id, or else a name that only one has.
 * A blank name means none. */
Outcome findView(const NodeViews& views, const QString& text, tqm::smart<NodeView>& view);

/** Finds what an argument means that may go into a view: a node that the database knows, by its id,
 * or a view. */
Outcome findEntry(
    const NodeViews& views, const NodeDB& database, const QString& text, NodeView::Entry& entry);

/** Finds what an argument means of that which stands in `view`: by id, or else a view by a name
 * that only one of those has. */
Outcome findEntryIn(
    const NodeViews& views, const NodeView& view, const QString& text, NodeView::Entry& entry);

/** Finds what each argument means, by one of the above; what several mean is in `entries` once. */
Outcome findEach(const QStringList& arguments,
    const std::function<Outcome(const QString& text, NodeView::Entry& entry)>& find,
    QList<NodeView::Entry>& entries);

/** Refuses names that could not be used as an argument later, or shown as it is; `name` is
 * trimmed. `ownId` may have it already. */
Outcome checkViewName(
    const NodeViews& views, const NodeDB& database, const QString& name, const NodeViewID& ownId);

} // namespace tq::cli
