// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
//
// Uses libsmbclient, which is under the GPL, version 3 or later: a program or component that this
// is linked into is under it as well when it is handed on.
#include "drivers/nasdevice/sharereader_p.h"

#include "drivers/nasdevice/smbsession_p.h"

namespace tq {

namespace {

/** One reading. It ends with the first connection that does not hold. */
class ShareReader
{
public:
    ShareReader(const ShareQuestion& question, quint16 port, SmbTraffic& traffic)
        : m_question(question), m_port(port), m_traffic(traffic)
    {
    }

    ShareAnswer read()
    {
        if (!listShares())
            return m_answer;
        for (const UserAndPassword& user : m_question.users) {
            if (!readRights(user))
                return m_answer;
        }
        m_answer.space = sumOf(m_spaces);
        m_answer.outcome = ShareAnswer::eRead;
        return m_answer;
    }

private:
    bool listShares()
    {
        SmbSession session(m_question.login, m_port, m_traffic);
        const auto names = session.folders();
        if (names) {
            m_answer.shares = usableShares(*names, m_answer.leftOut);
            return true;
        }
        if (session.isRefused())
            m_answer.outcome = ShareAnswer::eRefused;
        return fail(session);
    }

    bool readRights(const UserAndPassword& user)
    {
        {
            SmbSession session(user, m_port, m_traffic);
            if (!session.folders()) {
                if (!session.isRefused())
                    return fail(session);
                m_answer.refusedUsers.append(user.user);
                return true;
            }
        }
        for (const QString& share : m_answer.shares) {
            if (!readRight(user, share))
                return false;
        }
        return true;
    }

    /** In a session of its own: libsmbclient keeps a connection for each share of a session. */
    bool readRight(const UserAndPassword& user, const QString& share)
    {
        SmbSession session(user, m_port, m_traffic);
        const auto access = session.access(share, m_question.mayCreate);
        if (m_traffic.isEnded || (!access && session.isBroken()))
            return fail(session);
        if (access)
            m_answer.rights.append({ share, user.user, *access });
        else
            ++m_answer.unknown;
        if (access && *access != NASDeviceNode::eNoAccess)
            readSpace(session, share);
        return true;
    }

    void readSpace(SmbSession& session, const QString& share)
    {
        if (m_measured.contains(share))
            return;
        m_measured.append(share);
        if (const auto space = session.space(share))
            m_spaces.append(*space);
    }

    bool fail(const SmbSession& session)
    {
        m_answer.reason = qt_error_string(session.error());
        return false;
    }

    const ShareQuestion& m_question;
    quint16 m_port;
    SmbTraffic& m_traffic;
    QStringList m_measured; ///< shares
    QList<StorageSpace> m_spaces;
    ShareAnswer m_answer;
};

} // namespace

ShareAnswer readShares(const ShareQuestion& question, quint16 relayPort, SmbTraffic& traffic)
{
    // libsmbclient takes port 0 for the usual one, and the login must not go to another server.
    return relayPort == 0 ? ShareAnswer() : ShareReader(question, relayPort, traffic).read();
}

} // namespace tq
