// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/viewtree.h"

#include "cli/invocation.h"
#include "cli/nodesummary.h"
#include "cli/viewarguments.h"
#include "cli/viewholders.h"

#include "nodestore/node.h"
#include "nodestore/nodedb.h"
#include "views/nodeviews.h"

#include <QSet>

#include <vector>

namespace tq::cli {

namespace {

/** A view whose entries are being drawn. */
struct Level
{
    QList<NodeView::Entry> entries;
    QString id; ///< the view's
    QString indent;
    qsizetype next = 0;

    bool isDone() const { return next == entries.size(); }
};

QJsonObject itemOf(const NodeDB& database, const NodeView::Entry& entry)
{
    QJsonObject result{ { text("ID"), entry->id() } };
    if (const tqm::smart<NodeView> view(entry); !view.null()) {
        result[text("Kind")] = text("view");
        result[text("Name")] = view->name();
        return result;
    }
    const auto node = database.node(entry->id());
    result[text("Kind")] = text("node");
    result[text("Known")] = !node.null();
    if (!node.null()) {
        const QJsonObject summary = nodeSummary(database, *node);
        result[text("Name")] = summary[text("Name")];
        result[text("IP")] = summary[text("IP")];
    }
    return result;
}

/** Returns how an item is drawn, on a line without its branch. */
QString drawn(const QJsonObject& item)
{
    const QString name = item[text("Name")].toString();
    const QString label = name.trimmed().isEmpty() ? item[text("ID")].toString() : name;
    const QString address = item[text("IP")].toString();
    if (item[text("Known")] == QJsonValue(false))
        return label + text(" (not known)");
    return address.isEmpty() ? label : label + text("  ") + address;
}

/** Returns what is said behind a view that nothing is drawn below. */
QString remark(const NodeView& view)
{
    return view.count() == 0 ? text(" (empty)") : text(" … see above");
}

QJsonObject rowOf(const NodeView& view, const ViewHolders& holders)
{
    const int inner = int(view.views().size());
    return { { text("ID"), view.id() }, { text("Name"), view.name() }, { text("Views"), inner },
        { text("Nodes"), view.count() - inner },
        { text("In"), QJsonArray::fromStringList(holders.ids(view.id())) },
        { text("InNames"), QJsonArray::fromStringList(holders.labels(view.id())) } };
}

} // namespace

void printViewRows(Invocation& call, const QList<tqm::smart<NodeView>>& rows)
{
    const ViewHolders holders(call.session().views());
    QList<QJsonObject> items;
    for (const auto& view : rows)
        items.append(rowOf(*view, holders));
    call.output().addItems(items,
        { { text("ID"), text("ID") }, { text("NAME"), text("Name") },
            { text("VIEWS"), text("Views") }, { text("NODES"), text("Nodes") },
            { text("IN"), text("InNames") } });
}

void printViewTree(Invocation& call, const NodeView& view)
{
    const NodeViews& views = call.session().views();
    Output& output = call.output();
    output.print(viewLabel(views, view) + (view.count() == 0 ? remark(view) : QString()));
    QSet<QString> opened;
    std::vector<Level> open{ { view.entries(), viewId(views, view), QString() } };
    while (!open.empty()) {
        Level& level = open.back();
        if (level.isDone()) {
            open.pop_back();
            continue;
        }
        const NodeView::Entry entry = level.entries.at(level.next++);
        const tqm::smart<NodeView> inner(entry);
        const bool holdsSomething = !inner.null() && inner->count() > 0;
        const bool isOpened = holdsSomething && !opened.contains(inner->id());
        QJsonObject item = itemOf(call.database(), entry);
        item[text("Depth")] = int(open.size());
        item[text("Under")] = level.id;
        if (holdsSomething && !isOpened)
            item[text("Repeated")] = true;
        output.addItem(item);
        output.print(level.indent + (level.isDone() ? text("└─ ") : text("├─ ")) + drawn(item)
            + (isOpened || inner.null() ? QString() : remark(*inner)));
        if (isOpened) {
            opened.insert(inner->id());
            open.push_back({ inner->entries(), inner->id(),
                level.indent + (level.isDone() ? text("   ") : text("│  ")) });
        }
    }
}

} // namespace tq::cli
