// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "platform/properties/baseproperty.h"

namespace tqgen {

/** A property that holds a value of whatever type it is given. */
class PLATFORM_EXPORT VariantProperty : public BaseProperty
{
public:
    VariantProperty(
        const QString& name, const QString& description, const QVariant& value = QVariant());

    QVariant value() const override;
    bool setValue(const QVariant& value) override;
    tqm::smart<BaseProperty> clone() const override;

private:
    QVariant m_value;
};

} // namespace tqgen
