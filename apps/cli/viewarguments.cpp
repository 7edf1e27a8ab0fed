// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/viewarguments.h"

#include "cli/inputrules.h"
#include "cli/output.h"

#include "nodestore/node.h"
#include "nodestore/nodedb.h"
#include "views/nodeentry.h"
#include "views/nodeviews.h"

#include <QSet>

namespace tq::cli {

namespace {

using View = tqm::smart<NodeView>;

/** Finds one of `views` by id or else by name; null when there is none. */
Outcome pick(const QList<View>& views, const QString& text, View& found)
{
    int count = 0;
    for (const View& view : views) {
        if (view->id() == text) {
            found = view;
            return Outcome::done();
        }
        if (view->name() == text && !text.trimmed().isEmpty()) {
            found = view;
            ++count;
        }
    }
    return count <= 1
        ? Outcome::done()
        : Outcome::refused(
            QStringLiteral("several views are called %1: use the id").arg(quoted(text)));
}

bool isRoot(const NodeViews& views, const NodeView& view)
{
    return views.root().get() == &view;
}

} // namespace

QString viewId(const NodeViews& views, const NodeView& view)
{
    return isRoot(views, view) ? k_top : view.id();
}

QString viewLabel(const NodeViews& views, const NodeView& view)
{
    return isRoot(views, view) || view.name().trimmed().isEmpty() ? viewId(views, view)
                                                                  : view.name();
}

QString entryLabel(const NodeViews& views, const NodeView::Entry& entry)
{
    const View view(entry);
    return view.null() ? entry->id() : viewLabel(views, *view);
}

Outcome findView(const NodeViews& views, const QString& text, View& view)
{
    view.reset();
    if (text == k_top) {
        view = views.root();
        return Outcome::done();
    }
    const Outcome outcome = pick(views.all(), text, view);
    if (outcome.isDone() && view.null())
        return Outcome::refused(QStringLiteral("there is no view %1").arg(quoted(text)));
    return outcome;
}

Outcome findEntry(
    const NodeViews& views, const NodeDB& database, const QString& text, NodeView::Entry& entry)
{
    if (!database.node(text).null()) {
        entry = NodeView::Entry(new NodeEntry(text));
        return Outcome::done();
    }
    View view;
    const Outcome outcome = text == k_top ? findView(views, text, view) //
                                          : pick(views.all(), text, view);
    if (outcome.isDone() && view.null())
        return Outcome::refused(
            QStringLiteral("there is neither a node nor a view %1").arg(quoted(text)));
    entry = view;
    return outcome;
}

Outcome findEntryIn(
    const NodeViews& views, const NodeView& view, const QString& text, NodeView::Entry& entry)
{
    if (view.contains(text)) {
        entry = view.find(text);
        return Outcome::done();
    }
    View found;
    const Outcome outcome = pick(view.views(), text, found);
    if (outcome.isDone() && found.null())
        return Outcome::refused(QStringLiteral("%1 does not stand in %2")
                                    .arg(quoted(text), quoted(viewLabel(views, view))));
    entry = found;
    return outcome;
}

Outcome findEach(const QStringList& arguments,
    const std::function<Outcome(const QString& text, NodeView::Entry& entry)>& find,
    QList<NodeView::Entry>& entries)
{
    QSet<QString> ids;
    for (const QString& argument : arguments) {
        NodeView::Entry entry;
        const Outcome outcome = find(argument, entry);
        if (!outcome.isDone())
            return outcome;
        if (!ids.contains(entry->id()))
            entries.append(entry);
        ids.insert(entry->id());
    }
    return Outcome::done();
}

Outcome checkViewName(
    const NodeViews& views, const NodeDB& database, const QString& name, const NodeViewID& ownId)
{
    const QString what = QStringLiteral("view");
    const QString error = name == k_top ? nameRefusal(what, name) : nameError(what, name);
    if (!error.isEmpty())
        return Outcome::refused(error);
    if (!database.node(name).null())
        return Outcome::refused(QStringLiteral("a node has the id %1").arg(quoted(name)));
    for (const View& view : views.all()) {
        if ((view->name() == name || view->id() == name) && view->id() != ownId)
            return Outcome::refused(QStringLiteral("there is a view %1 already").arg(quoted(name)));
    }
    return Outcome::done();
}

} // namespace tq::cli
