// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "scanners/dnssd/servicetypes_p.h"

#include "platform/logline.h"

#include <QMap>
#include <QRegularExpression>
#include <QStringList>

#include <algorithm>
#include <optional>

namespace tq {

namespace {

constexpr qsizetype k_mostTypes = 64; ///< each takes a place among the daemon's 1024 per client

/** The one list of what is looked for. A web server may be anything, and who serves NFS may not
 * serve SMB: only a probe can tell. */
QList<ServiceType> usualTypes()
{
    return {
        { QStringLiteral("_rtsp._tcp"), eCameraServiceKind },
        { QStringLiteral("_rtsps._tcp"), eCameraServiceKind },
        { QStringLiteral("_psia._tcp"), eCameraServiceKind },
        { QStringLiteral("_smb._tcp"), eStorageServiceKind },
        { QStringLiteral("_nfs._tcp"), eUnknownServiceKind },
        { QStringLiteral("_http._tcp"), eUnknownServiceKind },
        { QStringLiteral("_https._tcp"), eUnknownServiceKind },
    };
}

std::optional<ServiceType> readEntry(const QString& entry)
{
    static const QMap<QString, EServiceKind> k_kinds = { { QStringLiteral("camera"),
                                                             eCameraServiceKind },
        { QStringLiteral("storage"), eStorageServiceKind },
        { QStringLiteral("unknown"), eUnknownServiceKind } };
    // As the standard has names of services: up to 15 letters, digits and single hyphens.
    static const QRegularExpression k_name(
        QStringLiteral("\\A_(?=[^.]{1,15}\\.)[a-z0-9]+(-[a-z0-9]+)*\\._(tcp|udp)\\z"));
    const QStringList words = entry.toLower().split(QLatin1Char('='));
    if (words.size() != 2)
        return std::nullopt;
    const QString name = words.at(0).trimmed();
    const auto kind = k_kinds.constFind(words.at(1).trimmed());
    if (kind == k_kinds.constEnd() || !k_name.match(name).hasMatch())
        return std::nullopt;
    return ServiceType{ name, *kind };
}

/** Returns whether there was room. */
bool put(QList<ServiceType>& types, const ServiceType& type)
{
    for (ServiceType& known : types) {
        if (known.name == type.name) {
            known.kind = type.kind;
            return true;
        }
    }
    if (types.size() >= k_mostTypes)
        return false;
    types.append(type);
    return true;
}

} // namespace

QList<ServiceType> serviceTypes(const QString& further)
{
    QList<ServiceType> result = usualTypes();
    const QStringList entries = further.split(QLatin1Char(','), Qt::SkipEmptyParts);
    for (const QString& entry : entries) {
        const auto type = readEntry(entry);
        if (!type)
            logLine(Log::eSurvived, "No DNS-SD service type with a kind: ", entry.left(100));
        else if (!put(result, *type))
            logLine(Log::eSurvived, "Too many DNS-SD service types, passed over: ", type->name);
    }
    std::stable_partition(result.begin(), result.end(),
        [](const ServiceType& type) { return type.kind != eUnknownServiceKind; });
    return result;
}

bool isSecureType(const QString& type)
{
    return type == QLatin1String("_https._tcp") || type == QLatin1String("_rtsps._tcp");
}

} // namespace tq
