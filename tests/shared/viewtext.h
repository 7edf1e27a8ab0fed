// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "views/nodeentry.h"
#include "views/nodeview.h"

namespace tst {

/** Returns an entry of a node. */
inline tq::NodeView::Entry entry(const QString& id)
{
    return tq::NodeView::Entry(new tq::NodeEntry(id));
}

/** Appends a new view to another one and returns it. */
inline tqm::smart<tq::NodeView> appended(tq::NodeView& to, const char* name)
{
    const tqm::smart<tq::NodeView> view(new tq::NodeView(QString::fromUtf8(name)));
    to.append(view);
    return view;
}

/** Returns the tree of a view as "name(node, name(…))": what stands where, in order. */
inline QString treeText(const tq::NodeView& view)
{
    QStringList parts;
    for (const auto& entry : view.entries()) {
        const tqm::smart<tq::NodeView> inner(entry);
        parts.append(inner.null() ? entry->id() : treeText(*inner));
    }
    return view.name() + QLatin1Char('(') + parts.join(QStringLiteral(", ")) + QLatin1Char(')');
}

} // namespace tst
