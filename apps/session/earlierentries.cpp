// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "session/earlierentries.h"

#include "nodestore/storedkeys.h"

#include "persistence/istore.h"
#include "platform/logline.h"
#include "platform/persistscope.h"

#include <QCoreApplication>
#include <QSet>

namespace tq {

using namespace stored;

void EarlierEntries::add(IStore& store, const QStringList& ids)
{
    for (const QString& id : ids)
        m_entries.insert(id, std::nullopt);
    const QSet<QString> wanted(ids.begin(), ids.end());
    QMap<QString, int> places; // the last one, which the database took
    {
        const PersistGroup group(&store, k_globalNodes);
        readPersistedArray(&store, k_nodes, [&](int i) {
            const QVariant id = store.value(k_nodeId);
            if (wanted.contains(id.toString()))
                places.insert(id.toString(), i);
            return id.isValid() || store.contains(k_nodeType);
        });
    }
    for (auto place = places.cbegin(); place != places.cend(); ++place)
        m_entries[place.key()] = store.tree({ { k_globalNodes, -1 }, { k_nodes, place.value() } });
}

const StoreNode* EarlierEntries::entry(const QString& id) const
{
    const auto found = m_entries.constFind(id);
    return found != m_entries.cend() && *found ? &**found : nullptr;
}

QString EarlierEntries::text() const
{
    constexpr int k_most = 5;
    QStringList parts;
    for (auto it = m_entries.cbegin(); it != m_entries.cend() && parts.size() < k_most; ++it) {
        const QString what = *it
            ? QCoreApplication::translate("tq::EarlierEntries", "its earlier entry stays")
            : QCoreApplication::translate("tq::EarlierEntries", "it is new and was left out");
        parts.append(QStringLiteral("\"%1\" (%2)").arg(escapedForLog(it.key()), what));
    }
    if (m_entries.size() > k_most)
        parts.append(QCoreApplication::translate("tq::EarlierEntries", "and %1 more")
                         .arg(m_entries.size() - k_most));
    return parts.join(QStringLiteral(", "));
}

} // namespace tq
