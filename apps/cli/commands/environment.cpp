// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/commands/commands.h"
#include "cli/inputrules.h"
#include "cli/invocation.h"

#include "devices/ipdevicenode.h"
#include "environments/environments.h"
#include "nodestore/nodedb.h"

#include <QCommandLineParser>

namespace tq::cli {

namespace {

const QString k_idOrName = QStringLiteral("ID-or-NAME");
const QString k_empty = QStringLiteral("empty");

QJsonObject item(const NodeDB& database, const QString& id)
{
    return { { QStringLiteral("ID"), id },
        { QStringLiteral("Name"), database.environments()->name(id) },
        { QStringLiteral("Active"), id == database.activeEnvironment() } };
}

/** Finds the environment that an argument means: an id, or else a name that only one has. */
Outcome find(const NodeDB& database, const QString& idOrName, QString& id)
{
    if (database.environments()->exists(idOrName)) {
        id = idOrName;
        return Outcome::done();
    }
    int count = 0;
    for (const Environments::Entry& entry : database.environments()->getList()) {
        if (entry.second == idOrName) {
            id = entry.first;
            ++count;
        }
    }
    if (count == 1)
        return Outcome::done();
    return Outcome::refused(count == 0
            ? QStringLiteral("there is no environment %1").arg(quoted(idOrName))
            : QStringLiteral("several environments are called %1: use the id")
                  .arg(quoted(idOrName)));
}

Outcome checkName(const NodeDB& database, const QString& name, const QString& ownId)
{
    if (const QString error = nameError(QStringLiteral("environment"), name); !error.isEmpty())
        return Outcome::refused(error);
    for (const Environments::Entry& entry : database.environments()->getList()) {
        if (entry.second == name && entry.first != ownId)
            return Outcome::refused(
                QStringLiteral("there is an environment %1 already").arg(quoted(name)));
    }
    return Outcome::done();
}

void print(Invocation& call, const QStringList& ids)
{
    QList<QJsonObject> items;
    for (const QString& id : ids)
        items.append(item(call.database(), id));
    call.output().addItems(items,
        { { QStringLiteral("ID"), QStringLiteral("ID") },
            { QStringLiteral("NAME"), QStringLiteral("Name") },
            { QStringLiteral("ACTIVE"), QStringLiteral("Active") } });
}

Outcome saveAndPrint(Invocation& call, const QStringList& ids)
{
    const Outcome outcome = call.save();
    if (outcome.isDone())
        print(call, ids);
    return outcome;
}

/** Opens the store and finds the environment that the first argument means. */
Outcome openAndFind(Invocation& call, QString& id)
{
    Outcome outcome = call.open(OpenMode::ReadWrite);
    if (outcome.isDone())
        outcome = find(call.database(), call.arguments().first(), id);
    return outcome;
}

Outcome list(Invocation& call)
{
    const Outcome outcome = call.open(OpenMode::ReadOnly);
    QStringList ids;
    if (outcome.isDone()) {
        for (const Environments::Entry& entry : call.database().environments()->getList())
            ids.append(entry.first);
        print(call, ids);
    }
    return outcome;
}

/** Takes back the addresses that a new environment took over. */
Outcome forgetAddresses(Invocation& call, const QString& environment)
{
    Outcome outcome;
    for (const QString& id : call.database().nodeIdList()) {
        const tqm::smart<const IPDeviceNode> device = call.database().node(id);
        if (device.null() || !outcome.isDone())
            continue;
        outcome = call.edit(id, [&](Node& copy) {
            static_cast<IPDeviceNode&>(copy).forgetAddress(environment);
            return Outcome::done();
        });
    }
    return outcome;
}

Outcome add(Invocation& call)
{
    const QString name = call.arguments().first();
    Outcome outcome = call.open(OpenMode::Create);
    if (outcome.isDone())
        outcome = checkName(call.database(), name, QString());
    if (!outcome.isDone())
        return outcome;
    const QString id = call.database().environments()->add(name);
    if (call.options().isSet(k_empty))
        outcome = forgetAddresses(call, id);
    return outcome.isDone() ? saveAndPrint(call, { id }) : outcome;
}

Outcome rename(Invocation& call)
{
    QString id;
    const QString name = call.arguments()[1];
    Outcome outcome = openAndFind(call, id);
    if (outcome.isDone())
        outcome = checkName(call.database(), name, id);
    if (!outcome.isDone())
        return outcome;
    call.database().environments()->rename(id, name);
    return saveAndPrint(call, { id });
}

Outcome remove(Invocation& call)
{
    QString id;
    const Outcome outcome = openAndFind(call, id);
    if (!outcome.isDone())
        return outcome;
    if (id == call.database().activeEnvironment())
        return Outcome::refused(QStringLiteral("the environment %1 is the active one")
                                    .arg(quoted(call.arguments().first())));
    call.database().environments()->remove(id);
    const Outcome saved = call.save();
    if (saved.isDone()) {
        call.output().addItem({ { QStringLiteral("ID"), id } });
        call.output().print(QStringLiteral("removed: ") + id);
    }
    return saved;
}

Outcome use(Invocation& call)
{
    QString id;
    const Outcome outcome = openAndFind(call, id);
    if (!outcome.isDone())
        return outcome;
    call.database().setActiveEnvironment(id);
    return saveAndPrint(call, { id });
}

Outcome environment(Invocation& call)
{
    if (call.options().isSet(k_empty) && call.arguments().first() != QLatin1String("add"))
        return Outcome::usage(QStringLiteral("--%1 goes with environment add").arg(k_empty));
    return call.runAction({
        { QStringLiteral("list"), QStringLiteral("nothing"), {}, 0, 0, {}, list },
        { QStringLiteral("add"), QStringLiteral("NAME"), {}, 1, 1, {}, add },
        { QStringLiteral("rename"), k_idOrName + QStringLiteral(" NAME"), {}, 2, 2, {}, rename },
        { QStringLiteral("remove"), k_idOrName, {}, 1, 1, {}, remove },
        { QStringLiteral("use"), k_idOrName, {}, 1, 1, {}, use },
    });
}

} // namespace

QList<Command> environmentCommands()
{
    const auto addOptions = [](QCommandLineParser& parser) {
        parser.addOption({ k_empty,
            QStringLiteral("Let the new environment begin without addresses, instead of with those "
                           "of the active one.") });
    };
    return { { QStringLiteral("environment"),
        QStringLiteral("list | add NAME [--empty] | rename %1 NAME | remove %1 | use %1")
            .arg(k_idOrName),
        QStringLiteral("List and edit the environments, and choose the active one."), 1, 3,
        addOptions, environment } };
}

} // namespace tq::cli
