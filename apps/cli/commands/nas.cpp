// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/commands/commands.h"
#include "cli/deviceread.h"
#include "cli/inputrules.h"
#include "cli/invocation.h"
#include "cli/passwordinput.h"

#include "devices/nasdevicenode.h"
#include "nodestore/nodedb.h"

#include <QCommandLineParser>

#include <algorithm>

namespace tq::cli {

namespace {

using Share = NASDeviceNode::Share;
using Rights = QList<NASDeviceNode::AccessControl>;

const QString k_volume = QStringLiteral("volume");
const QString k_path = QStringLiteral("path");
const QString k_noSave = QStringLiteral("no-save-password");
const QString k_add = QStringLiteral("add");
const QString k_remove = QStringLiteral("remove");

/** Returns the storage; null when no node of that kind has the id. */
tqm::smart<const NASDeviceNode> storage(Invocation& call, const QString& id)
{
    return call.database().node(id);
}

/** Opens the store and refuses a first argument that is no storage. */
Outcome openStorage(Invocation& call, OpenMode mode)
{
    const QString id = call.arguments().first();
    Outcome outcome = call.open(mode);
    if (outcome.isDone())
        outcome = call.requireNode(id);
    if (outcome.isDone() && storage(call, id).null())
        outcome =
            Outcome::refused(QStringLiteral("the node %1 is no network storage").arg(quoted(id)));
    return outcome;
}

QJsonArray usersWith(const Rights& rights, NASDeviceNode::EAccess access)
{
    QJsonArray result;
    for (const auto& each : rights) {
        if (each.access == access)
            result.append(each.user);
    }
    return result;
}

QJsonArray sharesOf(const NASDeviceNode& node, const QString& user, NASDeviceNode::EAccess access)
{
    QJsonArray result;
    for (const QString& share : node.shareNames()) {
        if (node.accessRights(share, user) == access)
            result.append(share);
    }
    return result;
}

void printUsers(Invocation& call, const NASDeviceNode& node)
{
    QList<QJsonObject> items;
    for (const QString& user : node.userNames())
        items.append(
            { { text("User"), user }, { text("SavePassword"), node.localUser(user).savePassword },
                { text("Full"), sharesOf(node, user, NASDeviceNode::eFullAccess) },
                { text("ReadOnly"), sharesOf(node, user, NASDeviceNode::eReadOnlyAccess) } });
    call.output().addItems(items,
        { { text("USER"), text("User") }, { text("SAVES PASSWORD"), text("SavePassword") },
            { text("FULL ACCESS"), text("Full") }, { text("READ ONLY"), text("ReadOnly") } });
}

void printShares(Invocation& call, const NASDeviceNode& node)
{
    QList<QJsonObject> items;
    for (const Share& share : node.shares())
        items.append({ { text("Share"), share.shareName }, { text("Volume"), share.volume },
            { text("Path"), share.path },
            { text("Full"), usersWith(share.acl, NASDeviceNode::eFullAccess) },
            { text("ReadOnly"), usersWith(share.acl, NASDeviceNode::eReadOnlyAccess) } });
    call.output().addItems(items,
        { { text("SHARE"), text("Share") }, { text("VOLUME"), text("Volume") },
            { text("PATH"), text("Path") }, { text("FULL ACCESS"), text("Full") },
            { text("READ ONLY"), text("ReadOnly") } });
}

using Print = void (*)(Invocation&, const NASDeviceNode&);

/** Changes the storage inside of one bracket, saves, and prints what is there then. */
template <class Change>
Outcome change(Invocation& call, Print print, Change change)
{
    const QString id = call.arguments().first();
    Outcome outcome = call.edit(id, [&](Node& copy) {
        auto* const node = dynamic_cast<NASDeviceNode*>(&copy);
        if (!node)
            return Outcome::refused(QStringLiteral("the node %1 cannot be edited").arg(quoted(id)));
        change(*node);
        return Outcome::done();
    });
    if (outcome.isDone())
        outcome = call.save();
    if (outcome.isDone())
        print(call, *storage(call, id));
    return outcome;
}

Outcome requireShare(const NASDeviceNode& node, const QString& share)
{
    return node.existsShare(share)
        ? Outcome::done()
        : Outcome::refused(
            QStringLiteral("%1 has no share %2").arg(quoted(node.id()), quoted(share)));
}

Outcome requireUser(const NASDeviceNode& node, const QString& user)
{
    return node.existsLocalUser(user)
        ? Outcome::done()
        : Outcome::refused(
            QStringLiteral("%1 has no local user %2").arg(quoted(node.id()), quoted(user)));
}

Outcome requireNew(const NASDeviceNode& node, const QString& what, const QString& name, bool exists)
{
    if (const QString error = nameError(what, name); !error.isEmpty())
        return Outcome::refused(error);
    return exists ? Outcome::refused(
               QStringLiteral("%1 has a %2 %3 already").arg(quoted(node.id()), what, quoted(name)))
                  : Outcome::done();
}

/** Takes everybody's entry for `user` out of the lists of rights. */
void dropRights(NASDeviceNode& node, const QString& user, const QStringList& shares)
{
    for (const QString& share : shares) {
        Rights rights = node.share(share).acl;
        if (rights.removeIf([&](const auto& each) { return each.user == user; }) > 0)
            node.setAccessRights(share, rights);
    }
}

Outcome readNewPassword(const Invocation& call, const QString& user, QString& password)
{
    const QCommandLineParser& options = call.options();
    if (options.isSet(k_noSave)) {
        return isPasswordGiven(options)
            ? Outcome::usage(QStringLiteral("--%1 would lose the password at once").arg(k_noSave))
            : Outcome::done();
    }
    return readPassword(options, QStringLiteral("password of ") + quoted(user), password);
}

Outcome addUser(Invocation& call, const QString& user)
{
    const auto node = storage(call, call.arguments().first());
    QString password;
    Outcome outcome = requireNew(*node, text("local user"), user, node->existsLocalUser(user));
    if (outcome.isDone())
        outcome = readNewPassword(call, user, password);
    if (!outcome.isDone())
        return outcome;
    const bool isSaved = !call.options().isSet(k_noSave);
    return change(
        call, printUsers, [&](NASDeviceNode& copy) { copy.addLocalUser(user, password, isSaved); });
}

Outcome removeUser(Invocation& call, const QString& user)
{
    const auto node = storage(call, call.arguments().first());
    const Outcome outcome = requireUser(*node, user);
    if (!outcome.isDone())
        return outcome;
    return change(call, printUsers, [&](NASDeviceNode& copy) {
        // They would count again for a later user of that name.
        dropRights(copy, user, copy.shareNames());
        copy.removeLocalUser(user);
    });
}

Outcome addShare(Invocation& call, const QString& share)
{
    const auto node = storage(call, call.arguments().first());
    const Outcome outcome = requireNew(*node, text("share"), share, node->existsShare(share));
    if (!outcome.isDone())
        return outcome;
    const QString volume = call.options().value(k_volume);
    const QString path = call.options().value(k_path);
    return change(
        call, printShares, [&](NASDeviceNode& copy) { copy.addShare(share, volume, path); });
}

Outcome removeShare(Invocation& call, const QString& share)
{
    const Outcome outcome = requireShare(*storage(call, call.arguments().first()), share);
    if (!outcome.isDone())
        return outcome;
    return change(call, printShares, [&](NASDeviceNode& copy) { copy.removeShare(share); });
}

using Edit = Outcome (*)(Invocation&, const QString&);

/** Does ID, ID add NAME or ID remove NAME. */
Outcome list(Invocation& call, Print print, Edit add, Edit remove)
{
    const QString id = call.arguments()[0];
    const QString action = call.arguments().value(1);
    const bool isEdit = action == k_add || action == k_remove;
    if (call.arguments().size() != (isEdit ? 3 : 1))
        return Outcome::usage(
            QStringLiteral("nas wants ID, ID %1 NAME or ID %2 NAME, not %3")
                .arg(k_add, k_remove, quoted(call.arguments().join(QLatin1Char(' ')))));
    const Outcome outcome = openStorage(call, isEdit ? OpenMode::ReadWrite : OpenMode::ReadOnly);
    if (!outcome.isDone())
        return outcome;
    if (!isEdit)
        print(call, *storage(call, id));
    else
        return (action == k_add ? add : remove)(call, call.arguments()[2]);
    return outcome;
}

Outcome grant(Invocation& call)
{
    const QString share = call.arguments()[1];
    const QString user = call.arguments()[2];
    const QString access = call.arguments()[3];
    const bool isFull = access == text("full");
    if (!isFull && access != text("read"))
        return Outcome::usage(
            QStringLiteral("grant wants read or full, not %1").arg(quoted(access)));
    Outcome outcome = openStorage(call, OpenMode::ReadWrite);
    const auto node = outcome.isDone() ? storage(call, call.arguments().first())
                                       : tqm::smart<const NASDeviceNode>();
    if (node)
        outcome = requireShare(*node, share);
    if (node && outcome.isDone())
        outcome = requireUser(*node, user);
    if (!outcome.isDone())
        return outcome;
    return change(call, printShares, [&](NASDeviceNode& copy) {
        copy.setAccessRights(
            share, user, isFull ? NASDeviceNode::eFullAccess : NASDeviceNode::eReadOnlyAccess);
    });
}

Outcome revoke(Invocation& call)
{
    const QString share = call.arguments()[1];
    const QString user = call.arguments()[2];
    Outcome outcome = openStorage(call, OpenMode::ReadWrite);
    const auto node = outcome.isDone() ? storage(call, call.arguments().first())
                                       : tqm::smart<const NASDeviceNode>();
    if (node)
        outcome = requireShare(*node, share);
    if (!outcome.isDone())
        return outcome;
    // Rights may stand there of somebody who is no local user any more.
    if (node->accessRights(share, user) == NASDeviceNode::eNoAccess) {
        outcome = requireUser(*node, user);
        return outcome.isDone() ? Outcome::refused(
                   QStringLiteral("%1 has no rights on %2").arg(quoted(user), quoted(share)))
                                : outcome;
    }
    return change(call, printShares,
        [&](NASDeviceNode& copy) { dropRights(copy, user, QStringList(share)); });
}

Outcome read(Invocation& call)
{
    const QString id = call.arguments().first();
    Outcome outcome = openStorage(call, OpenMode::ReadWrite);
    if (outcome.isDone())
        outcome = readDevice(call, id);
    const auto node = storage(call, id); // a slot may have removed it meanwhile
    if (outcome.isDone() && !node.null())
        printShares(call, *node);
    return outcome;
}

Outcome nas(Invocation& call)
{
    const QString listed = text("ID, ID add NAME or ID remove NAME");
    const auto users = [](Invocation& each) { return list(each, printUsers, addUser, removeUser); };
    const auto shares = [](Invocation& each) {
        return list(each, printShares, addShare, removeShare);
    };
    return call.runAction({
        { text("users"), listed, {}, 1, 3, {}, users },
        { text("shares"), listed, {}, 1, 3, {}, shares },
        { text("grant"), text("ID SHARE USER read|full"), {}, 4, 4, {}, grant },
        { text("revoke"), text("ID SHARE USER"), {}, 3, 3, {}, revoke },
        { text("read"), text("ID"), {}, 1, 1, {}, read },
    });
}

void addOptions(QCommandLineParser& parser)
{
    parser.addOptions({
        { k_volume, text("The volume of a new share."), text("V") },
        { k_path, text("The path of a new share."), text("P") },
        { k_noSave, text("The new user's password is not to be stored.") },
    });
    addPasswordOptions(parser);
}

} // namespace

QList<Command> nasCommands()
{
    return { { text("nas"),
        text("users ID [add|remove NAME] | shares ID [add|remove NAME] | "
             "grant ID SHARE USER read|full | revoke ID SHARE USER | read ID"),
        text("List and edit the users, shares and rights of a storage, or read them from it."), 2,
        5, addOptions, nas } };
}

} // namespace tq::cli
