// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodestore/nodetypes.h"

#include <QList>
#include <QObject>
#include <QPair>

namespace tq {

class NodeDB;

/** What values kept per environment have in common: they follow the database's list of
 * environments. */
class NODEDB_EXPORT EnvironmentSpecificDataSlot : public QObject
{
    Q_OBJECT

public:
    EnvironmentSpecificDataSlot();
    ~EnvironmentSpecificDataSlot() override;
    Q_DISABLE_COPY_MOVE(EnvironmentSpecificDataSlot)

    /** Starts to follow the environments of the database. */
    virtual void init();

    /** Gives the new environment `id` the active environment's value. */
    virtual void copyFromActiveEnvironment(const QString& id) = 0;

    /** Drops the value of environment `id`. */
    virtual void removeEnvironmentEntry(const QString& id) = 0;

public slots:
    void copy(const EnvironmentID& id);
    void del(const EnvironmentID& id);

protected:
    NodeDB* getNodeDB() const;

    /** Returns id and name of every environment of the database. */
    QList<QPair<QString, QString>> environmentList() const;

    /** Returns the id of the database's active environment. */
    QString activeEnvironment() const;
};

} // namespace tq
