// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "persistence/storeplace_p.h"

#include "persistence/storefactory.h"

#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>

#include <algorithm>
#include <array>
#include <sys/stat.h>

namespace tq {

namespace {

bool isNetwork(const QByteArray& fileSystem)
{
    static constexpr std::array k_kinds{ "9p", "afs", "ceph", "cifs", "coda", "davfs",
        "fuse.ceph-fuse", "fuse.curlftpfs", "fuse.davfs", "fuse.gcsfuse", "fuse.glusterfs",
        "fuse.gvfsd-fuse", "fuse.rclone", "fuse.s3fs", "fuse.smbnetfs", "fuse.sshfs", "lustre",
        "ncpfs", "nfs", "nfs4", "orangefs", "smb3", "smbfs" };
    return std::find(k_kinds.begin(), k_kinds.end(), fileSystem) != k_kinds.end();
}

} // namespace

QString whyNotChangeable(const QString& store)
{
    const QString path = storeFilePath(store);
    if (path.isEmpty())
        return QString();
    struct stat status = {};
    const bool exists = ::lstat(QFile::encodeName(path).constData(), &status) == 0;
    if (exists && status.st_nlink > 1)
        return QStringLiteral("The store %1 is not changed, as its file has %2 names (hard links) "
                              "that know nothing of each other; copy it to a file of its own.")
            .arg(path)
            .arg(status.st_nlink);
    const QStorageInfo place(exists ? path : QFileInfo(path).path());
    if (exists && place.rootPath() == path)
        return QStringLiteral("The store %1 is not changed, as its file is mounted by itself and "
                              "has another name elsewhere; mount its folder instead.")
            .arg(path);
    if (store.startsWith(QStringLiteral("sqlite:")) && isNetwork(place.fileSystemType()))
        return QStringLiteral("The store %1 is not changed, as SQLite cannot rely on the locks of "
                              "a network file system (%2); use an INI store there.")
            .arg(path, QString::fromUtf8(place.fileSystemType()));
    return QString();
}

} // namespace tq
