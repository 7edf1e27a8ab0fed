// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/commands/commands.h"
#include "cli/invocation.h"

#include "persistence/storefactory.h"

#include <QCommandLineParser>
#include <QFileInfo>

namespace tq::cli {

namespace {

const QString k_force = QStringLiteral("force");

/** Refuses a target that is the source or would be overwritten without leave. */
Outcome checkTarget(const QString& from, const QString& to, bool isForced)
{
    const QFileInfo source(storeFilePath(from));
    const QFileInfo target(storeFilePath(to));
    if (target.filePath().isEmpty() || !target.exists())
        return Outcome::done();
    if (source.canonicalFilePath() == target.canonicalFilePath())
        return Outcome::refused(
            QStringLiteral("%1 and %2 are the same store").arg(quoted(from), quoted(to)));
    if (!isForced)
        return Outcome::refused(
            QStringLiteral("%1 exists already; --force replaces it").arg(quoted(to)));
    return Outcome::done();
}

/** Drops what the target holds; like all of its changes this counts only when it is synced. */
void clear(IStore& store)
{
    const StoreNode content = store.tree();
    for (const auto& [name, value] : content.values)
        store.remove(name);
    for (const auto& [name, group] : content.groups)
        store.remove(name);
    for (const auto& [name, array] : content.arrays)
        store.remove(name);
}

Outcome convert(Invocation& call)
{
    const QString from = call.arguments()[0];
    const QString to = call.arguments()[1];
    QString error;
    const auto source = openStore(from, &error, OpenMode::ReadOnly);
    if (!source)
        return Outcome::refused(error);
    const Outcome outcome = checkTarget(from, to, call.options().isSet(k_force));
    if (!outcome.isDone())
        return outcome;
    const auto target = openStore(to, &error, OpenMode::ReadWrite);
    if (!target)
        return Outcome::refused(error);
    clear(*target);
    source->copyTo(*target);
    if (!source->isUsable())
        return Outcome::refused(
            QStringLiteral("%1 cannot be read whole; nothing was written").arg(quoted(from)));
    target->sync();
    if (!target->isUsable())
        return Outcome::refused(target->errorString());
    call.output().addItem({ { QStringLiteral("From"), source->location() },
        { QStringLiteral("To"), target->location() } });
    call.output().print(QStringLiteral("written: ") + target->location());
    return outcome;
}

} // namespace

QList<Command> convertCommands()
{
    const auto addOptions = [](QCommandLineParser& parser) {
        parser.addOption({ k_force, QStringLiteral("Replace what TO holds.") });
    };
    return { { QStringLiteral("convert"), QStringLiteral("FROM TO"),
        QStringLiteral("Copy a store into a new one of any kind."), 2, 2, addOptions, convert } };
}

} // namespace tq::cli
