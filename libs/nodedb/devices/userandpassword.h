// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodedb/nodedb_export.h"

#include <QString>
#include <QVariant>

namespace tq {

/** A login and whether its password may be stored. The one form in which it is stored carries a
 * password only then. */
class NODEDB_EXPORT UserAndPassword
{
public:
    /** Makes a blank record: no user, no password, the password may be saved. */
    UserAndPassword() = default;
    UserAndPassword(const QString& user, const QString& password, bool savePassword);

    QString user;
    QString password;
    bool savePassword = true;

    /** Returns [user, savePassword] or [user, true, Base64 of the password's UTF-8 bytes]. Encoded,
     * not protected. */
    QVariant toVariant() const;

    /**
     * Reads what toVariant() made. A value that is no list, or an empty one, changes nothing;
     * missing or odd elements read as empty ones.
     */
    void fromVariant(const QVariant& variant);

    bool operator==(const UserAndPassword&) const = default;
};

} // namespace tq
