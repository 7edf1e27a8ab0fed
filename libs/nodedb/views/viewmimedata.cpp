// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "views/viewmimedata_p.h"

#include "nodestore/node.h"
#include "nodestore/nodedb.h"
#include "views/nodeentry.h"
#include "views/viewwalk_p.h"

#include <algorithm>
#include <iterator>

namespace tq {

namespace {

const QString k_viewType = QStringLiteral("application/view-id");
const QString k_nodeType = QStringLiteral("application/source-id");

QByteArray lines(const QList<DraggedEntry>& entries, bool views)
{
    QStringList ids;
    for (const DraggedEntry& dragged : entries) {
        const QString id = dragged.entry->id();
        if (views != tqm::smart<NodeView>(dragged.entry).null() && !id.contains(QLatin1Char('\n')))
            ids.append(id);
    }
    return ids.join(QLatin1Char('\n')).toUtf8();
}

QStringList ids(const QMimeData& data, const QString& type)
{
    return QString::fromUtf8(data.data(type)).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

} // namespace

ViewMimeData::ViewMimeData(const QList<DraggedEntry>& entries) : m_entries(entries)
{
    for (const bool views : { true, false }) {
        const QByteArray text = lines(entries, views);
        if (!text.isEmpty())
            setData(views ? k_viewType : k_nodeType, text);
    }
}

QStringList ViewMimeData::types()
{
    return { k_viewType, k_nodeType };
}

QList<DraggedEntry> ViewMimeData::entries(
    const QMimeData& data, const NodeDB* database, const tqm::smart<NodeView>& root)
{
    const auto isKnown = [&](const QString& id) { return database && !database->node(id).null(); };
    QList<DraggedEntry> result;
    if (const auto* const own = qobject_cast<const ViewMimeData*>(&data)) {
        // A node that was removed since, or a view that was taken out, is dragged no more.
        std::copy_if(own->m_entries.cbegin(), own->m_entries.cend(), std::back_inserter(result),
            [&](const DraggedEntry& dragged) {
                return dragged.isWhereItWas() || isKnown(dragged.entry->id());
            });
        return result;
    }
    const QStringList viewIds = ids(data, k_viewType);
    if (!viewIds.isEmpty()) {
        for (const tqm::smart<NodeView>& view : viewsBelow(*root)) {
            if (viewIds.contains(view->id()))
                result.append({ view, nullptr });
        }
    }
    for (const QString& id : ids(data, k_nodeType)) {
        if (isKnown(id))
            result.append({ NodeView::Entry(new NodeEntry(id)), nullptr });
    }
    return result;
}

} // namespace tq
