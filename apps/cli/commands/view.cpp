// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/commands/commands.h"
#include "cli/invocation.h"
#include "cli/viewarguments.h"
#include "cli/viewtree.h"

#include "views/nodeviews.h"

#include "platform/exceptions.h"

#include <QCommandLineParser>
#include <QSet>

#include <algorithm>

namespace tq::cli {

namespace {

using View = tqm::smart<NodeView>;
using Entries = QList<NodeView::Entry>;

const QString k_in = QStringLiteral("in");
const QString k_to = QStringLiteral("to");
const QString k_at = QStringLiteral("at");

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

/** Returns "1 view", "2 views". */
QString counted(qsizetype count, const QString& what)
{
    return QStringLiteral("%1 %2%3").arg(count).arg(
        what, count == 1 ? QString() : QStringLiteral("s"));
}

/** Refuses options that mean nothing to the action. */
Outcome checkOptions(Invocation& call, const QString& action, const QStringList& wanted)
{
    for (const QString& option : { k_in, k_to, k_at }) {
        if (call.options().isSet(option) && !wanted.contains(option))
            return Outcome::usage(
                QStringLiteral("--%1 does not belong to this form of %2").arg(option, action));
    }
    return Outcome::done();
}

/** Opens the store and finds the view that the first argument means. */
Outcome openAndFind(Invocation& call, OpenMode mode, View& view)
{
    const Outcome outcome = call.open(mode);
    return outcome.isDone() ? findView(call.session().views(), call.arguments().value(0), view)
                            : outcome;
}

/** Finds what the arguments after the first one mean, each entry once. */
template <class Find>
Outcome findEntries(Invocation& call, Find find, Entries& entries)
{
    QSet<QString> ids;
    for (const QString& argument : call.arguments().mid(1)) {
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

Outcome findEntriesIn(Invocation& call, const NodeView& view, Entries& entries)
{
    const auto find = [&](const QString& argument, NodeView::Entry& entry) {
        return findEntryIn(call.session().views(), view, argument, entry);
    };
    return findEntries(call, find, entries);
}

/**
 * Puts entries into a view, where --at says or at its end. Those before the first one that is
 * refused are in it then, so that each is judged beside the others: a refused call saves nothing.
 */
Outcome insert(Invocation& call, NodeView& view, const Entries& entries)
{
    const NodeViews& views = call.session().views();
    Outcome outcome;
    int index = view.count();
    if (call.options().isSet(k_at)) {
        const auto place = call.number(k_at, 1, view.count() + 1, outcome);
        if (!place)
            return outcome;
        index = *place - 1;
    }
    for (const NodeView::Entry& entry : entries) {
        QString reason = view.contains(entry->id()) ? text("it stands there already.")
                                                    : text("it would stand too deep.");
        try {
            if (view.insert(index++, entry))
                continue;
        } catch (const IllegalArgumentException& e) {
            reason = e.message();
        }
        return Outcome::refused(
            QStringLiteral("%1 does not go into %2: %3")
                .arg(quoted(entryLabel(views, entry)), quoted(viewLabel(views, view)), reason));
    }
    return outcome;
}

QJsonObject rowOf(const NodeViews& views, const NodeView& view)
{
    QList<NodeView*> containers = view.containers();
    std::sort(containers.begin(), containers.end(),
        [&](const auto* a, const auto* b) { return viewLabel(views, *a) < viewLabel(views, *b); });
    QJsonArray ids;
    QJsonArray names;
    for (const NodeView* const container : std::as_const(containers)) {
        ids.append(viewId(views, *container));
        names.append(viewLabel(views, *container));
    }
    const int inner = int(view.views().size());
    return { { text("ID"), view.id() }, { text("Name"), view.name() }, { text("Views"), inner },
        { text("Nodes"), view.count() - inner }, { text("In"), ids }, { text("InNames"), names } };
}

void printRows(Invocation& call, const QList<View>& rows)
{
    QList<QJsonObject> items;
    for (const View& view : rows)
        items.append(rowOf(call.session().views(), *view));
    call.output().addItems(items,
        { { text("ID"), text("ID") }, { text("NAME"), text("Name") },
            { text("VIEWS"), text("Views") }, { text("NODES"), text("Nodes") },
            { text("IN"), text("InNames") } });
}

Outcome list(Invocation& call)
{
    Outcome outcome = checkOptions(call, text("list"), {});
    if (outcome.isDone())
        outcome = call.open(OpenMode::ReadOnly);
    if (outcome.isDone())
        printRows(call, call.session().views().all());
    return outcome;
}

Outcome show(Invocation& call)
{
    Outcome outcome = checkOptions(call, text("show"), {});
    if (outcome.isDone())
        outcome = call.open(OpenMode::ReadOnly);
    View view;
    if (outcome.isDone())
        outcome = findView(call.session().views(), call.arguments().value(0, k_top), view);
    if (outcome.isDone())
        printViewTree(call, *view);
    return outcome;
}

/** Adds a new view with the name that is the only argument. */
Outcome addNew(Invocation& call)
{
    const QString name = call.arguments().first();
    Outcome outcome = checkOptions(call, text("add"), { k_in, k_at });
    if (outcome.isDone())
        outcome = call.open(OpenMode::ReadWrite);
    if (!outcome.isDone())
        return outcome;
    const NodeViews& views = call.session().views();
    outcome = checkViewName(views, call.database(), name, NodeViewID());
    View in = views.root();
    if (outcome.isDone() && call.options().isSet(k_in))
        outcome = findView(views, call.options().value(k_in), in);
    const View view(new NodeView(name));
    if (outcome.isDone())
        outcome = insert(call, *in, { view });
    if (outcome.isDone())
        outcome = call.save();
    if (outcome.isDone())
        printRows(call, { view });
    return outcome;
}

/** Puts what the arguments after the first one mean into the view that that one means. */
Outcome addEntries(Invocation& call)
{
    View view;
    Entries entries;
    Outcome outcome = checkOptions(call, text("add"), { k_at });
    if (outcome.isDone())
        outcome = openAndFind(call, OpenMode::ReadWrite, view);
    const auto find = [&](const QString& argument, NodeView::Entry& entry) {
        return findEntry(call.session().views(), call.database(), argument, entry);
    };
    if (outcome.isDone())
        outcome = findEntries(call, find, entries);
    if (outcome.isDone())
        outcome = insert(call, *view, entries);
    if (outcome.isDone())
        outcome = call.save();
    if (outcome.isDone())
        printViewTree(call, *view);
    return outcome;
}

Outcome add(Invocation& call)
{
    return call.arguments().size() == 1 ? addNew(call) : addEntries(call);
}

/** The ids of what stands in any view. */
struct Standing
{
    explicit Standing(const NodeViews& all)
    {
        auto holders = all.all();
        holders.append(all.root());
        for (const View& holder : std::as_const(holders)) {
            for (const NodeView::Entry& entry : holder->entries())
                (View(entry).null() ? nodes : views).insert(entry->id());
        }
    }

    QSet<QString> views;
    QSet<QString> nodes;
};

/** Saves, and says what of that which stood in views `before` stands in none now. */
Outcome saveAndTellLoss(
    Invocation& call, const QString& what, const Entries& removed, const Standing& before)
{
    const NodeViews& views = call.session().views();
    const Outcome outcome = call.save();
    if (!outcome.isDone())
        return outcome;
    Output& output = call.output();
    const Standing now(views);
    QStringList labels;
    for (const NodeView::Entry& entry : removed) {
        labels.append(quoted(entryLabel(views, entry)));
        output.addItem({ { text("ID"), entry->id() } });
    }
    output.print(what + text(": ") + labels.join(text(", ")));
    const qsizetype viewsGone = (before.views - now.views).size();
    const qsizetype nodesLeft = (before.nodes - now.nodes).size();
    output.setMember(text("viewsGone"), viewsGone);
    output.setMember(text("nodesInNoView"), nodesLeft);
    if (viewsGone > 0)
        output.print(text("gone, having stood nowhere else: ") + counted(viewsGone, text("view")));
    if (nodesLeft > 0)
        output.print(text("in no view any more: ") + counted(nodesLeft, text("node")));
    return outcome;
}

Outcome remove(Invocation& call)
{
    View view;
    Entries entries;
    Outcome outcome = checkOptions(call, text("remove"), {});
    if (outcome.isDone())
        outcome = openAndFind(call, OpenMode::ReadWrite, view);
    if (outcome.isDone())
        outcome = findEntriesIn(call, *view, entries);
    if (!outcome.isDone())
        return outcome;
    NodeViews& views = call.session().views();
    Standing before(views);
    if (call.arguments().size() > 1) {
        for (const NodeView::Entry& entry : std::as_const(entries))
            view->remove(entry->id());
        return saveAndTellLoss(
            call, text("taken out of ") + quoted(viewLabel(views, *view)), entries, before);
    }
    if (view == views.root())
        return Outcome::refused(text("the top stays; name what is to be taken out of it"));
    views.removeEverywhere(view->id());
    before.views.remove(view->id()); // no loss
    return saveAndTellLoss(call, text("removed"), { view }, before);
}

Outcome move(Invocation& call)
{
    View from;
    View to;
    Entries entries;
    Outcome outcome = checkOptions(call, text("move"), { k_to, k_at });
    if (!call.options().isSet(k_to) && !call.options().isSet(k_at))
        outcome = Outcome::usage(text("move wants --to, --at or both"));
    if (outcome.isDone())
        outcome = openAndFind(call, OpenMode::ReadWrite, from);
    if (outcome.isDone())
        outcome = findEntriesIn(call, *from, entries);
    if (outcome.isDone() && call.options().isSet(k_to))
        outcome = findView(call.session().views(), call.options().value(k_to), to);
    if (!outcome.isDone())
        return outcome;
    for (const NodeView::Entry& entry : std::as_const(entries))
        from->remove(entry->id());
    const View target = to.null() ? from : to;
    outcome = insert(call, *target, entries);
    if (outcome.isDone())
        outcome = call.save();
    if (outcome.isDone())
        printViewTree(call, *target);
    return outcome;
}

Outcome rename(Invocation& call)
{
    View view;
    const QString name = call.arguments()[1];
    Outcome outcome = checkOptions(call, text("rename"), {});
    if (outcome.isDone())
        outcome = openAndFind(call, OpenMode::ReadWrite, view);
    if (outcome.isDone() && view == call.session().views().root())
        outcome = Outcome::refused(text("the top has no name"));
    if (outcome.isDone())
        outcome = checkViewName(call.session().views(), call.database(), name, view->id());
    if (!outcome.isDone())
        return outcome;
    view->rename(name);
    outcome = call.save();
    if (outcome.isDone())
        printRows(call, { view });
    return outcome;
}

Outcome view(Invocation& call)
{
    constexpr int k_any = Command::k_anyNumber;
    return call.runAction({
        { text("list"), text("nothing"), {}, 0, 0, {}, list },
        { text("show"), text("[VIEW]"), {}, 0, 1, {}, show },
        { text("add"), text("NAME or VIEW ENTRY…"), {}, 1, k_any, {}, add },
        { text("remove"), text("VIEW or VIEW ENTRY…"), {}, 1, k_any, {}, remove },
        { text("move"), text("VIEW ENTRY…"), {}, 2, k_any, {}, move },
        { text("rename"), text("VIEW NAME"), {}, 2, 2, {}, rename },
    });
}

void addOptions(QCommandLineParser& parser)
{
    parser.addOptions({
        { k_in, text("Where a new view goes (add NAME); else it stands at the top."),
            text("VIEW") },
        { k_to, text("Where entries are moved to; else they stay in their view."), text("VIEW") },
        { k_at, text("The place, from 1, of the first entry; else it is the end."), text("N") },
    });
}

} // namespace

QList<Command> viewCommands()
{
    return { { text("view"),
        text("list | show [VIEW] | add NAME [--in VIEW] | add VIEW ENTRY… | remove VIEW [ENTRY…] | "
             "move VIEW ENTRY… [--to VIEW] | rename VIEW NAME"),
        text("Arrange nodes in views: a VIEW is an id, a name or / (the top), an ENTRY a node's id "
             "or a view."),
        1, Command::k_anyNumber, addOptions, view } };
}

} // namespace tq::cli
