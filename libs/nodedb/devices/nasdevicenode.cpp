// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "devices/nasdevicenode.h"

#include "devices/nasproperties_p.h"

#include "platform/exceptions.h"
#include "platform/persistscope.h"
#include "platform/properties/propertysetproperty.h"

#include <algorithm>

namespace tq {

namespace {

const QString k_localUsers = QStringLiteral("LocalUsers");
const QString k_shares = QStringLiteral("Shares");
const QString k_user = QStringLiteral("User");
const QString k_shareName = QStringLiteral("Sharename");
const QString k_volume = QStringLiteral("Volume");
const QString k_path = QStringLiteral("Path");
const QString k_acl = QStringLiteral("ACL");
const QString k_access = QStringLiteral("Access");

/** Finds the element of `list` whose `field` is `name`. */
template <class List, class Field>
auto findBy(List& list, Field field, const QString& name)
{
    return std::find_if(
        list.begin(), list.end(), [&](const auto& element) { return element.*field == name; });
}

/** Returns that element; throws with `message` when there is none. */
template <class List, class Field>
auto& require(List& list, Field field, const QString& name, const char* message)
{
    const auto found = findBy(list, field, name);
    if (found == list.end())
        throw IllegalArgumentException(name, QLatin1String(message));
    return *found;
}

template <class List, class Field>
bool contains(const List& list, Field field, const QString& name)
{
    return findBy(list, field, name) != list.end();
}

template <class List, class Field>
void removeFirst(List& list, Field field, const QString& name)
{
    const auto found = findBy(list, field, name);
    if (found != list.end())
        list.erase(found);
}

constexpr auto k_byUser = &UserAndPassword::user;
constexpr auto k_byShareName = &NASDeviceNode::Share::shareName;
constexpr auto k_byLocalUser = &NASDeviceNode::AccessControl::user;
constexpr auto k_unknownUser = "unknown user";
constexpr auto k_unknownShare = "unknown share name";

void saveRights(IPersistDestination* target, const QList<NASDeviceNode::AccessControl>& acl)
{
    PersistWriteArray array(target, k_acl);
    for (const NASDeviceNode::AccessControl& entry : acl) {
        array.next();
        target->setValue(k_user, entry.user);
        target->setValue(k_access, int(entry.access));
    }
}

QList<NASDeviceNode::AccessControl> loadRights(IPersistDestination* source)
{
    using Entry = NASDeviceNode::AccessControl;
    return readPersistedEntries<Entry>(source, k_acl, [&](Entry& entry) {
        const QVariant user = source->value(k_user, QVariant());
        const QVariant access = source->value(k_access, QVariant());
        entry.user = user.toString();
        entry.access = NASDeviceNode::EAccess(access.toInt());
        return user.isValid() || access.isValid();
    });
}

} // namespace

NASDeviceNode::NASDeviceNode(ENodeType type, const QString& id)
    : IPDeviceNode(type, id)
    , m_totalCapacity(tr("total capacity"), this, QStringLiteral("TotalCapacity"))
    , m_freeCapacity(tr("free capacity"), this, QStringLiteral("FreeCapacity"))
    , m_upsAvailable(tr("UPS available"), this, QStringLiteral("UPSAvailable"))
{
    createPropertySet();
}

NASDeviceNode::~NASDeviceNode() = default;

void NASDeviceNode::createPropertySet()
{
    using tqgen::PropertySetProperty;
    tqgen::PropertySet& set = propertySet();
    set.emplace<PropertySetProperty>(
        k_localUsers, tr("Local users"), nasproperties::fromLocalUsers(m_localUsers));
    set.emplace<PropertySetProperty>(k_shares, tr("Shares"), nasproperties::fromShares(m_shares));
    m_totalCapacity.createProperty(set);
    m_freeCapacity.createProperty(set);
    m_upsAvailable.createProperty(set);
}

// kept: neither the refresh nor an edited field touches the nested sets
void NASDeviceNode::updatePropertySet() const
{
    IPDeviceNode::updatePropertySet();
}

bool NASDeviceNode::updateField(const tqgen::BaseProperty& property)
{
    return IPDeviceNode::updateField(property);
}

void NASDeviceNode::deepCopy(Node* target) const
{
    IPDeviceNode::deepCopy(target);
    auto* const storage = static_cast<NASDeviceNode*>(target);
    storage->m_localUsers = m_localUsers;
    storage->m_shares = m_shares;
}

void NASDeviceNode::save(IPersistDestination* target) const
{
    IPDeviceNode::save(target);
    {
        PersistWriteArray array(target, k_localUsers);
        for (const UserAndPassword& user : m_localUsers) {
            array.next();
            target->setValue(k_user, user.toVariant());
        }
    }
    PersistWriteArray array(target, k_shares);
    for (const Share& share : m_shares) {
        array.next();
        target->setValue(k_shareName, share.shareName);
        target->setValue(k_volume, share.volume);
        target->setValue(k_path, share.path);
        saveRights(target, share.acl);
    }
}

void NASDeviceNode::load(IPersistDestination* source)
{
    IPDeviceNode::load(source);
    m_localUsers +=
        readPersistedEntries<UserAndPassword>(source, k_localUsers, [&](UserAndPassword& user) {
            const QVariant record = source->value(k_user, QVariant());
            user.fromVariant(record);
            return record.isValid();
        });
    m_shares += readPersistedEntries<Share>(source, k_shares, [&](Share& share) {
        const QVariant name = source->value(k_shareName, QVariant());
        share.shareName = name.toString();
        share.volume = source->value(k_volume, QVariant()).toString();
        share.path = source->value(k_path, QVariant()).toString();
        share.acl = loadRights(source);
        return name.isValid();
    });
}

void NASDeviceNode::addLocalUser(const QString& user, const QString& password, bool savePassword)
{
    if (!existsLocalUser(user))
        m_localUsers.append({ user, password, savePassword });
}

bool NASDeviceNode::existsLocalUser(const QString& user) const
{
    return contains(m_localUsers, k_byUser, user);
}

void NASDeviceNode::removeLocalUser(const QString& user)
{
    removeFirst(m_localUsers, k_byUser, user);
}

UserAndPassword& NASDeviceNode::localUser(const QString& user)
{
    return require(m_localUsers, k_byUser, user, k_unknownUser);
}

const UserAndPassword& NASDeviceNode::localUser(const QString& user) const
{
    return require(m_localUsers, k_byUser, user, k_unknownUser);
}

void NASDeviceNode::addShare(const QString& shareName, const QString& volume, const QString& path)
{
    if (!existsShare(shareName))
        m_shares.append({ shareName, volume, path, {} });
}

bool NASDeviceNode::existsShare(const QString& shareName) const
{
    return contains(m_shares, k_byShareName, shareName);
}

void NASDeviceNode::removeShare(const QString& shareName)
{
    removeFirst(m_shares, k_byShareName, shareName);
}

NASDeviceNode::Share& NASDeviceNode::share(const QString& shareName)
{
    return require(m_shares, k_byShareName, shareName, k_unknownShare);
}

const NASDeviceNode::Share& NASDeviceNode::share(const QString& shareName) const
{
    return require(m_shares, k_byShareName, shareName, k_unknownShare);
}

NASDeviceNode::EAccess NASDeviceNode::accessRights(
    const QString& shareName, const QString& user) const
{
    if (!existsShare(shareName))
        return eNoAccess;
    const QList<AccessControl>& acl = share(shareName).acl;
    const auto entry = findBy(acl, k_byLocalUser, user);
    return entry == acl.end() ? eNoAccess : entry->access;
}

void NASDeviceNode::setAccessRights(const QString& shareName, const QString& user, EAccess access)
{
    if (!existsShare(shareName) || !existsLocalUser(user))
        return;
    QList<AccessControl>& acl = share(shareName).acl;
    const auto entry = findBy(acl, k_byLocalUser, user);
    if (access == eNoAccess)
        removeFirst(acl, k_byLocalUser, user);
    else if (entry == acl.end())
        acl.append({ user, access });
    else
        entry->access = access;
}

void NASDeviceNode::setAccessRights(const QString& shareName, const QList<AccessControl>& acl)
{
    if (existsShare(shareName))
        share(shareName).acl = acl;
}

void NASDeviceNode::updateNode(const QList<UserAndPassword>& users, const QList<Share>& shares)
{
    m_localUsers = users;
    m_shares = shares;
}

QStringList NASDeviceNode::userNames() const
{
    QStringList names;
    for (const UserAndPassword& user : m_localUsers)
        names.append(user.user);
    return names;
}

QList<NASDeviceNode::Share> NASDeviceNode::shares() const
{
    return m_shares;
}

QString NASDeviceNode::serverName() const
{
    return name();
}

QStringList NASDeviceNode::shareNames() const
{
    QStringList names;
    for (const Share& share : m_shares)
        names.append(share.shareName);
    return names;
}

QList<INASNodeDataReader::UserCredential> NASDeviceNode::usersWithFullAccess(
    const QString& shareName) const
{
    return usersWithAccess(shareName, eFullAccess);
}

QList<INASNodeDataReader::UserCredential> NASDeviceNode::usersWithReadOnlyAccess(
    const QString& shareName) const
{
    return usersWithAccess(shareName, eReadOnlyAccess);
}

QList<INASNodeDataReader::UserCredential> NASDeviceNode::usersWithAccess(
    const QString& shareName, EAccess access) const
{
    QList<UserCredential> users;
    for (const UserAndPassword& user : m_localUsers) {
        if (accessRights(shareName, user.user) == access)
            users.append({ user.user, user.password });
    }
    return users;
}

void NASDeviceNode::fillLocalUsersFromPropertySet(const tqgen::PropertySet& set)
{
    m_localUsers = nasproperties::toLocalUsers(set);
}

} // namespace tq
