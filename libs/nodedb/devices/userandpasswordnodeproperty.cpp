// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "devices/userandpasswordnodeproperty.h"

#include "platform/properties/variantproperty.h"

namespace tq {

UserAndPasswordNodeProperty::UserAndPasswordNodeProperty(
    const QString& name, Node* node, const UserAndPassword& value, const QString& label)
    : NodeProperty(label, node, name), m_initial(value)
{
    createInNode();
}

UserAndPassword UserAndPasswordNodeProperty::current() const
{
    UserAndPassword record;
    record.fromVariant(valueInNode());
    return record;
}

QString UserAndPasswordNodeProperty::user() const
{
    return current().user;
}

QString UserAndPasswordNodeProperty::password() const
{
    return current().password;
}

bool UserAndPasswordNodeProperty::savePassword() const
{
    return current().savePassword;
}

void UserAndPasswordNodeProperty::setUserAndPassword(
    const QString& user, const QString& password, bool savePassword)
{
    setValueInNode(UserAndPassword(user, password, savePassword).toVariant());
}

void UserAndPasswordNodeProperty::save(IPersistDestination* target) const
{
    target->setValue(name(), valueInNode());
}

void UserAndPasswordNodeProperty::load(IPersistDestination* source)
{
    setValueInNode(source->value(name(), m_initial.toVariant()));
}

void UserAndPasswordNodeProperty::createProperty(tqgen::PropertySet& set) const
{
    set.emplace<tqgen::VariantProperty>(name(), label(), m_initial.toVariant());
}

void UserAndPasswordNodeProperty::setValue(const NodeProperty& other)
{
    if (const auto* login = dynamic_cast<const UserAndPasswordNodeProperty*>(&other))
        setUserAndPassword(login->user(), login->password(), login->savePassword());
}

void UserAndPasswordNodeProperty::updatePropertySet(tqgen::PropertySet&) const { }

bool UserAndPasswordNodeProperty::updateField(const tqgen::BaseProperty& property)
{
    return property.name() == name();
}

} // namespace tq
