// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
//
// Uses libsmbclient, which is under the GPL, version 3 or later: a program or component that this
// is linked into is under it as well when it is handed on.
#pragma once

#include "drivers/nasdevice/sharereading_p.h"
#include "drivers/nasdevice/smbrelay_p.h"

#include <QByteArray>

#include <memory>
#include <optional>

struct _SMBCCTX;

namespace tq {

/**
 * One user's login at an SMB server behind a relay, through libsmbclient. Every operation blocks.
 *
 * SMB 2 and 3 only, with the user's password and nothing else: no anonymous login, no Kerberos.
 * Whether a login holds is seen at the first operation. The person's own smb.conf is read, as every
 * program with libsmbclient does, and nothing is written. One session at a time in a process.
 */
class SmbSession
{
public:
    /** `traffic` is that of the relay and outlives the session. */
    SmbSession(const UserAndPassword& user, quint16 relayPort, SmbTraffic& traffic);
    ~SmbSession();
    SmbSession(const SmbSession&) = delete;
    SmbSession& operator=(const SmbSession&) = delete;

    /** Returns the names of all shares of folders; nothing on failure. */
    std::optional<QList<QByteArray>> folders();

    /**
     * Returns what the user may do in the top folder of a share: list it, and make a file there.
     *
     * Nothing is changed to find out: the attributes that the folder has are set again, which takes
     * the right to write. On some file systems of servers (tmpfs) the folder's time of a change of
     * metadata shows it, on others not even that. It is only possible for a folder with no other
     * attribute than being one, and whose listing ends within the relay's limit. For the others
     * `mayCreate` allows to make an empty file "nodedb-….tmp" and to delete it at once; without,
     * they count as read-only.
     *
     * Only a server that refuses says what the user may not do: where something else goes wrong,
     * such as a share whose folder is gone or a full disk, nothing is returned.
     */
    std::optional<NASDeviceNode::EAccess> access(const QString& share, bool mayCreate);

    /** Returns the size of the share's file system; nothing where the server does not tell. */
    std::optional<StorageSpace> space(const QString& share);

    /** Returns why the last operation failed: a number of errno. */
    int error() const { return m_error; }

    /** Returns whether the server ended a connection of this session, or cannot be reached. */
    bool isBroken() const;

    /** Returns whether it failed because the user may not. */
    bool isRefused() const;

private:
    class Folder;

    std::optional<bool> canWrite(const QByteArray& url, bool isPlain, bool mayCreate);
    std::optional<bool> canCreate(const QByteArray& url);

    struct Free
    {
        void operator()(_SMBCCTX* context) const;
    };

    QByteArray m_user;
    QByteArray m_password;
    SmbTraffic& m_traffic;
    std::unique_ptr<_SMBCCTX, Free> m_context;
    int m_error = 0;

    friend struct SmbLogin;
};

} // namespace tq
