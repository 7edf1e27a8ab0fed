// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "platform/properties/baseproperty.h"

#include <optional>

namespace tqgen {

/** Returns `value` as a T; nothing when it has no meaning as one (a text that is no number, say).
 */
template <class T>
std::optional<T> converted(const QVariant& value)
{
    if (value.metaType() == QMetaType::fromType<T>())
        return value.value<T>();
    QVariant copy = value;
    if (!copy.isValid() || !copy.convert(QMetaType::fromType<T>()))
        return std::nullopt;
    return copy.value<T>();
}

/** A property that holds one value of type T. */
template <class T>
class ValueProperty : public BaseProperty
{
public:
    ValueProperty(const QString& name, const QString& description, const T& value = T())
        : BaseProperty(name, description), m_value(value)
    {
    }

    T get() const { return m_value; }
    void set(const T& value) { m_value = value; }

    QVariant value() const override { return QVariant::fromValue(m_value); }

    bool setValue(const QVariant& value) override
    {
        const std::optional<T> taken = converted<T>(value);
        if (taken)
            m_value = *taken;
        return taken.has_value();
    }

    tqm::smart<BaseProperty> clone() const override
    {
        return tqm::smart<BaseProperty>(new ValueProperty(*this));
    }

private:
    T m_value;
};

/** Returns the property's value as a T, or `defaultValue` when there is no property or its value is
 * no T. */
template <class T>
T getValue(const BaseProperty* property, const T& defaultValue)
{
    return property ? converted<T>(property->value()).value_or(defaultValue) : defaultValue;
}

template <class T>
T getValue(const tqm::smart<BaseProperty>& property, const T& defaultValue)
{
    return getValue<T>(property.get(), defaultValue);
}

template <class T>
T getValue(const BaseProperty& property, const T& defaultValue)
{
    return getValue<T>(&property, defaultValue);
}

} // namespace tqgen
