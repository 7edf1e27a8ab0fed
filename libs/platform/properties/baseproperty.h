// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "platform/platform_export.h"
#include "platform/smart.h"

#include <QString>
#include <QVariant>

namespace tqgen {

/** A named value with a text for people: what editors show and give back, one at a time. */
class PLATFORM_EXPORT BaseProperty
{
public:
    BaseProperty(const QString& name, const QString& description);
    virtual ~BaseProperty();

    QString name() const { return m_name; }

    /** Returns the translated text that people see. */
    QString description() const { return m_description; }

    /** Returns the value in the type of the property. */
    virtual QVariant value() const = 0;

    /** Takes `value` when it converts to the property's type. Returns whether it did; nothing
     * changes otherwise. */
    virtual bool setValue(const QVariant& value) = 0;

    /** Returns a copy that shares nothing with this property. */
    virtual tqm::smart<BaseProperty> clone() const = 0;

protected:
    BaseProperty(const BaseProperty&) = default;
    BaseProperty& operator=(const BaseProperty&) = default;

private:
    QString m_name;
    QString m_description;
};

} // namespace tqgen
