// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "discovery/inodedrivercomponent.h"

#include "platform/testexport.h"

#include <QList>
#include <QMap>
#include <QPair>

namespace tq {

/** Which driver serves which node type. Built once and only read afterwards, so it needs no lock.
 */
class TQ_TEST_EXPORT DriverTable
{
public:
    using Driver = tqm::smart<INodeDriverComponent>;
    using Entries = QMap<ENodeType, Driver>;

    /**
     * Chooses a driver for each type from 0 to 22 among `components`, in their order: the smallest
     * positive priority wins, the first of equals keeps, and a holder or a claimant with priority 0
     * is displaced or displaces. Logs each choice at level 1.
     */
    void build(const QList<tqm::smart<IComponent>>& components);

    /** Returns the driver of that type; a null handle, silently, when there is none. */
    Driver find(ENodeType type) const { return m_entries.value(type); }

    /** Returns the name of that type's driver, for log lines; "unknown" when there is none. */
    QString driverName(ENodeType type) const;

    /** Returns type and readable name of the types in `types` (`exclude`: not in it; null: all),
     * ascending. */
    QList<QPair<ENodeType, QString>> names(const QList<ENodeType>* types, bool exclude) const;

    /** Returns all entries in ascending order of types, in which probes are asked. */
    const Entries& entries() const { return m_entries; }

private:
    void chooseFor(ENodeType type, const QList<Driver>& drivers);

    Entries m_entries;
};

/** Returns whether `type` passes a filter: null lets all pass, else being listed, or not being
 * listed, decides. */
inline bool passesTypeFilter(ENodeType type, const QList<ENodeType>* types, bool exclude)
{
    return !types || types->contains(type) != exclude;
}

} // namespace tq
