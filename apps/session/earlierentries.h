// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "persistence/istoretree.h"

#include <QMap>
#include <QString>
#include <QStringList>

#include <optional>

namespace tq {

class IStore;

/** What a store held of nodes that failed to write themselves into it: their entries, raw. */
class EarlierEntries
{
public:
    /** Adds the nodes `ids`, with what `store` has of them. It holds what it held before the save
     * that they failed in. */
    void add(IStore& store, const QStringList& ids);

    bool isEmpty() const { return m_entries.isEmpty(); }
    bool contains(const QString& id) const { return m_entries.contains(id); }

    /** Returns the entry of that node; null when the store had none, or when it did not fail. */
    const StoreNode* entry(const QString& id) const;

    /** Returns the nodes and what became of them, for people. */
    QString text() const;

private:
    QMap<QString, std::optional<StoreNode>> m_entries;
};

} // namespace tq
