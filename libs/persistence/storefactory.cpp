// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "persistence/storefactory.h"

#include "persistence/memorydestination.h"
#include "persistence/privatefile_p.h"
#include "persistence/settingsdestination.h"
#include "persistence/sqldestination.h"
#include "persistence/storeplace_p.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QStringList>

#include <utility>

namespace tq {

IStore::~IStore() = default;

namespace {

enum class EKind { Unknown, Memory, Ini, Sqlite };

struct StoreName
{
    EKind kind = EKind::Unknown;
    QString path;
};

StoreName parsed(const QString& urlOrPath)
{
    static const std::pair<QString, EKind> schemes[] = {
        { QStringLiteral("sqlite:"), EKind::Sqlite }, { QStringLiteral("ini:"), EKind::Ini }
    };
    if (urlOrPath == QStringLiteral("memory:"))
        return { EKind::Memory, QString() };
    for (const auto& [scheme, kind] : schemes) {
        const QString path = urlOrPath.mid(scheme.size());
        if (urlOrPath.startsWith(scheme))
            return { path.isEmpty() ? EKind::Unknown : kind, path };
    }
    const QString ending = QFileInfo(urlOrPath).suffix().toLower();
    if (ending == QStringLiteral("db") || ending == QStringLiteral("sqlite"))
        return { EKind::Sqlite, urlOrPath };
    if (ending == QStringLiteral("ini") || ending == QStringLiteral("conf"))
        return { EKind::Ini, urlOrPath };
    return {};
}

} // namespace

std::unique_ptr<IStore> openStore(const QString& urlOrPath, QString* error, OpenMode mode)
{
    const StoreName name = parsed(urlOrPath);
    QString reason;
    std::unique_ptr<IStore> store;
    if (mode != OpenMode::ReadOnly)
        reason = whyNotChangeable(resolvedStore(urlOrPath));
    if (error)
        *error = reason;
    if (!reason.isEmpty())
        return nullptr;
    switch (name.kind) {
    case EKind::Memory:
        store = std::make_unique<MemoryDestination>();
        break;
    case EKind::Ini:
        store = SettingsDestination::open(name.path, mode, reason);
        break;
    case EKind::Sqlite:
        store = SqlDestination::open(name.path, mode, reason);
        break;
    case EKind::Unknown:
        reason =
            QStringLiteral("\"%1\" names no store: sqlite:FILE, ini:FILE or memory: is wanted, "
                           "or a path that ends in .db, .sqlite, .ini or .conf.")
                .arg(urlOrPath);
    }
    if (error)
        *error = reason;
    return store;
}

QString storeFilePath(const QString& urlOrPath)
{
    return parsed(urlOrPath).path;
}

QString resolvedStore(const QString& urlOrPath)
{
    const StoreName name = parsed(urlOrPath);
    if (name.path.isEmpty())
        return urlOrPath;
    const QString scheme =
        name.kind == EKind::Sqlite ? QStringLiteral("sqlite:") : QStringLiteral("ini:");
    return scheme + resolvedPath(name.path);
}

QString moveCorruptStoreAside(const QString& urlOrPath, QString* error)
{
    const QString path = resolvedPath(storeFilePath(urlOrPath));
    const QString time =
        QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMddTHHmmssZ"));
    const QString wanted = path + QStringLiteral(".corrupt-") + time;
    QString target = wanted;
    for (int i = 2; QFileInfo::exists(target); ++i)
        target = wanted + QStringLiteral("-%1").arg(i);
    QString reason;
    if (!renameWithoutReplacing(path, target)) {
        reason = systemError(path);
    } else {
        // What a killed writer left belongs to the moved file and would spoil a new one.
        const QString journal = QStringLiteral("-journal");
        if (QFileInfo::exists(path + journal)
            && !renameWithoutReplacing(path + journal, target + journal))
            reason = systemError(path + journal);
    }
    const bool isMoved = reason.isEmpty();
    if (isMoved)
        reason = syncFolderOf(target);
    if (error)
        *error = reason;
    return isMoved ? target : QString();
}

} // namespace tq
