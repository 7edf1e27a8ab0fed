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

void writeEntries(IPersistDestination* target, const NodeView& view)
{
    PersistWriteArray array(target, k_entries);
    for (const NodeView::Entry& entry : view.entries()) {
        array.next();
        const bool isView = !tqm::smart<NodeView>(entry).null();
        target->setValue(isView ? k_viewId : k_nodeId, entry->id());
    }
}

void readEntries(IPersistDestination* source, QList<StoredEntry>& entries)
{
    readPersistedArray(source, k_entries, [&](int index) {
        const QString view = source->value(k_viewId, QVariant()).toString();
        const QString node = source->value(k_nodeId, QVariant()).toString();
        const bool isThere = !view.isEmpty() || !node.isEmpty();
        if (isThere)
            entries.append({ view.isEmpty() ? node : view, !view.isEmpty() });
        else
            logLine(Log::eSurvived, "A stored entry of a view has no id and is left out: ", index);
        if (!view.isEmpty() && !node.isEmpty())
            logLine(Log::eSurvived,
                "A stored entry of a view is taken as the view, not the node: ", view, ", ", node);
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
    readEntries(source, stored.top);
    readPersistedArray(source, k_views, [&](int index) {
        const QString id = source->value(k_id, QVariant()).toString();
        const QString name = source->value(k_name, QVariant()).toString();
        stored.views.append({ id, name, {} });
        QList<StoredEntry>& entries = stored.views.last().entries;
        readEntries(source, entries);
        const bool isThere = !id.isEmpty() || !name.isEmpty() || !entries.isEmpty();
        if (!isThere) {
            stored.views.removeLast();
            logLine(Log::eSurvived, "A stored view has no id and no name and is left out: ", index);
        }
        return isThere;
    });
}

} // namespace tq
