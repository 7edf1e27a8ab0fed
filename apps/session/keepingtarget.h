// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodestore/inodeentrytarget.h"

#include "platform/persistdestination.h"

#include <QStringList>

#include <functional>

namespace tq {

class EarlierEntries;
class IStore;

/**
 * A store as the target of one save: hands everything through, writes the earlier entries of nodes
 * that are known to fail in their places, adds what `beforeSync` writes to the same sync, and turns
 * a sync that fails into an exception, which leaves the database marked as modified. When a node
 * failed in this save, nothing is synced.
 */
class KeepingTarget : public IPersistDestination, public INodeEntryTarget
{
public:
    /** `earlier` holds the nodes that are not asked to write themselves. */
    KeepingTarget(
        IStore& store, const EarlierEntries& earlier, std::function<void(IStore&)> beforeSync);
    ~KeepingTarget() override;

    /** Returns whether everything was written and made durable. */
    bool isSynced() const { return m_isSynced; }

    /** Returns the nodes that failed in this save. */
    const QStringList& failed() const { return m_failed; }

    void beginGroup(const QString& name) override;
    void endGroup() override;
    void beginWriteArray(const QString& name, int size = -1) override;
    int beginReadArray(const QString& name) override;
    void endArray() override;
    void setArrayIndex(int index) override;
    void setValue(const QString& key, const QVariant& value) override;
    QVariant value(const QString& key, const QVariant& defaultValue = QVariant()) const override;
    void remove(const QString& key) override;
    bool contains(const QString& key) const override;
    void sync() override;

    EWriter writerOf(const NodeID& id) override;
    void writeEntry(const NodeID& id) override;
    void entryFailed(const NodeID& id) override { m_failed.append(id); }

private:
    IStore& m_store;
    const EarlierEntries& m_earlier;
    QStringList m_failed;
    std::function<void(IStore&)> m_beforeSync;
    bool m_isSynced = false;
};

} // namespace tq
