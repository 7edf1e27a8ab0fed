// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>

namespace tq {

/** What announces a service; the values of SServiceInfo::serviceKind. */
enum EServiceKind : int {
    eUnknownServiceKind = 0,
    eCameraServiceKind = 1,
    eStorageServiceKind = 2
};

/** A type of services that is looked for. */
struct ServiceType
{
    QString name; ///< such as _rtsp._tcp, in small letters
    EServiceKind kind = eUnknownServiceKind; ///< unknown: worth a probe
    bool operator==(const ServiceType&) const = default;
};

/**
 * Returns the types that cameras and storage announce, those that tell their kind first.
 *
 * `further` adds to them or changes their kind: entries such as "_foo._tcp=camera", with camera,
 * storage or unknown, separated by commas. Each entry that is none is passed over with a level 2
 * line; so are those beyond 64 types in all.
 */
QList<ServiceType> serviceTypes(const QString& further);

/** Returns whether services of this type are spoken to over TLS. */
bool isSecureType(const QString& type);

} // namespace tq
