// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "platform/persistscope.h"

#include <QMap>
#include <QPair>
#include <QString>
#include <QStringList>

#include <utility>

namespace tq {

/** One value per person who uses the application. T has toVariant() and fromVariant(). */
template <class T>
class UserSpecificNodeData
{
public:
    /** `arrayName` is the array in the store, `defaultValue` what people without a value of their
     * own get. */
    explicit UserSpecificNodeData(const QString& arrayName, const T& defaultValue = T())
        : m_defaultValue(defaultValue), m_arrayName(arrayName)
    {
    }

    T get(const QString& applicationUser) const
    {
        return m_values.value(applicationUser, m_defaultValue);
    }

    void set(const QString& applicationUser, const T& value) { m_values[applicationUser] = value; }
    void remove(const QString& applicationUser) { m_values.remove(applicationUser); }

    /** Returns the names of the people who have a value, ascending. */
    QStringList users() const { return m_values.keys(); }

    /** Writes the array into the current group, in ascending order of names. */
    void save(IPersistDestination* target) const
    {
        PersistWriteArray array(target, m_arrayName);
        for (auto it = m_values.cbegin(); it != m_values.cend(); ++it) {
            array.next();
            target->setValue(QStringLiteral("Key"), it.key());
            target->setValue(QStringLiteral("Value"), it->toVariant());
        }
    }

    /** Replaces all values by those of the array; a later entry of the same name wins. */
    void load(IPersistDestination* source)
    {
        m_values.clear();
        using Entry = QPair<QString, T>;
        const auto entries = readPersistedEntries<Entry>(source, m_arrayName, [&](Entry& entry) {
            const QVariant key = source->value(QStringLiteral("Key"), QVariant());
            const QVariant value = source->value(QStringLiteral("Value"), QVariant());
            entry.first = key.toString();
            entry.second.fromVariant(value);
            return key.isValid() || value.isValid();
        });
        for (const Entry& entry : entries)
            m_values[entry.first] = entry.second;
    }

private:
    QMap<QString, T> m_values;
    T m_defaultValue;
    QString m_arrayName;
};

} // namespace tq
