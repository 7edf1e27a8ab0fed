// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/commands/commands.h"
#include "cli/inputrules.h"
#include "cli/invocation.h"
#include "cli/passwordinput.h"
#include "cli/settingstable.h"
#include "cli/valuetext.h"

#include "nodestore/nodedb.h"

namespace tq::cli {

namespace {

QJsonObject item(const NodeDB& database, const Setting& setting)
{
    const QVariant value = setting.get(database);
    const bool isList = value.typeId() == QMetaType::QStringList;
    return { { QStringLiteral("Name"), setting.name },
        { QStringLiteral("Value"),
            isList ? QJsonArray::fromStringList(value.toStringList())
                   : shownValue(setting.name, value) },
        { QStringLiteral("Meaning"), setting.meaning } };
}

void print(Invocation& call, const QList<Setting>& settings)
{
    QList<QJsonObject> items;
    for (const Setting& setting : settings)
        items.append(item(call.database(), setting));
    call.output().addItems(items,
        { { QStringLiteral("NAME"), QStringLiteral("Name") },
            { QStringLiteral("VALUE"), QStringLiteral("Value") },
            { QStringLiteral("MEANING"), QStringLiteral("Meaning") } });
}

Outcome requireSetting(const QString& name, const Setting*& setting)
{
    setting = findSetting(name);
    if (setting)
        return Outcome::done();
    return Outcome::refused(QStringLiteral("there is no setting %1").arg(quoted(name)));
}

Outcome list(Invocation& call)
{
    const Outcome outcome = call.open(OpenMode::ReadOnly);
    if (outcome.isDone())
        print(call, allSettings());
    return outcome;
}

Outcome get(Invocation& call)
{
    const Setting* setting = nullptr;
    Outcome outcome = requireSetting(call.arguments().first(), setting);
    if (outcome.isDone())
        outcome = call.open(OpenMode::ReadOnly);
    if (!outcome.isDone())
        return outcome;
    const QJsonObject got = item(call.database(), *setting);
    call.output().addItem(got);
    call.output().print(cellText(got[QStringLiteral("Value")]));
    return outcome;
}

/** Refuses a password that would be dropped by the next save. */
Outcome checkPasswordIsKept(const NodeDB& database, const Setting& setting)
{
    QString flag = setting.name;
    flag.replace(QLatin1String("ProxyPassword"), QLatin1String("SaveProxyPassword"));
    flag.replace(QLatin1String("TransponderPassword"), QLatin1String("TransponderSavePassword"));
    const Setting* const keeps = flag == setting.name ? nullptr : findSetting(flag);
    if (!keeps || keeps->get(database).toBool())
        return Outcome::done();
    return Outcome::refused(
        QStringLiteral("%1 would not be kept: set %2 to yes first").arg(setting.name, flag));
}

/** Reads what a setting is to become from the arguments after its name, or from where passwords
 * come from. */
Outcome readValue(Invocation& call, const Setting& setting, QVariant& value)
{
    const QStringList texts = call.arguments().mid(1);
    const QMetaType type = setting.get(call.database()).metaType();
    if (isSecret(setting.name, type)) {
        if (!texts.isEmpty())
            return Outcome::refused(
                QStringLiteral("%1 is not taken from the command line").arg(setting.name));
        Outcome outcome = checkPasswordIsKept(call.database(), setting);
        QString password;
        if (outcome.isDone())
            outcome = readPassword(call.options(), setting.name, password);
        value = password;
        return outcome;
    }
    QString error;
    if (type.id() == QMetaType::QStringList)
        value = texts;
    else if (texts.size() == 1)
        error = valueFromText(setting.name, texts.first(), type, value);
    else
        return Outcome::usage(QStringLiteral("%1 wants one value").arg(setting.name));
    if (error.isEmpty())
        error = valueError(setting.name, value);
    return error.isEmpty() ? Outcome::done() : Outcome::refused(error);
}

Outcome set(Invocation& call)
{
    const Setting* setting = nullptr;
    Outcome outcome = requireSetting(call.arguments().first(), setting);
    if (outcome.isDone())
        outcome = call.open(OpenMode::Create);
    QVariant value;
    if (outcome.isDone())
        outcome = readValue(call, *setting, value);
    if (!outcome.isDone())
        return outcome;
    setting->set(call.database(), value);
    // Most settings announce no change, and none sets the modified flag.
    call.session().markChanged();
    outcome = call.save();
    if (outcome.isDone())
        print(call, { *setting });
    return outcome;
}

Outcome settings(Invocation& call)
{
    return call.runAction({
        { QStringLiteral("list"), QStringLiteral("nothing"), {}, 0, 0, {}, list },
        { QStringLiteral("get"), QStringLiteral("NAME"), {}, 1, 1, {}, get },
        { QStringLiteral("set"), QStringLiteral("NAME VALUE"), {}, 1, Command::k_anyNumber, {},
            set },
    });
}

} // namespace

QList<Command> settingsCommands()
{
    return { { QStringLiteral("settings"),
        QStringLiteral("list | get NAME | set NAME VALUE | set Exceptions PATTERN…"),
        QStringLiteral("List and change the settings of the whole database."), 1,
        Command::k_anyNumber, addPasswordOptions, settings } };
}

} // namespace tq::cli
