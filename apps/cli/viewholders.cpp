// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/viewholders.h"

#include "views/nodeviews.h"

#include <algorithm>

namespace tq::cli {

ViewHolders::ViewHolders(const NodeViews& views)
{
    auto all = views.all();
    all.prepend(views.root());
    for (const tqm::smart<NodeView>& view : std::as_const(all)) {
        const Holder holder{ viewId(views, *view), viewLabel(views, *view) };
        for (const NodeView::Entry& entry : view->entries())
            m_holders[entry->id()].append(holder);
    }
    for (QList<Holder>& holders : m_holders) {
        std::stable_sort(holders.begin(), holders.end(),
            [](const Holder& a, const Holder& b) { return a.label < b.label; });
    }
}

QStringList ViewHolders::said(const QString& entry, QString Holder::*what) const
{
    QStringList result;
    for (const Holder& holder : m_holders.value(entry))
        result.append(holder.*what);
    return result;
}

} // namespace tq::cli
