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

/** Whether it tells one device from another: many say "0000" or "unknown". */
bool isProper(const QString& serialNumber)
{
    static const QStringList k_fillers{ QStringLiteral("unknown"), QStringLiteral("none"),
        QStringLiteral("n/a"), QStringLiteral("default"), QStringLiteral("123456") };
    return !k_fillers.contains(serialNumber, Qt::CaseInsensitive)
        && serialNumber.count(serialNumber.left(1)) < serialNumber.size();
}

/** Whether both are known and one model, with or without the maker's name. */
bool isSameModel(const QString& left, const QString& right)
{
    if (left.isEmpty() || right.isEmpty())
        return false;
    return left.contains(right, Qt::CaseInsensitive) || right.contains(left, Qt::CaseInsensitive);
}

MACAddress oneDevices(const MACAddress& mac)
{
    return mac.isOneDevices() ? mac : MACAddress();
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
    EMatch byReference = eUnknown;
    if (!reference.isEmpty() && !other.reference.isEmpty())
        byReference = judge(plainReference(reference) == plainReference(other.reference));
    if (!isProper(serialNumber) || !isProper(other.serialNumber))
        return byReference;
    if (serialNumber.compare(other.serialNumber, Qt::CaseInsensitive) != 0)
        return eOther;
    if (byReference == eOther)
        return eUnknown;
    return isSameModel(model, other.model) ? eSame : byReference;
}

DeviceIdentity identityOf(const IPDeviceNode& node)
{
    DeviceIdentity identity{ oneDevices(node.mac()), QString(), QString(), node.modelInfo() };
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
    return { oneDevices(facts.mac), facts.serialNumber, isReference ? facts.serviceId : QString(),
        facts.model };
}

} // namespace tq
