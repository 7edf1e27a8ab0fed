// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "views/nodeview.h"

#include <QSet>

namespace tq {
class NodeViews;
} // namespace tq

namespace tq::cli {

class Output;

/** Remembers what stands in views, to tell later what of that stands in none any more. */
class ViewLoss
{
public:
    /** Remembers what stands in `views` now; they outlive this object. */
    explicit ViewLoss(const NodeViews& views);

    /** Leaves out a view that somebody asked to be removed: that is no loss. */
    void leaveOut(const NodeViewID& id) { m_before.views.remove(id); }

    /** Says what is lost, as lines, and as the members "viewsGone" and "nodesInNoView". */
    void tell(Output& output) const;

private:
    /** The ids of what stands in any view. */
    struct Standing
    {
        explicit Standing(const NodeViews& all);

        QSet<QString> views;
        QSet<QString> nodes;
    };

    const NodeViews& m_views;
    Standing m_before;
};

} // namespace tq::cli
