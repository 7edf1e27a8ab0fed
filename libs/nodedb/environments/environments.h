// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodestore/nodetypes.h"

#include <QList>
#include <QObject>
#include <QPair>

namespace tq {

class IPersistDestination;
class NodeDB;

/**
 * The ordered list of environments (named places of use) of a database, and the process-wide active
 * one.
 *
 * Starts with one environment "Default", active. Use it on the database's thread. Refused requests
 * do nothing.
 */
class NODEDB_EXPORT Environments : public QObject
{
    Q_OBJECT

public:
    /** Id and display name. */
    using Entry = QPair<QString, QString>;

    /** Connects its signals to environmentsChanged() of `db` and adds the first environment. */
    explicit Environments(NodeDB* db);
    ~Environments() override;
    Q_DISABLE_COPY_MOVE(Environments)

    /** Returns the environments in the order of display and of the store. */
    const QList<Entry>& getList() const { return m_list; }

    /** Returns the active environment's id, which need not be in the list. */
    static QString activeEnvironment();

    /** Assigns the active id, unchecked and unannounced; NodeDB::setActiveEnvironment() announces.
     */
    static void setActiveEnvironment(const QString& id);

    /** Returns the index of the first entry with this id, or -1. */
    static int find(const QList<Entry>& list, const QString& id);

    bool exists(const QString& id) const;

    /** Returns the name of the environment; a null string for an unknown id. */
    QString name(const QString& id) const;

    /** Appends an environment and returns its new id; a null string when the name is taken. */
    QString add(const QString& name);

    /** Renames the environment, announced even when the name is the same. */
    void rename(const QString& id, const QString& newName);

    /** Removes the environment unless it is the active one. */
    void remove(const QString& id);

    /**
     * Takes an edited list: adds what is new, renames what differs, then removes what is missing,
     * except the active environment. An empty list changes nothing.
     */
    void setList(const QList<Entry>& list);

    /** Writes "Active" and the array "Environments" into the current group. */
    void save(IPersistDestination* target) const;

    /** Replaces list and active id by what is stored, as it is, without signals; without an array
     * by one "Default". */
    void load(IPersistDestination* source);

signals:
    void environmentRenamed(const EnvironmentID& id);
    void newEnvironmentAdded(const EnvironmentID& id);
    void environmentRemoved(const EnvironmentID& id);

private:
    QString appendNew(const QString& name);
    void mergeEntry(const Entry& entry);

    QList<Entry> m_list;
    static QString m_activeEnvironment;
};

} // namespace tq
