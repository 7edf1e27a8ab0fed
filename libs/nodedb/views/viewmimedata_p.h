// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "views/nodeview.h"

#include <QMimeData>
#include <QPointer>

namespace tq {

class NodeDB;

/** Something that is dragged: an entry, and the view it comes from. */
struct DraggedEntry
{
    NodeView::Entry entry;
    QPointer<NodeView> from; ///< null when not known: the drop can only copy

    /** Returns whether it still stands where it came from. */
    bool isWhereItWas() const { return from && from->contains(entry->id()); }
};

/** What a model of views puts into a drag: ids for everybody, entries for models of this process.
 */
class ViewMimeData : public QMimeData
{
    Q_OBJECT

public:
    explicit ViewMimeData(const QList<DraggedEntry>& entries);

    /** Returns the formats: of views, then of nodes. */
    static QStringList types();

    /** Returns what `data` brings; views by id only are looked for below `root`. */
    static QList<DraggedEntry> entries(
        const QMimeData& data, const NodeDB* database, const tqm::smart<NodeView>& root);

private:
    QList<DraggedEntry> m_entries;
};

} // namespace tq
