// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "platform/trustedpath_p.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tq::plugin {

namespace {

uint readNumber(const QString& path, uint otherwise)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return otherwise;
    bool ok = false;
    const uint number = file.readAll().trimmed().toUInt(&ok);
    return ok ? number : otherwise;
}

/** Whether this process runs in a user namespace that does not know all users. */
bool inUserNamespace()
{
    QFile map(QStringLiteral("/proc/self/uid_map"));
    if (!map.open(QIODevice::ReadOnly))
        return false;
    return map.readAll().simplified() != "0 0 4294967295";
}

bool isTrustedOwner(uid_t owner)
{
    if (owner == 0 || owner == ::geteuid())
        return true;
    constexpr uint k_usualOverflowUser = 65534;
    return inUserNamespace()
        && owner == readNumber(QStringLiteral("/proc/sys/kernel/overflowuid"), k_usualOverflowUser);
}

/** Whether the passwd database gives `group` as the primary group of anybody but `owner`. */
bool isPrimaryGroupOfOthers(gid_t group, uid_t owner)
{
    bool found = false;
    ::setpwent();
    while (const passwd* const entry = ::getpwent())
        found = found || (entry->pw_gid == group && entry->pw_uid != owner);
    ::endpwent();
    return found;
}

bool isOwnersPrivateGroup(gid_t group, uid_t owner)
{
    const passwd* const user = ::getpwuid(owner);
    if (!user || user->pw_gid != group)
        return false;
    const QByteArray name = user->pw_name;
    const struct group* const entry = ::getgrgid(group);
    for (char** member = entry ? entry->gr_mem : nullptr; member && *member; ++member) {
        if (name != *member)
            return false;
    }
    return !isPrimaryGroupOfOthers(group, owner);
}

} // namespace

QString whyNotTrusted(const QString& path)
{
    struct stat status
    {
    };
    if (::stat(QFile::encodeName(path).constData(), &status) != 0)
        return QString::fromLocal8Bit(std::strerror(errno));
    if (!isTrustedOwner(status.st_uid))
        return QStringLiteral("it belongs to user %1").arg(status.st_uid);
    if (status.st_mode & S_IWOTH)
        return QStringLiteral("anybody may write to it");
    if ((status.st_mode & S_IWGRP) && !isOwnersPrivateGroup(status.st_gid, status.st_uid))
        return QStringLiteral("group %1 may write to it").arg(status.st_gid);
    return QString();
}

} // namespace tq::plugin
