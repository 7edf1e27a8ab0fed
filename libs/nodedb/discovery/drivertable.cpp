// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "discovery/drivertable_p.h"

#include "platform/plugincall.h"

namespace tq {

namespace {

constexpr int k_lastNodeType = 22;

} // namespace

void DriverTable::build(const QList<tqm::smart<IComponent>>& components)
{
    QList<Driver> drivers;
    for (const Driver driver : components) {
        if (!driver.null())
            drivers.append(driver);
    }
    for (int type = 0; type <= k_lastNodeType; ++type)
        chooseFor(ENodeType(type), drivers);
}

void DriverTable::chooseFor(ENodeType type, const QList<Driver>& drivers)
{
    int best = 0;
    // kept: one out-value for all drivers of a type; a driver that writes none inherits the last
    // one's
    int priority = 0;
    for (const Driver& driver : drivers) {
        const bool supports = callPlugin(
            "supportsNodeType", false, [&] { return driver->supportsNodeType(type, &priority); });
        if (!supports || (best != 0 && priority >= best))
            continue;
        m_entries[type] = driver;
        best = priority;
        // kept: no blank before the second text
        logLine(Log::eProgress, "Inserted driver for node type: ", int(type), "Prio: ", priority);
    }
}

QString DriverTable::driverName(ENodeType type) const
{
    const Driver driver = find(type);
    const QString unknown = QStringLiteral("unknown");
    return driver.null() ? unknown
                         : callPlugin("driverName", unknown, [&] { return driver->driverName(); });
}

QList<QPair<ENodeType, QString>> DriverTable::names(
    const QList<ENodeType>* types, bool exclude) const
{
    QList<QPair<ENodeType, QString>> result;
    for (auto it = m_entries.cbegin(); it != m_entries.cend(); ++it) {
        if (!passesTypeFilter(it.key(), types, exclude))
            continue;
        const QString name = callPlugin("readableNodeTypeName", QString(),
            [&] { return it.value()->readableNodeTypeName(it.key()); });
        result.append({ it.key(), name });
    }
    return result;
}

} // namespace tq
