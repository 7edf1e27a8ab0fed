// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/viewloss.h"

#include "cli/output.h"

#include "views/nodeviews.h"

namespace tq::cli {

namespace {

using View = tqm::smart<NodeView>;

/** Returns "1 view", "2 views". */
QString counted(qsizetype count, const QString& what)
{
    return QStringLiteral("%1 %2%3").arg(count).arg(
        what, count == 1 ? QString() : QStringLiteral("s"));
}

} // namespace

ViewLoss::Standing::Standing(const NodeViews& all)
{
    auto holders = all.all();
    holders.append(all.root());
    for (const View& holder : std::as_const(holders)) {
        for (const NodeView::Entry& entry : holder->entries())
            (View(entry).null() ? nodes : views).insert(entry->id());
    }
}

ViewLoss::ViewLoss(const NodeViews& views) : m_views(views), m_before(views) { }

void ViewLoss::tell(Output& output) const
{
    const Standing now(m_views);
    const qsizetype viewsGone = (m_before.views - now.views).size();
    const qsizetype nodesLeft = (m_before.nodes - now.nodes).size();
    output.setMember(QStringLiteral("viewsGone"), viewsGone);
    output.setMember(QStringLiteral("nodesInNoView"), nodesLeft);
    if (viewsGone > 0)
        output.print(QStringLiteral("gone, having stood nowhere else: ")
            + counted(viewsGone, QStringLiteral("view")));
    if (nodesLeft > 0)
        output.print(
            QStringLiteral("in no view any more: ") + counted(nodesLeft, QStringLiteral("node")));
}

} // namespace tq::cli
