// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodedb/nodedb_export.h"

#include "platform/interface.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace tq {

/**
 * What other components may ask of a network storage without knowing its node class: whoever sets
 * up recordings chooses a share and a login here.
 *
 * Answers are copies. Ask a node that the database holds, on the database's thread.
 */
class NODEDB_EXPORT INASNodeDataReader : public virtual IInterface
{
public:
    /** A local user of the storage. */
    struct UserCredential
    {
        QString user;
        QString password; ///< empty when it is not known
    };

    ~INASNodeDataReader() override;
    IInterface* getInterface(const std::string& name) override;
    const IInterface* getInterface(const std::string& name) const override;

    /** Returns the storage's name for people. */
    virtual QString serverName() const = 0;

    /** Returns the names of the shares in the storage's order. */
    virtual QStringList shareNames() const = 0;

    /** Returns the local users who may read and write on the share, in the storage's order; none
     * for an unknown share. */
    virtual QList<UserCredential> usersWithFullAccess(const QString& share) const = 0;

    /** Returns the local users who may only read, likewise. */
    virtual QList<UserCredential> usersWithReadOnlyAccess(const QString& share) const = 0;

    /**
     * Returns the URL under which a recorder reaches the share, without a login, such as
     * smb://10.77.0.20/records; empty for an unknown share and for a storage without an address.
     */
    virtual QString shareUrl(const QString& share) const = 0;

    /** Returns the room that is left for recordings on the whole storage, in GB (10^9 bytes); 0
     * when the storage has not told. */
    virtual float freeSpace() const = 0;
};

} // namespace tq
