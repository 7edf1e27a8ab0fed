// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodestore/nodetypes.h"
#include "persistence/istore.h"
#include "persistence/storelock.h"
#include "session/keptentries.h"

#include <QObject>
#include <QSet>
#include <QStringList>

#include <memory>

namespace tq {

class NodeDB;
class NodeViews;

/**
 * The life of the database and its views in a program: plug-ins are found, both are made and filled
 * from a store, and saved back into it; its end frees them and lets the plug-ins go.
 *
 * There is one at a time, used on one thread. Operations that can fail return an empty text, or one
 * sentence for people that names what is wrong.
 */
class DatabaseSession : public QObject
{
    Q_OBJECT

public:
    /** Gives the libraries of these folders to the loader and makes the database. */
    explicit DatabaseSession(const QStringList& pluginFolders);
    ~DatabaseSession() override;
    Q_DISABLE_COPY_MOVE(DatabaseSession)

    /** Returns the folder of plug-ins that belongs to the running program: ../lib/nodedb/plugins
     * from its own. */
    static QString pluginFolder();

    /** Returns the store of the person who runs the program, in the user's folder for data. */
    static QString defaultStore();

    /** Returns the database; it lives as long as the session. */
    NodeDB& database() const;

    /** Returns the views, which are loaded and saved with the database; they live as long as the
     * session. */
    NodeViews& views() const;

    /**
     * Opens the store and loads it. Only with OpenMode::Create need it not exist. For writing, no
     * other session may have it open for writing. A store that cannot be read, or not whole, is
     * refused and left as it is.
     */
    [[nodiscard]] QString open(const QString& store, OpenMode mode);

    /**
     * Saves everything, and with it the stored entries that no driver could load, and those of
     * nodes that are not stored only because their entries do not say whether they should be; all
     * of it becomes durable at once, or nothing. Refused without a store, while it is being loaded,
     * and when it was opened for reading.
     *
     * A node that throws or breaks out of its entry while it writes itself keeps the entry that the
     * store has, and is left out when it has none: the rest is saved, the sentence that is returned
     * names these nodes, and there still are unsaved changes.
     */
    [[nodiscard]] QString save();

    /** Returns whether nodes, relations, views, environments or settings changed since the last
     * load or save, or the last save had to leave out the change of a node. */
    bool hasUnsavedChanges() const;

    /** Notes a change of a setting that the database does not announce. */
    void markChanged() { m_hasChanges = true; }

    /** Returns whether no save stores changes of that node: its stored entry does not say whether
     * it should be stored, and stays until the node itself says yes. */
    bool isUndecided(const NodeID& id) const;

    /** Returns the types of relation that the database has or had in this session, ascending. */
    QList<ENodeRelationType> relationTypes() const;

    /** Returns the path of the open store; empty without one. */
    QString location() const;

private:
    QString prepare(const QString& store, OpenMode mode);
    QString load();
    void tellKept() const;
    QString reopen(const StoreNode& inMemory);
    void watchSettings();

    std::unique_ptr<NodeViews> m_views;
    std::unique_ptr<StoreLock> m_lock;
    QString m_storeName; ///< as openStore() takes it
    std::unique_ptr<IStore> m_store;
    KeptEntries m_kept;
    QSet<int> m_relationTypes;
    bool m_isLoading = false;
    bool m_hasChanges = false; ///< beside those that the database knows of
};

} // namespace tq
