// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "parts/devicemarks.h"

#include "environments/environments.h"

#include "platform/persistscope.h"
#include "platform/properties/properties.h"

#include <QCoreApplication>

namespace tq {

namespace {

const QString k_confirmedIn = QStringLiteral("ConfirmedIn");
const QString k_isConfirmed = QStringLiteral("AddressConfirmed");

QString label(const char* text)
{
    return QCoreApplication::translate("tq::DeviceMarks", text);
}

} // namespace

DeviceMarks::DeviceMarks(Node* node)
    : m_confirmedIn(k_confirmedIn, QString())
    , m_reference(label("Endpoint reference"), node, QStringLiteral("EndpointReference"))
{
}

DeviceMarks::~DeviceMarks() = default;

bool DeviceMarks::isAddressConfirmed() const
{
    return m_confirmedIn.value() == Environments::activeEnvironment();
}

void DeviceMarks::confirmAddress()
{
    const QString active = Environments::activeEnvironment();
    m_confirmedIn.set(active, active);
}

void DeviceMarks::setEndpointReference(const QString& reference)
{
    m_reference.set(reference);
}

void DeviceMarks::createProperties(tqgen::PropertySet& set) const
{
    set.emplace<tqgen::BoolProperty>(
        k_isConfirmed, label("Address is confirmed in this environment"), isAddressConfirmed());
    m_reference.createProperty(set);
}

void DeviceMarks::updateProperties(tqgen::PropertySet& set) const
{
    set.setValue(k_isConfirmed, isAddressConfirmed());
}

void DeviceMarks::forgetMark(const QString& environment)
{
    m_confirmedIn.set(environment, QString());
}

void DeviceMarks::copyMarks(DeviceMarks& target) const
{
    target.m_confirmedIn.assign(m_confirmedIn);
}

void DeviceMarks::saveMarks(IPersistDestination* target) const
{
    const PersistGroup group(target, k_confirmedIn);
    m_confirmedIn.save(target);
}

void DeviceMarks::loadMarks(IPersistDestination* source)
{
    const PersistGroup group(source, k_confirmedIn);
    const bool isTold = source->beginReadArray(QStringLiteral("Environment")) > 0;
    source->endArray();
    m_confirmedIn.load(source);
    if (!isTold)
        confirmAddress();
}

void DeviceMarks::moveMarks(QThread* thread)
{
    m_confirmedIn.moveToThread(thread);
}

} // namespace tq
