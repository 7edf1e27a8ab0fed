// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

namespace tst {

/** A real SMB server on loopback with users and shares of its own; ends with this object. */
class SmbServer
{
public:
    /** What a client other than ours finds out about a user on a share. */
    enum EGrant { eNothing, eList, ePut };

    /** `description` is what the script smb-server takes. */
    explicit SmbServer(const QJsonObject& description);
    ~SmbServer();
    Q_DISABLE_COPY_MOVE(SmbServer)

    /** Returns why there is no server here; empty when it serves. */
    QString problem() const { return m_problem; }

    /** Returns whether that is because this machine has no such server. */
    bool isMissing() const { return m_isMissing; }

    quint16 port() const { return m_port; }
    QString folderOf(const QString& share) const;

    /** Runs commands of smbclient; returns whether all worked. */
    bool run(const QString& share, const QString& user, const QString& password,
        const QString& commands, QByteArray* said = nullptr) const;

    /** Tries it with smbclient. */
    EGrant grantOf(const QString& share, const QString& user, const QString& password) const;

    /** Sends a signal to all processes of the server. */
    void send(int signal);

private:
    void start(const QJsonObject& description);
    bool isServing();

    QTemporaryDir m_folder;
    QProcess m_process;
    quint16 m_port = 0;
    QString m_problem;
    bool m_isMissing = false;
};

} // namespace tst
