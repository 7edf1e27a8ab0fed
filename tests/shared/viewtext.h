// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "views/nodeview.h"

namespace tst {

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
