// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "views/storedviews_p.h"

#include "views/nodeview.h"
#include "views/viewwalk_p.h"

#include "platform/persistscope.h"

namespace tq {

namespace {

const QString k_entries = QStringLiteral("Entries");
const QString k_views = QStringLiteral("Views");
const QString k_id = QStringLiteral("ID");
const QString k_name = QStringLiteral("Name");
const QString k_viewId = QStringLiteral("ViewID");
const QString k_nodeId = QStringLiteral("NodeID");
const QString k_top = QStringLiteral("the top"); // in log lines

void writeEntries(IPersistDestination* target, const NodeView& view)
{
    PersistWriteArray array(target, k_entries);
    for (const NodeView::Entry& entry : view.entries()) {
        array.next();
        const bool isView = !tqm::smart<NodeView>(entry).null();
        target->setValue(isView ? k_viewId : k_nodeId, entry->id());
    }
}

/** Reads an array; one line tells how many entries said nothing. */
template <class ReadEntry>
void readArray(
    IPersistDestination* source, const QString& name, const QString& owner, ReadEntry readEntry)
{
    int lost = 0;
    const int count = readPersistedArray(source, name, [&](int) {
        const bool isThere = readEntry();
        lost += isThere ? 0 : 1;
        return isThere;
    });
    // What stands at the end of a damaged array has its line already.
    if (lost > 0 && count > 0)
        logLine(Log::eSurvived, "Stored entries that say nothing are left out: ", lost, " of ",
            name, " in ", owner);
}

void readEntries(IPersistDestination* source, const QString& view, QList<StoredEntry>& entries)
{
    readArray(source, k_entries, view, [&] {
        const QString viewId = source->value(k_viewId, QVariant()).toString();
        const QString nodeId = source->value(k_nodeId, QVariant()).toString();
        const bool isView = !viewId.isEmpty();
        const bool isThere = isView || !nodeId.isEmpty();
        if (isThere)
            entries.append({ isView ? viewId : nodeId, isView });
        if (isView && !nodeId.isEmpty())
            logLine(Log::eSurvived,
                "A stored entry of a view is taken as the view, not the node: ", viewId, ", ",
                nodeId);
        return isThere;
    });
}

} // namespace

void writeViews(IPersistDestination* target, const NodeView& root)
{
    writeEntries(target, root);
    PersistWriteArray array(target, k_views);
    for (const tqm::smart<NodeView>& view : viewsBelow(root)) {
        array.next();
        target->setValue(k_id, view->id());
        target->setValue(k_name, view->name());
        writeEntries(target, *view);
    }
}

void readViews(IPersistDestination* source, StoredViews& stored)
{
    readEntries(source, k_top, stored.top);
    readArray(source, k_views, k_top, [&] {
        const QString id = source->value(k_id, QVariant()).toString();
        const QString name = source->value(k_name, QVariant()).toString();
        stored.views.append({ id, name, {} });
        QList<StoredEntry>& entries = stored.views.last().entries;
        readEntries(source, id, entries);
        const bool isThere = !id.isEmpty() || !name.isEmpty() || !entries.isEmpty();
        if (!isThere)
            stored.views.removeLast();
        return isThere;
    });
}

} // namespace tq
