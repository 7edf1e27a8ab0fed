// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/commands/commands.h"
#include "cli/invocation.h"

#include "persistence/storefactory.h"
#include "persistence/storelock.h"

#include <QCommandLineParser>
#include <QFileInfo>

#include <memory>

namespace tq::cli {

namespace {

const QString k_force = QStringLiteral("force");

/** Refuses a target that is the source, that another program is changing or that would be
 * overwritten without leave; else `lock` is the right to write it. */
Outcome takeTarget(
    const QString& from, const QString& to, bool isForced, std::unique_ptr<StoreLock>& lock)
{
    const QString file = storeFilePath(resolvedStore(to));
    const auto isThere = [&] { return !file.isEmpty() && QFileInfo::exists(file); };
    if (isThere() && storeFilePath(resolvedStore(from)) == file)
        return Outcome::refused(
            QStringLiteral("%1 and %2 are the same store").arg(quoted(from), quoted(to)));
    const QString isTaken = QStringLiteral("%1 exists already; --force replaces it");
    if (isThere() && !isForced)
        return Outcome::refused(isTaken.arg(quoted(to)));
    QString error;
    lock = StoreLock::take(to, &error, OpenMode::Create);
    if (!lock)
        return Outcome::refused(error);
    // Another program may have made it before we had the lock.
    return isThere() && !isForced ? Outcome::refused(isTaken.arg(quoted(to))) : Outcome::done();
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
    std::unique_ptr<StoreLock> lock; // until the target is closed
    const Outcome outcome = takeTarget(from, to, call.options().isSet(k_force), lock);
    if (!outcome.isDone())
        return outcome;
    const auto target = openStore(lock->store(), &error, OpenMode::Create);
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
