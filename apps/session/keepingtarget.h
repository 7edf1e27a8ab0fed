// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "platform/persistdestination.h"

#include <functional>

namespace tq {

class IStore;

/**
 * A store as the target of one save: hands everything through, adds what `beforeSync` writes to the
 * same sync, and turns a sync that fails into an exception, which leaves the database marked as
 * modified.
 */
class KeepingTarget : public IPersistDestination
{
public:
    KeepingTarget(IStore& store, std::function<void(IStore&)> beforeSync);
    ~KeepingTarget() override;

    /** Returns whether everything was written and made durable. */
    bool isSynced() const { return m_isSynced; }

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

private:
    IStore& m_store;
    std::function<void(IStore&)> m_beforeSync;
    bool m_isSynced = false;
};

} // namespace tq
