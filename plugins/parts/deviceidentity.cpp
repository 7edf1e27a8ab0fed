// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "parts/deviceidentity.h"

#include "devices/ipdevicenode.h"
#include "parts/devicemarks.h"

namespace tq {

namespace {

/** Devices write one and the same UUID in several ways. */
QString plainReference(const QString& reference)
{
    QString plain = reference.trimmed().toLower();
    for (const QLatin1String prefix : { QLatin1String("urn:"), QLatin1String("uuid:") }) {
        if (plain.startsWith(prefix))
            plain.remove(0, prefix.size());
    }
    return plain;
}

DeviceIdentity::EMatch judge(bool isSame)
{
    return isSame ? DeviceIdentity::eSame : DeviceIdentity::eOther;
}

} // namespace

DeviceIdentity::EMatch DeviceIdentity::compare(const DeviceIdentity& other) const
{
    if (!mac.isEmpty() && !other.mac.isEmpty())
        return judge(mac == other.mac);
    if (!serialNumber.isEmpty() && !other.serialNumber.isEmpty())
        return judge(serialNumber.compare(other.serialNumber, Qt::CaseInsensitive) == 0);
    if (!reference.isEmpty() && !other.reference.isEmpty())
        return judge(plainReference(reference) == plainReference(other.reference));
    return eUnknown;
}

DeviceIdentity identityOf(const IPDeviceNode& node)
{
    DeviceIdentity identity{ node.mac(), QString(), QString() };
    if (const auto* const marks = dynamic_cast<const DeviceMarks*>(&node)) {
        identity.serialNumber = marks->serialNumber();
        identity.reference = marks->endpointReference();
    }
    const QString name = node.fullName();
    if (identity.reference.isEmpty() && !isServiceName(name))
        identity.reference = name; // where it stood before it had a place of its own
    return identity;
}

DeviceIdentity identityOf(const HintFacts& facts)
{
    const bool isReference = facts.service == eWSDiscoveryService;
    return { facts.mac, facts.serialNumber, isReference ? facts.serviceId : QString() };
}

} // namespace tq
