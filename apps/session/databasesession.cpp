// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "session/databasesession.h"

#include "environments/globalnetworkproxy.h"
#include "nodestore/nodedb.h"
#include "nodestore/storedkeys.h"
#include "views/nodeviews.h"

#include "persistence/storefactory.h"
#include "platform/logline.h"
#include "platform/pluginloader.h"
#include "session/earlierentries.h"
#include "session/keepingtarget.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
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
    const QStringList groups{ stored::k_environment, stored::k_globalFields, stored::k_globalProxy,
        QStringLiteral("NodeViews") };
    return std::all_of(groups.begin(), groups.end(), [&](const QString& group) {
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
    if (mode != OpenMode::ReadOnly)
        error = prepare(store, mode);
    m_storeName = m_lock ? m_lock->store() : store;
    if (error.isEmpty())
        m_store = openStore(m_storeName, &error, mode);
    if (m_store)
        error = load();
    if (!error.isEmpty()) {
        m_storeName.clear();
        m_store.reset();
        m_lock.reset();
    }
    return error;
}

QString DatabaseSession::prepare(const QString& store, OpenMode mode)
{
    if (store == defaultStore())
        makeDefaultFolder();
    // Each session saves everything it holds: a second writer would undo what the first one saved.
    QString error;
    m_lock = StoreLock::take(store, &error, mode);
    return error;
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
    m_hasChanges = false;
    tellKept();
    if (isWhole && m_store->isUsable())
        return QString();
    const QString reason = m_store->errorString();
    return tr("the store %1 could not be read whole and was left as it is")
               .arg(inQuotes(m_store->location()))
        + (reason.isEmpty() ? QString() : QStringLiteral(": ") + reason);
}

void DatabaseSession::tellKept() const
{
    if (m_kept.lostCount() > 0)
        logLine(Log::eSurvived,
            "Stored nodes that no driver can load, kept as they are: ", m_kept.lostCount());
    constexpr int k_most = 20;
    const QStringList undecided = m_kept.undecided();
    if (!undecided.isEmpty())
        logLine(Log::eSurvived,
            "Stored nodes that do not say whether they should be stored, kept as they are, without "
            "changes, until ShouldPersist is set to yes: ",
            undecided.mid(0, k_most).join(QStringLiteral(", ")),
            undecided.size() > k_most ? QStringLiteral(", …") : QString());
}

/** Goes back to what is durable in the store, or was in memory before the save. */
QString DatabaseSession::reopen(const StoreNode& inMemory)
{
    QString error;
    m_store.reset(); // and with it what was not synced
    m_store = openStore(m_storeName, &error, OpenMode::Create); // the first save may have failed
    if (m_store)
        writeNode(*m_store, inMemory);
    return error;
}

QString DatabaseSession::save()
{
    if (!m_store && !m_storeName.isEmpty()) { // an earlier save could not open it again
        const QString error = reopen({});
        if (!error.isEmpty())
            return error;
    }
    if (!m_store)
        return tr("no store is open");
    const QString where = inQuotes(m_store->location());
    if (m_isLoading)
        return tr("the store %1 is being loaded").arg(where);
    if (m_store->openMode() == OpenMode::ReadOnly)
        return tr("the store %1 is open for reading only").arg(where);
    const bool isInMemory = storeFilePath(m_storeName).isEmpty();
    const StoreNode inMemory = isInMemory ? m_store->tree() : StoreNode();
    const KeptEntries kept = m_kept.remaining(database());
    EarlierEntries earlier;
    constexpr int k_mostPasses = 3; // a node may fail now and then
    for (int i = 0; i < k_mostPasses; ++i) {
        KeepingTarget target(*m_store, earlier, [&](IStore& store) {
            kept.append(store);
            m_views->save(&store);
        });
        database().save(&target, false);
        if (target.isSynced()) {
            m_hasChanges = !earlier.isEmpty();
            return earlier.isEmpty()
                ? QString()
                : tr("the store %1 was saved, but for nodes that could not be written: %2")
                      .arg(where, earlier.text());
        }
        const QString reason = m_store->errorString();
        if (target.failed().isEmpty())
            return reason.isEmpty() ? tr("nothing was saved into %1").arg(where) : reason;
        const QString error = reopen(inMemory);
        if (!error.isEmpty())
            return error;
        earlier.add(*m_store, target.failed());
        if (!m_store->isUsable())
            return tr("nothing was saved into %1, as it could not be read again").arg(where);
    }
    m_store->endReading();
    return tr("nothing was saved into %1: other nodes fail each time").arg(where);
}

bool DatabaseSession::hasUnsavedChanges() const
{
    return m_hasChanges || database().isModified();
}

bool DatabaseSession::isUndecided(const NodeID& id) const
{
    return m_kept.remaining(database()).undecided().contains(id);
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
