// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/commands/commands.h"
#include "cli/invocation.h"

#include "nodestore/node.h"
#include "nodestore/nodedb.h"
#include "recording/nodedbhelper.h"

#include <QSet>

namespace tq::cli {

namespace {

/** Refuses ids that cannot get a folder, and a folder that would be nowhere. */
Outcome check(Invocation& call, const QStringList& ids)
{
    const NodeDB& database = call.database();
    const bool isPathKnown = !database.globalRecordingFolderPath().isEmpty();
    for (const QString& id : ids) {
        const Outcome outcome = call.requireNode(id);
        if (!outcome.isDone())
            return outcome;
        if (database.node(id)->type() == eRecordingFolderNode)
            return Outcome::refused(
                QStringLiteral("the node %1 is a recording folder itself").arg(quoted(id)));
        if (!isPathKnown && NodeDBHelper::recordingFolder(database, id).isNull())
            return Outcome::refused(
                QStringLiteral("there is no place for the recordings of %1: name one with "
                               "\"nodedb settings set RecordingFolderPath PATH\"")
                    .arg(quoted(id)));
    }
    return Outcome::done();
}

/** Returns the reason that was logged. */
QString whyNoFolder(LogHold& log)
{
    const QString refusal = log.take(QStringLiteral("No recording folder for "));
    return refusal.isNull() ? QStringLiteral("the node driver (RecordingFolderNode) is missing")
                            : refusal;
}

/** Makes or finds the folder of one device; `before` are the folders that were there already. */
Outcome setUp(Invocation& call, const QString& id, const QSet<QString>& before, QJsonObject& item)
{
    NodeDB& database = call.database();
    const QString folder = NodeDBHelper::createRecordingFolder(database, id);
    const auto node = database.node(folder);
    if (node.null())
        return Outcome::refused(QStringLiteral("no recording folder could be made for %1: %2")
                                    .arg(quoted(id), whyNoFolder(call.output().log())));
    item = { { QStringLiteral("Device"), id }, { QStringLiteral("Folder"), folder },
        { QStringLiteral("Path"), node->stringProperty(QStringLiteral("Path"), QString()) },
        { QStringLiteral("New"), !before.contains(folder) } };
    return Outcome::done();
}

Outcome record(Invocation& call)
{
    QStringList ids = call.arguments();
    ids.removeDuplicates();
    Outcome outcome = call.open(OpenMode::ReadWrite);
    if (outcome.isDone())
        outcome = check(call, ids);
    const QStringList folders = call.database().nodeIdList(eRecordingFolderNode);
    const QSet<QString> before(folders.cbegin(), folders.cend());
    QList<QJsonObject> items;
    for (const QString& id : ids) {
        if (outcome.isDone())
            outcome = setUp(call, id, before, items.emplaceBack());
    }
    if (outcome.isDone())
        outcome = call.save();
    if (outcome.isDone())
        call.output().addItems(items,
            { { QStringLiteral("DEVICE"), QStringLiteral("Device") },
                { QStringLiteral("FOLDER"), QStringLiteral("Folder") },
                { QStringLiteral("PATH"), QStringLiteral("Path") },
                { QStringLiteral("NEW"), QStringLiteral("New") } });
    return outcome;
}

} // namespace

QList<Command> recordCommands()
{
    return { { QStringLiteral("record"), QStringLiteral("ID…"),
        QStringLiteral("Give devices recording folders at the global path."), 1,
        Command::k_anyNumber, {}, record } };
}

} // namespace tq::cli
