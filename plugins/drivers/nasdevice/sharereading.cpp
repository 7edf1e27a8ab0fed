// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "drivers/nasdevice/sharereading_p.h"

#include "parts/cleantext.h"

#include <algorithm>

namespace tq {

namespace {

constexpr qsizetype k_mostShares = 1024;
constexpr int k_longestName = 80; ///< characters, as in the standard
constexpr double k_gigabyte = 1e9; ///< bytes

/** Returns the name; empty when no share can be called so. */
QString shareName(const QByteArray& said)
{
    const QString name = QString::fromUtf8(said);
    const auto isForbidden = [](QChar each) {
        return QStringLiteral("\\/:*?\"<>|[]+=;,").contains(each);
    };
    const bool isSound = name.toUtf8() == said && cleanText(said, k_longestName) == name
        && std::none_of(name.begin(), name.end(), isForbidden) && name != QLatin1String(".")
        && name != QLatin1String("..");
    return isSound ? name : QString();
}

bool isSameFileSystem(const StorageSpace& left, const StorageSpace& right)
{
    const quint64 apart = std::max(left.free, right.free) - std::min(left.free, right.free);
    return left.id == right.id && left.total == right.total && apart <= left.total / 100;
}

void setRight(NASDeviceNode::Share& share, const UserRights& right)
{
    QList<NASDeviceNode::AccessControl>& acl = share.acl;
    const auto entry = std::find_if(
        acl.begin(), acl.end(), [&](const auto& each) { return each.user == right.user; });
    if (right.access == NASDeviceNode::eNoAccess) {
        if (entry != acl.end())
            acl.erase(entry);
    } else if (entry != acl.end()) {
        entry->access = right.access;
    } else {
        acl.append({ right.user, right.access });
    }
}

} // namespace

QStringList usableShares(const QList<QByteArray>& names, int& leftOut)
{
    QStringList result;
    for (const QByteArray& said : names) {
        if (said.endsWith('$'))
            continue;
        const QString name = shareName(said);
        if (name.isEmpty() || result.size() == k_mostShares || result.contains(name))
            ++leftOut;
        else
            result.append(name);
    }
    return result;
}

std::optional<StorageSpace> sumOf(const QList<StorageSpace>& shares)
{
    QList<StorageSpace> fileSystems;
    for (const StorageSpace& each : shares) {
        const auto isKnown = [&](const auto& other) { return isSameFileSystem(each, other); };
        if (std::none_of(fileSystems.begin(), fileSystems.end(), isKnown))
            fileSystems.append(each);
    }
    if (fileSystems.isEmpty())
        return std::nullopt;
    StorageSpace sum;
    for (const StorageSpace& each : fileSystems) {
        sum.total += each.total;
        sum.free += each.free;
    }
    return sum;
}

void take(const ShareAnswer& answer, const UserAndPassword& login, NASDeviceNode& node)
{
    node.addLocalUser(login.user, login.password, login.savePassword);
    UserAndPassword& own = node.localUser(login.user); // who may have been there before
    own.password = login.password;
    own.savePassword = own.savePassword && login.savePassword;
    QList<UserAndPassword> users;
    for (const QString& name : node.userNames())
        users.append(node.localUser(name));
    QList<NASDeviceNode::Share> shares;
    for (const QString& name : answer.shares) {
        node.addShare(name, QString(), QLatin1Char('/') + name);
        shares.append(node.share(name));
    }
    for (const UserRights& right : answer.rights) {
        const auto index = answer.shares.indexOf(right.share);
        if (index >= 0 && node.existsLocalUser(right.user))
            setRight(shares[index], right);
    }
    node.updateNode(users, shares);
    if (!answer.space)
        return;
    node.setFloatProperty(
        QStringLiteral("TotalCapacity"), float(double(answer.space->total) / k_gigabyte));
    node.setFloatProperty(
        QStringLiteral("FreeCapacity"), float(double(answer.space->free) / k_gigabyte));
}

} // namespace tq
