// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/commands/commands.h"
#include "cli/invocation.h"
#include "cli/viewarguments.h"
#include "cli/viewloss.h"
#include "cli/viewtree.h"

#include "views/nodeviews.h"

#include "platform/exceptions.h"

#include <QCommandLineParser>

namespace tq::cli {

namespace {

using View = tqm::smart<NodeView>;
using Entries = QList<NodeView::Entry>;

const QString k_in = QStringLiteral("in");
const QString k_from = QStringLiteral("from");
const QString k_to = QStringLiteral("to");
const QString k_at = QStringLiteral("at");

/** Refuses options that mean nothing to the action. */
Outcome checkOptions(Invocation& call, const QString& action, const QStringList& wanted)
{
    for (const QString& option : { k_in, k_from, k_to, k_at }) {
        if (call.options().isSet(option) && !wanted.contains(option))
            return Outcome::usage(
                QStringLiteral("--%1 does not belong to this form of %2").arg(option, action));
    }
    return Outcome::done();
}

/** Opens the store for a change and finds the view that `text` means. */
Outcome openAndFind(Invocation& call, const QString& text, View& view)
{
    const Outcome outcome = call.open(OpenMode::ReadWrite);
    return outcome.isDone() ? findView(call.session().views(), text, view) : outcome;
}

/** Does so for the view that --from means, and finds what the arguments mean of what is in it. */
Outcome openAndFindFrom(Invocation& call, View& from, Entries& entries)
{
    const Outcome outcome = openAndFind(call, call.options().value(k_from), from);
    if (!outcome.isDone())
        return outcome;
    const auto find = [&](const QString& argument, NodeView::Entry& entry) {
        return findEntryIn(call.session().views(), *from, argument, entry);
    };
    return findEach(call.arguments(), find, entries);
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

Outcome list(Invocation& call)
{
    Outcome outcome = checkOptions(call, text("list"), {});
    if (outcome.isDone())
        outcome = call.open(OpenMode::ReadOnly);
    if (outcome.isDone())
        printViewRows(call, call.session().views().all());
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
    const QString name = call.arguments().first().trimmed();
    Outcome outcome = checkOptions(call, text("add"), { k_in, k_at });
    if (outcome.isDone())
        outcome = call.open(OpenMode::Create);
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
        printViewRows(call, { view });
    return outcome;
}

/** Puts what the arguments mean into the view that --to means. */
Outcome addEntries(Invocation& call)
{
    View to;
    Entries entries;
    Outcome outcome = checkOptions(call, text("add"), { k_to, k_at });
    if (outcome.isDone())
        outcome = openAndFind(call, call.options().value(k_to), to);
    const auto find = [&](const QString& argument, NodeView::Entry& entry) {
        return findEntry(call.session().views(), call.database(), argument, entry);
    };
    if (outcome.isDone())
        outcome = findEach(call.arguments(), find, entries);
    if (outcome.isDone())
        outcome = insert(call, *to, entries);
    if (outcome.isDone())
        outcome = call.save();
    if (outcome.isDone())
        printViewTree(call, *to);
    return outcome;
}

/** The option, not the number of arguments, tells the forms apart: a list of ids may be empty. */
Outcome add(Invocation& call)
{
    if (call.options().isSet(k_to))
        return addEntries(call);
    return call.arguments().size() == 1 ? addNew(call)
                                        : Outcome::usage(text("add wants --to, or one name only"));
}

/** Saves, and says what was removed and what is lost by that. */
Outcome saveRemoval(
    Invocation& call, const QString& what, const Entries& removed, const ViewLoss& loss)
{
    const Outcome outcome = call.save();
    if (!outcome.isDone())
        return outcome;
    QStringList labels;
    for (const NodeView::Entry& entry : removed) {
        labels.append(quoted(entryLabel(call.session().views(), entry)));
        call.output().addItem({ { text("ID"), entry->id() } });
    }
    call.output().print(what + text(": ") + labels.join(text(", ")));
    loss.tell(call.output());
    return outcome;
}

/** Removes the views that the arguments mean from wherever they stand. */
Outcome removeViews(Invocation& call)
{
    Entries entries;
    Outcome outcome = checkOptions(call, text("remove"), {});
    if (outcome.isDone())
        outcome = call.open(OpenMode::ReadWrite);
    if (!outcome.isDone())
        return outcome;
    NodeViews& views = call.session().views();
    const auto find = [&](const QString& argument, NodeView::Entry& entry) {
        View view;
        const Outcome found = findView(views, argument, view);
        entry = view;
        return found.isDone() && view == views.root()
            ? Outcome::refused(text("the top stays; name what is to be taken out of it"))
            : found;
    };
    outcome = findEach(call.arguments(), find, entries);
    if (!outcome.isDone())
        return outcome;
    ViewLoss loss(views);
    for (const NodeView::Entry& entry : std::as_const(entries)) {
        views.removeEverywhere(entry->id());
        loss.leaveOut(entry->id());
    }
    return saveRemoval(call, text("removed"), entries, loss);
}

/** Takes what the arguments mean out of the view that --from means. */
Outcome removeEntries(Invocation& call)
{
    View from;
    Entries entries;
    Outcome outcome = checkOptions(call, text("remove"), { k_from });
    if (outcome.isDone())
        outcome = openAndFindFrom(call, from, entries);
    if (!outcome.isDone())
        return outcome;
    const NodeViews& views = call.session().views();
    const ViewLoss loss(views);
    for (const NodeView::Entry& entry : std::as_const(entries))
        from->remove(entry->id());
    return saveRemoval(
        call, text("taken out of ") + quoted(viewLabel(views, *from)), entries, loss);
}

Outcome remove(Invocation& call)
{
    return call.options().isSet(k_from) ? removeEntries(call) : removeViews(call);
}

Outcome move(Invocation& call)
{
    View from;
    View to;
    Entries entries;
    Outcome outcome = checkOptions(call, text("move"), { k_from, k_to, k_at });
    if (outcome.isDone() && !call.options().isSet(k_from))
        outcome = Outcome::usage(text("move wants --from"));
    if (outcome.isDone() && !call.options().isSet(k_to) && !call.options().isSet(k_at))
        outcome = Outcome::usage(text("move wants --to, --at or both"));
    if (outcome.isDone())
        outcome = openAndFindFrom(call, from, entries);
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
    const QString name = call.arguments()[1].trimmed();
    Outcome outcome = checkOptions(call, text("rename"), {});
    if (outcome.isDone())
        outcome = openAndFind(call, call.arguments().first(), view);
    if (outcome.isDone() && view == call.session().views().root())
        outcome = Outcome::refused(text("the top has no name"));
    if (outcome.isDone())
        outcome = checkViewName(call.session().views(), call.database(), name, view->id());
    if (!outcome.isDone())
        return outcome;
    view->rename(name);
    outcome = call.save();
    if (outcome.isDone())
        printViewRows(call, { view });
    return outcome;
}

Outcome view(Invocation& call)
{
    constexpr int k_any = Command::k_anyNumber;
    return call.runAction({
        { text("list"), text("nothing"), {}, 0, 0, {}, list },
        { text("show"), text("[VIEW]"), {}, 0, 1, {}, show },
        { text("add"), text("NAME, or ENTRY… --to VIEW"), {}, 1, k_any, {}, add },
        { text("remove"), text("VIEW…, or ENTRY… --from VIEW"), {}, 1, k_any, {}, remove },
        { text("move"), text("ENTRY… --from VIEW"), {}, 1, k_any, {}, move },
        { text("rename"), text("VIEW NAME"), {}, 2, 2, {}, rename },
    });
}

void addOptions(QCommandLineParser& parser)
{
    parser.addOptions({
        { k_in, text("Where a new view goes; else it stands at the top."), text("VIEW") },
        { k_to, text("Where entries go; else what is moved stays in its view."), text("VIEW") },
        { k_from, text("What entries are taken out of: an id, a name or / (the top)."),
            text("VIEW") },
        { k_at, text("The place, from 1, of the first entry; else it is the end."), text("N") },
    });
}

} // namespace

QList<Command> viewCommands()
{
    return { { text("view"),
        text("list | show [VIEW] | add NAME [--in VIEW] [--at N] | add ENTRY… --to VIEW [--at N] | "
             "remove VIEW… | remove ENTRY… --from VIEW | "
             "move ENTRY… --from VIEW [--to VIEW] [--at N] | rename VIEW NAME"),
        text("Arrange nodes, and views themselves, in views."), 1, Command::k_anyNumber, addOptions,
        view } };
}

} // namespace tq::cli
