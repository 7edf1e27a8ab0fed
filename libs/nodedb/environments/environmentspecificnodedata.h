// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "environments/environmentspecificdataslot.h"

#include <QMap>

namespace tq {

class IPersistDestination;

/**
 * A value that may differ from one environment to the next: a map from environment id to value, and
 * a default.
 *
 * T is int, bool or QString. Use it on the database's thread.
 */
template <class T>
class NODEDB_EXPORT EnvironmentSpecificGlobalData : public EnvironmentSpecificDataSlot
{
public:
    /** `key` names the value in the store. init() is the owner's to call, once the database exists.
     */
    EnvironmentSpecificGlobalData(const QString& key, const T& defaultValue);

    /** Follows the environments and gives the active one the default, whatever it had. */
    void init() override;

    /** Returns the active environment's value, or the default when it has none. */
    T value() const;

    /**
     * Gives environment `id` the value, and with it every environment that has none yet. An id that
     * is not in the list of environments is not stored while the list has any.
     */
    void set(const QString& id, const T& value);

    /** Takes all values and the default of `other`. */
    void assign(const EnvironmentSpecificGlobalData& other);

    void copyFromActiveEnvironment(const QString& id) override;
    void removeEnvironmentEntry(const QString& id) override;

    /** Writes an entry for every environment in the array "Environment"; the caller opens a group
     * around it. */
    void save(IPersistDestination* target) const;

    /** Replaces all values by the array's; without one the plain key is the active environment's
     * value. */
    void load(IPersistDestination* source);

private:
    QMap<QString, T> m_values;
    T m_default;
    QString m_key;
};

/** Such a value as a member of a node: usable, and holding its default, from construction on. */
template <class T>
class NODEDB_EXPORT EnvironmentSpecificNodeData : public EnvironmentSpecificGlobalData<T>
{
public:
    EnvironmentSpecificNodeData(const QString& key, const T& defaultValue);
};

extern template class EnvironmentSpecificGlobalData<int>;
extern template class EnvironmentSpecificGlobalData<bool>;
extern template class EnvironmentSpecificGlobalData<QString>;
extern template class EnvironmentSpecificNodeData<int>;
extern template class EnvironmentSpecificNodeData<bool>;
extern template class EnvironmentSpecificNodeData<QString>;

} // namespace tq
