// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "devices/inasnodedatareader.h"
#include "devices/ipdevicenode.h"
#include "devices/userandpassword.h"

namespace tq {

/**
 * A network storage: an IP device with local users, and shares with a list of rights each.
 *
 * Names are compared exactly. Requests with unknown names do nothing, unless they would have to
 * return a reference. The lists are no fields of the property set: it holds them, as the nested
 * sets "LocalUsers" and "Shares", as they were when the node was made. The kinds of storage that
 * drivers make derive from this class and say where a share is reached and how much room is left.
 */
class NODEDB_EXPORT NASDeviceNode : public IPDeviceNode, public virtual INASNodeDataReader
{
    Q_OBJECT

public:
    enum EAccess : int {
        eFullAccess = 0,
        eReadOnlyAccess = 1,
        eNoAccess = 2, ///< also of unknown shares and users; never in a list of rights
    };

    /** What one local user may do on a share. */
    struct AccessControl
    {
        QString user;
        EAccess access = eNoAccess;

        bool operator==(const AccessControl&) const = default;
    };

    struct Share
    {
        QString shareName;
        QString volume;
        QString path;
        QList<AccessControl> acl; ///< at most one entry per user

        bool operator==(const Share&) const = default;
    };

    NASDeviceNode(ENodeType type, const QString& id);
    ~NASDeviceNode() override;
    Q_DISABLE_COPY_MOVE(NASDeviceNode)

    void deepCopy(Node* target) const override;
    void updatePropertySet() const override;
    bool updateField(const tqgen::BaseProperty& property) override;
    void save(IPersistDestination* target) const override;

    /** Appends what is stored to the lists: load into a new node. */
    void load(IPersistDestination* source) override;

    /** Appends a user; nothing happens when there is one of that name. */
    virtual void addLocalUser(const QString& user, const QString& password, bool savePassword);
    virtual bool existsLocalUser(const QString& user) const;

    /** Removes the user, but not their rights, which count again if the user comes back. */
    virtual void removeLocalUser(const QString& user);

    /** Returns the user; throws IllegalArgumentException "unknown user". */
    virtual UserAndPassword& localUser(const QString& user);
    virtual const UserAndPassword& localUser(const QString& user) const;

    /** Appends a share without rights; nothing happens when there is one of that name. */
    virtual void addShare(const QString& shareName, const QString& volume, const QString& path);
    virtual bool existsShare(const QString& shareName) const;
    virtual void removeShare(const QString& shareName);

    /** Returns the share; throws IllegalArgumentException "unknown share name". */
    virtual Share& share(const QString& shareName);
    virtual const Share& share(const QString& shareName) const;

    /** Returns what the list of rights says; eNoAccess without an entry. */
    virtual EAccess accessRights(const QString& shareName, const QString& user) const;

    /** Sets, appends or (eNoAccess) removes the entry of a local user on a share. */
    virtual void setAccessRights(const QString& shareName, const QString& user, EAccess access);

    /** Replaces the whole list of a share, whoever stands in it. */
    virtual void setAccessRights(const QString& shareName, const QList<AccessControl>& acl);

    /** Replaces both lists: what a driver has read from the device. */
    virtual void updateNode(const QList<UserAndPassword>& users, const QList<Share>& shares);
    virtual QStringList userNames() const;
    virtual QList<Share> shares() const;

    QString serverName() const override;
    QStringList shareNames() const override;
    QList<UserCredential> usersWithFullAccess(const QString& shareName) const override;
    QList<UserCredential> usersWithReadOnlyAccess(const QString& shareName) const override;

    /**
     * Replaces the local users by those of a property set like the nested "LocalUsers": "User0",
     * "Password0", "SavePassword0" and so on, a third of the set's size. Missing entries are empty
     * texts and a set flag.
     */
    void fillLocalUsersFromPropertySet(const tqgen::PropertySet& set);

protected:
    /** Adds this class's entries to the property set. */
    void createPropertySet();

private:
    QList<UserCredential> usersWithAccess(const QString& shareName, EAccess access) const;

    QList<UserAndPassword> m_localUsers;
    QList<Share> m_shares;
    SimpleNodeProperty<float> m_totalCapacity;
    SimpleNodeProperty<float> m_freeCapacity;
    SimpleNodeProperty<bool> m_upsAvailable;
};

} // namespace tq
