// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "plugins/smbserver.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>

#include <csignal>
#include <sys/types.h>

namespace tst {

namespace {

constexpr int k_longestStart = 30000; ///< ms
constexpr int k_cannotRun = 77;

} // namespace

SmbServer::SmbServer(const QJsonObject& description)
{
    m_isMissing = QStandardPaths::findExecutable(QStringLiteral("smbclient")).isEmpty();
    if (m_isMissing)
        m_problem = QStringLiteral("skipped: there is no smbclient (package smbclient)");
    else
        start(description);
}

SmbServer::~SmbServer()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    send(SIGCONT);
    m_process.terminate();
    if (!m_process.waitForFinished())
        send(SIGKILL);
    m_process.waitForFinished();
}

void SmbServer::start(const QJsonObject& description)
{
    // The users of the shares must get there.
    QFile::setPermissions(m_folder.path(),
        QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadOther | QFile::ExeOther
            | QFile::ReadGroup | QFile::ExeGroup);
    QTcpServer place;
    place.listen(QHostAddress(QHostAddress::LocalHost));
    m_port = place.serverPort();
    place.close();
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    m_process.start(QStringLiteral(SMB_SERVER),
        { m_folder.path(), QStringLiteral("127.0.0.1"), QString::number(m_port) });
    m_process.write(QJsonDocument(description).toJson());
    m_process.closeWriteChannel();
    const QDeadlineTimer deadline(k_longestStart);
    while (!isServing()) {
        const bool hasEnded = m_process.waitForFinished(50) || deadline.hasExpired();
        if (!hasEnded)
            continue;
        m_isMissing = m_process.exitCode() == k_cannotRun;
        m_problem = QStringLiteral("the server did not start: ")
            + QString::fromLocal8Bit(m_process.readAll()).trimmed();
        return;
    }
}

bool SmbServer::isServing()
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress(QHostAddress::LocalHost), m_port);
    return socket.waitForConnected(1000);
}

QString SmbServer::folderOf(const QString& share) const
{
    return m_folder.filePath(QStringLiteral("shares/") + share);
}

bool SmbServer::run(const QString& share, const QString& user, const QString& password,
    const QString& commands, QByteArray* said) const
{
    QFile login(m_folder.filePath(QStringLiteral("login")));
    if (!login.open(QFile::WriteOnly))
        return false;
    login.write("username = " + user.toUtf8() + "\npassword = " + password.toUtf8() + "\n");
    login.close();
    QProcess client;
    client.start(QStringLiteral("smbclient"),
        { QStringLiteral("//127.0.0.1/") + share, QStringLiteral("-p"), QString::number(m_port),
            QStringLiteral("-A"), login.fileName(), QStringLiteral("-c"), commands });
    const bool hasWorked = client.waitForFinished() && client.exitCode() == 0;
    if (said)
        *said = client.readAll();
    return hasWorked;
}

SmbServer::EGrant SmbServer::grantOf(
    const QString& share, const QString& user, const QString& password) const
{
    if (!run(share, user, password, QStringLiteral("ls")))
        return eNothing;
    const QString put = QStringLiteral("put %1 by-%2; del by-%2");
    return run(share, user, password, put.arg(m_folder.filePath(QStringLiteral("login")), user))
        ? ePut
        : eList;
}

void SmbServer::send(int signal)
{
    if (m_process.processId() > 0)
        ::kill(-pid_t(m_process.processId()), signal);
}

} // namespace tst
