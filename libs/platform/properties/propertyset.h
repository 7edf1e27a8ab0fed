// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "platform/properties/baseproperty.h"

#include <QHash>
#include <QList>
#include <QMetaType>
#include <QStringList>

namespace tqgen {

/**
 * An ordered collection of properties with unique names.
 *
 * A copy is deep: it holds clones. Not thread-safe.
 */
class PLATFORM_EXPORT PropertySet
{
public:
    PropertySet() = default;
    PropertySet(const PropertySet& other);
    PropertySet(PropertySet&&) noexcept = default;
    PropertySet& operator=(const PropertySet& other);
    PropertySet& operator=(PropertySet&&) noexcept = default;
    ~PropertySet() = default;

    /** Appends `property`; one of the same name is replaced where it stands. A null handle is
     * ignored. */
    void add(const tqm::smart<BaseProperty>& property);

    /** Makes a property of class P from `arguments` and appends it as add() does. */
    template <class P, class... Arguments>
    void emplace(Arguments&&... arguments)
    {
        add(tqm::smart<BaseProperty>(new P(std::forward<Arguments>(arguments)...)));
    }

    /** Returns the property of that name, owned by the set; null when there is none. */
    BaseProperty* find(const QString& name);
    const BaseProperty* find(const QString& name) const;

    /** Sets the value of the property of that name. Returns false when there is none or the value
     * does not convert. */
    bool setValue(const QString& name, const QVariant& value);

    bool contains(const QString& name) const { return find(name) != nullptr; }

    /** Returns all names in the set's order. */
    QStringList names() const;

    /** Returns the properties in the set's order. */
    const QList<tqm::smart<BaseProperty>>& properties() const { return m_properties; }

    qsizetype size() const { return m_properties.size(); }
    bool isEmpty() const { return m_properties.isEmpty(); }
    void clear();

    /** Sets are equal when they hold the same names with equal values in the same order. */
    bool operator==(const PropertySet& other) const;

private:
    QList<tqm::smart<BaseProperty>> m_properties;
    QHash<QString, qsizetype> m_positions;
};

} // namespace tqgen

Q_DECLARE_METATYPE(tqgen::PropertySet)
