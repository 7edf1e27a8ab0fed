// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "devices/nasproperties_p.h"

#include "platform/properties/properties.h"
#include "platform/properties/propertysetproperty.h"

namespace tq::nasproperties {

namespace {

const QString k_user = QStringLiteral("User%1");
const QString k_password = QStringLiteral("Password%1");
const QString k_savePassword = QStringLiteral("SavePassword%1");
const QString k_shareName = QStringLiteral("ShareName%1");
const QString k_volume = QStringLiteral("Volume%1");
const QString k_path = QStringLiteral("Path%1");
const QString k_acl = QStringLiteral("ACL%1");
const QString k_access = QStringLiteral("Access%1");
constexpr int k_entriesPerUser = 3;

tqgen::PropertySet fromRights(const QList<NASDeviceNode::AccessControl>& acl)
{
    using namespace tqgen;
    PropertySet set;
    for (qsizetype i = 0; i < acl.size(); ++i) {
        set.emplace<StringProperty>(k_user.arg(i), NASDeviceNode::tr("local user"), acl.at(i).user);
        set.emplace<IntProperty>(
            k_access.arg(i), NASDeviceNode::tr("access"), int(acl.at(i).access));
    }
    return set;
}

} // namespace

tqgen::PropertySet fromLocalUsers(const QList<UserAndPassword>& users)
{
    using namespace tqgen;
    PropertySet set;
    for (qsizetype i = 0; i < users.size(); ++i) {
        const UserAndPassword& user = users.at(i);
        set.emplace<StringProperty>(k_user.arg(i), NASDeviceNode::tr("local user"), user.user);
        set.emplace<StringProperty>(
            k_password.arg(i), NASDeviceNode::tr("password"), user.password);
        set.emplace<BoolProperty>(
            k_savePassword.arg(i), NASDeviceNode::tr("save password"), user.savePassword);
    }
    return set;
}

QList<UserAndPassword> toLocalUsers(const tqgen::PropertySet& set)
{
    QList<UserAndPassword> users;
    for (qsizetype i = 0; i < set.size() / k_entriesPerUser; ++i) {
        users.append({ tqgen::getValue(set.find(k_user.arg(i)), QString()),
            tqgen::getValue(set.find(k_password.arg(i)), QString()),
            tqgen::getValue(set.find(k_savePassword.arg(i)), true) });
    }
    return users;
}

tqgen::PropertySet fromShares(const QList<NASDeviceNode::Share>& shares)
{
    using namespace tqgen;
    PropertySet set;
    for (qsizetype i = 0; i < shares.size(); ++i) {
        const NASDeviceNode::Share& share = shares.at(i);
        set.emplace<StringProperty>(
            k_shareName.arg(i), NASDeviceNode::tr("share name"), share.shareName);
        set.emplace<StringProperty>(k_volume.arg(i), NASDeviceNode::tr("volume"), share.volume);
        set.emplace<StringProperty>(k_path.arg(i), NASDeviceNode::tr("Path"), share.path);
        set.emplace<PropertySetProperty>(
            k_acl.arg(i), NASDeviceNode::tr("access control list"), fromRights(share.acl));
    }
    return set;
}

} // namespace tq::nasproperties
