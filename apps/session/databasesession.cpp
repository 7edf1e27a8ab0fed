// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "session/databasesession.h"

#include "environments/globalnetworkproxy.h"
#include "nodestore/nodedb.h"
#include "views/nodeviews.h"

#include "persistence/storefactory.h"
#include "platform/logline.h"
#include "platform/pluginloader.h"
#include "session/keepingtarget.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QLockFile>
#include <QScopeGuard>
#include <QStandardPaths>

#include <algorithm>
#include <exception>

namespace tq {

namespace {

QString inQuotes(const QString& text)
{
    return QLatin1Char('"') + escapedForLog(text) + QLatin1Char('"');
}

QString defaultFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
        + QStringLiteral("/nodedb");
}

/** Makes the folder of the default store, for its user's eyes only. */
void makeDefaultFolder()
{
    const QFileInfo folder(defaultFolder());
    if (folder.exists() || !QDir().mkpath(folder.path()))
        return;
    QDir(folder.path())
        .mkdir(folder.fileName(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

/** Returns whether there is something in every entry of every array in `node`, as whoever wrote it
 * left it: what a setting reads from an entry that is absent would replace another one. There are
 * no groups: what is one was an array and lost its size. */
bool isSound(const StoreNode& node, const QString& group)
{
    const auto isArraySound = [&group](const auto& array) {
        const auto isEntrySound = [&](const auto& entry) { return isSound(entry.second, group); };
        const auto& entries = array.second.entries;
        const bool isWhole = array.second.size == int(entries.size());
        if (!isWhole)
            logLine(Log::eSurvived, "Damaged: in the group ", group, ", the array ", array.first,
                " announces ", array.second.size, " entries, but has ", entries.size());
        return isWhole && std::all_of(entries.begin(), entries.end(), isEntrySound);
    };
    for (const auto& [name, lost] : node.groups)
        logLine(Log::eSurvived, "Damaged: in the group ", group, ", ", name, " is no array");
    return node.groups.empty() && std::all_of(node.arrays.begin(), node.arrays.end(), isArraySound);
}

/** Settings and views are few, so that their groups can be looked at whole. */
bool areSettingsSound(const IStore& store)
{
    const auto names = { "Environment", "GlobalFields", "GlobalProxy", "NodeViews" };
    return std::all_of(names.begin(), names.end(), [&](const char* name) {
        const QString group = QString::fromLatin1(name);
        return isSound(store.tree({ { group, -1 } }), group);
    });
}

} // namespace

DatabaseSession::DatabaseSession(const QStringList& pluginFolders)
{
    for (const QString& folder : pluginFolders)
        plugin::Loader::instance().addFolder(folder);
    QObject::connect(NodeDB::getDB(), &NodeDB::nodeRelationAdded, this,
        [this](const NodeID&, const NodeID&, ENodeRelationType type) {
            m_relationTypes.insert(type);
        });
    m_views = std::make_unique<NodeViews>(database());
    watchSettings();
}

DatabaseSession::~DatabaseSession()
{
    m_views.reset();
    NodeDB::freeDB();
    plugin::Loader::instance().clear();
}

QString DatabaseSession::pluginFolder()
{
    return QDir::cleanPath(
        QCoreApplication::applicationDirPath() + QStringLiteral("/../lib/nodedb/plugins"));
}

QString DatabaseSession::defaultStore()
{
    return QStringLiteral("sqlite:") + defaultFolder() + QStringLiteral("/devices.db");
}

NodeDB& DatabaseSession::database() const
{
    return *NodeDB::getDB();
}

NodeViews& DatabaseSession::views() const
{
    return *m_views;
}

QString DatabaseSession::open(const QString& store, OpenMode mode)
{
    if (m_store)
        return tr("the store %1 is open already").arg(inQuotes(m_store->location()));
    QString error;
    if (mode == OpenMode::ReadWrite)
        error = prepare(store);
    if (error.isEmpty())
        m_store = openStore(store, &error, mode);
    if (m_store)
        error = load();
    if (!error.isEmpty()) {
        m_store.reset();
        m_lock.reset();
    }
    return error;
}

QString DatabaseSession::prepare(const QString& store)
{
    if (store == defaultStore())
        makeDefaultFolder();
    const QString path = storeFilePath(store);
    if (path.isEmpty())
        return QString();
    // Each session saves everything it holds: a second writer would undo what the first one saved.
    m_lock = std::make_unique<QLockFile>(path + QStringLiteral(".lock"));
    m_lock->setStaleLockTime(0);
    if (m_lock->tryLock() || m_lock->error() != QLockFile::LockFailedError)
        return QString();
    qint64 process = 0;
    QString host;
    QString application;
    m_lock->getLockInfo(&process, &host, &application);
    return tr("the store %1 is being changed by process %2; try again when it has ended")
        .arg(inQuotes(path))
        .arg(process);
}

QString DatabaseSession::load()
{
    bool isWhole = false;
    {
        m_isLoading = true;
        const auto end = qScopeGuard([this] { m_isLoading = false; });
        database().load(m_store.get());
        m_views->load(m_store.get());
        isWhole = m_kept.collect(*m_store, database()) && areSettingsSound(*m_store);
        m_store->endReading();
    }
    m_settingsChanged = false;
    if (m_kept.nodeCount() > 0)
        logLine(Log::eSurvived,
            "Stored nodes that no driver can load, kept as they are: ", m_kept.nodeCount());
    if (isWhole && m_store->isUsable())
        return QString();
    const QString reason = m_store->errorString();
    return tr("the store %1 could not be read whole and was left as it is")
               .arg(inQuotes(m_store->location()))
        + (reason.isEmpty() ? QString() : QStringLiteral(": ") + reason);
}

QString DatabaseSession::save()
{
    if (!m_store)
        return tr("no store is open");
    const QString where = inQuotes(m_store->location());
    if (m_isLoading)
        return tr("the store %1 is being loaded").arg(where);
    if (m_store->openMode() == OpenMode::ReadOnly)
        return tr("the store %1 is open for reading only").arg(where);
    const KeptEntries kept = m_kept.remaining(database());
    KeepingTarget target(*m_store, [&](IStore& store) {
        kept.append(store);
        m_views->save(&store);
    });
    database().save(&target, false);
    if (target.isSynced()) {
        m_settingsChanged = false;
        return QString();
    }
    const QString reason = m_store->errorString();
    return reason.isEmpty()
        ? tr("nothing was saved into %1: a node could not be written").arg(where)
        : reason;
}

bool DatabaseSession::hasUnsavedChanges() const
{
    return m_settingsChanged || database().isModified();
}

QList<ENodeRelationType> DatabaseSession::relationTypes() const
{
    QList<ENodeRelationType> result;
    for (const int type : m_relationTypes)
        result.append(ENodeRelationType(type));
    std::sort(result.begin(), result.end());
    return result;
}

QString DatabaseSession::location() const
{
    return m_store ? m_store->location() : QString();
}

void DatabaseSession::watchSettings()
{
    NodeDB* const db = NodeDB::getDB();
    for (const auto signal : { &NodeDB::environmentsChanged, &NodeDB::activeEnvironmentChanged,
             &NodeDB::globalPathChanged, &NodeDB::globalAuthenticationChanged })
        QObject::connect(db, signal, this, &DatabaseSession::markChanged);
    GlobalNetworkProxy* const proxy = db->globalProxy();
    QObject::connect(
        proxy, &GlobalNetworkProxy::globalProxyDataChanged, this, &DatabaseSession::markChanged);
    QObject::connect(
        proxy, &GlobalNetworkProxy::proxyDataChanged, this, &DatabaseSession::markChanged);
    QObject::connect(m_views.get(), &NodeViews::changed, this, &DatabaseSession::markChanged);
}

} // namespace tq
