// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "views/nodeviewmodel_p.h"

#include "platform/exceptions.h"
#include "platform/logline.h"

#include <QSet>

namespace tq {

namespace {

/** Returns whether a row that holds this one, at whatever distance, is dragged too. */
bool comesWithAnother(const QModelIndex& index, const QSet<const void*>& dragged)
{
    for (QModelIndex above = index.parent(); above.isValid(); above = above.parent()) {
        if (dragged.contains(above.internalPointer()))
            return true;
    }
    return false;
}

/** Returns whether what has the entry's id in `view` is the same: that very view, or a node too. */
bool standsIn(const NodeView& view, const NodeView::Entry& entry)
{
    if (!view.contains(entry->id()))
        return false;
    const tqm::smart<NodeView> there(view.find(entry->id()));
    return there == tqm::smart<NodeView>(entry);
}

/** Puts one entry before the one at `index`; returns where the next one goes. */
int drop(const DraggedEntry& dragged, NodeView& target, int index, Qt::DropAction action)
{
    const QString id = dragged.entry->id();
    if (target.contains(id) && dragged.from == &target) {
        const int from = target.indexOf(id);
        target.move(id, index);
        return from < index ? index : index + 1;
    }
    const bool isNew = target.insert(index, dragged.entry);
    if (action == Qt::MoveAction && dragged.isWhereItWas() && standsIn(target, dragged.entry))
        dragged.from->remove(id);
    return isNew ? index + 1 : index;
}

} // namespace

QList<DraggedEntry> NodeViewModelPrivate::droppable(
    const QList<DraggedEntry>& dragged, const NodeView& target, Qt::DropAction action)
{
    QList<DraggedEntry> result;
    for (const DraggedEntry& entry : dragged) {
        switch (target.fit(entry.entry)) {
        case NodeView::EFit::eFits:
            result.append(entry);
            break;
        case NodeView::EFit::eStandsHere: // moved within, or taken away where it was
            if (!standsIn(target, entry.entry))
                return {};
            if (action == Qt::MoveAction && entry.isWhereItWas())
                result.append(entry);
            break;
        case NodeView::EFit::eCycle:
        case NodeView::EFit::eTooDeep:
        case NodeView::EFit::eNothing:
            return {};
        }
    }
    return result;
}

Qt::DropActions NodeViewModel::supportedDropActions() const
{
    return Qt::MoveAction | Qt::CopyAction;
}

QStringList NodeViewModel::mimeTypes() const
{
    return ViewMimeData::types();
}

QMimeData* NodeViewModel::mimeData(const QModelIndexList& indexes) const
{
    QSet<const void*> dragged;
    for (const QModelIndex& index : indexes) {
        if (flags(index).testFlag(Qt::ItemIsDragEnabled))
            dragged.insert(index.internalPointer());
    }
    QList<DraggedEntry> entries;
    for (const QModelIndex& index : indexes) {
        if (dragged.contains(index.internalPointer()) && !comesWithAnother(index, dragged))
            entries.append({ d->itemAt(index).entry, viewAt(index.parent()).get() });
    }
    return entries.isEmpty() ? nullptr : new ViewMimeData(entries);
}

bool NodeViewModel::canDropMimeData(
    const QMimeData* data, Qt::DropAction action, int, int column, const QModelIndex& parent) const
{
    const tqm::smart<NodeView> target = viewAt(parent);
    if (!data || !(supportedDropActions() & action) || column > 0 || target.null())
        return false;
    const auto dragged = ViewMimeData::entries(*data, d->database, d->rootView);
    return !NodeViewModelPrivate::droppable(dragged, *target, action).isEmpty();
}

bool NodeViewModel::dropMimeData(
    const QMimeData* data, Qt::DropAction action, int row, int column, const QModelIndex& parent)
{
    if (action == Qt::IgnoreAction)
        return true;
    if (!canDropMimeData(data, action, row, column, parent))
        return false;
    const tqm::smart<NodeView> target = viewAt(parent);
    const auto dragged = NodeViewModelPrivate::droppable(
        ViewMimeData::entries(*data, d->database, d->rootView), *target, action);
    int index = row < 0 ? target->count() : row;
    try {
        for (const DraggedEntry& entry : dragged)
            index = drop(entry, *target, index, action);
    } catch (const IllegalArgumentException& e) {
        // A slot changed the views between two entries.
        logLine(Log::eSurvived, "A drop ended early: ", e.message(), " ", e.value());
    }
    return true;
}

} // namespace tq
