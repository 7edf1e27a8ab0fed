// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "views/viewwalk_p.h"

namespace tq {

QList<tqm::smart<NodeView>> viewsBelow(const NodeView& root)
{
    QList<tqm::smart<NodeView>> result;
    QSet<const NodeView*> seen;
    QList<tqm::smart<NodeView>> open; // the next one last
    const auto openAll = [&](const NodeView& view) {
        const auto views = view.views();
        for (auto it = views.crbegin(); it != views.crend(); ++it)
            open.append(*it);
    };
    openAll(root);
    while (!open.isEmpty()) {
        const tqm::smart<NodeView> view = open.takeLast();
        if (seen.contains(view.get()))
            continue;
        seen.insert(view.get());
        result.append(view);
        openAll(*view);
    }
    return result;
}

} // namespace tq
