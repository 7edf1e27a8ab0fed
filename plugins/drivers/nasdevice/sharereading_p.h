// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "devices/nasdevicenode.h"
#include "devices/userandpassword.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace tq {

/** How large a file system is; bytes. */
struct StorageSpace
{
    quint64 total = 0;
    quint64 free = 0;
    quint64 id = 0; ///< of the file system; 0 where the server does not tell

    bool operator==(const StorageSpace&) const = default;
};

/** What to find out of a storage. */
struct ShareQuestion
{
    UserAndPassword login; ///< lists the shares
    QList<UserAndPassword> users; ///< whose rights are wanted, the login's among them
    bool mayCreate = false; ///< an empty file, to learn who may write
};

/** What one user may do. */
struct UserRights
{
    QString share;
    QString user;
    NASDeviceNode::EAccess access = NASDeviceNode::eNoAccess;
};

/** What a storage said. */
struct ShareAnswer
{
    enum EOutcome {
        eRead,
        eRefused, ///< the login
        eFailed, ///< see `reason`
    };

    EOutcome outcome = eFailed;
    QString reason; ///< what the system calls it
    QStringList shares;
    int leftOut = 0; ///< shares that cannot be used, or are too many
    QStringList refusedUsers; ///< whose rights are therefore not known
    QList<UserRights> rights; ///< of each other user on each share, as far as they are known
    int unknown = 0; ///< rights that could not be found out
    std::optional<StorageSpace> space; ///< of all file systems that hold shares
};

/**
 * Picks the shares to keep out of the names of folders that a server listed: no hidden ones, which
 * end in "$", and none that cannot be a share's name. They are UTF-8. At most 1,024 are kept; each
 * other one that is not hidden is added to `leftOut`.
 */
QStringList usableShares(const QList<QByteArray>& names, int& leftOut);

/**
 * Adds up file systems, each once. Shares are on one where the ids are equal, the sizes are too,
 * and the free room differs by less than a hundredth of the size: it changes between two answers,
 * and most servers tell no id. Two equally large and equally full volumes count once then: too
 * little is better than too much.
 */
std::optional<StorageSpace> sumOf(const QList<StorageSpace>& shares);

/** Puts an answer into a node that is being edited. The login is a local user with its password
 * afterwards; one that was there keeps saying whether that may be saved. The rights of users whose
 * rights were not read, and what a person said of a share that still exists, stay as they are. */
void take(const ShareAnswer& answer, const UserAndPassword& login, NASDeviceNode& node);

} // namespace tq
