// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "labdevice/smbserver.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTcpSocket>
#include <QTimer>

namespace lab {

namespace {

const quint16 k_port = 445;
const int k_pause = 50; // ms between two tries
const int k_tries = 150;
const int k_patience = 3000; // ms for the server to end

QByteArray describe(const tq::site::SmbSpec& smb)
{
    const QString name = QStringLiteral("name");
    QJsonArray users;
    for (const tq::site::SmbUser& user : smb.users)
        users.append(
            QJsonObject{ { name, user.name }, { QStringLiteral("password"), user.password } });
    QJsonArray shares;
    for (const tq::site::SmbShare& share : smb.shares) {
        shares.append(QJsonObject{ { name, share.name },
            { QStringLiteral("full"), QJsonArray::fromStringList(share.full) },
            { QStringLiteral("readOnly"), QJsonArray::fromStringList(share.readOnly) },
            { QStringLiteral("files"), QJsonArray::fromStringList(share.files) } });
    }
    const QJsonObject all{ { QStringLiteral("users"), users },
        { QStringLiteral("shares"), shares } };
    return QJsonDocument(all).toJson();
}

} // namespace

SmbServer::SmbServer(const tq::site::SmbSpec& smb, const QString& program, const QString& folder)
    : m_description(describe(smb)), m_folder(folder)
{
    m_server.setProgram(program);
    m_server.setProcessChannelMode(QProcess::MergedChannels);
}

SmbServer::~SmbServer()
{
    stop();
}

void SmbServer::start(const QHostAddress& address, const Done& done)
{
    stop();
    m_server.setArguments({ m_folder, address.toString(), QString::number(k_port) });
    m_server.start();
    m_server.write(m_description);
    m_server.closeWriteChannel();
    awaitPort(address, k_tries, done);
}

void SmbServer::stop()
{
    if (m_server.state() == QProcess::NotRunning)
        return;
    m_server.terminate();
    if (!m_server.waitForFinished(k_patience))
        m_server.kill();
    m_server.waitForFinished(k_patience);
}

void SmbServer::awaitPort(const QHostAddress& address, int tries, const Done& done)
{
    if (tries == 0 || m_server.state() == QProcess::NotRunning)
        return done(QStringLiteral("%1 does not serve %2: %3 %4")
                        .arg(m_server.program(), address.toString(), m_server.errorString(),
                            QString::fromUtf8(m_server.readAll()).simplified()));
    auto* socket = new QTcpSocket(this);
    connect(socket, &QTcpSocket::connected, this, [socket, done] {
        socket->deleteLater();
        done(QString());
    });
    connect(socket, &QTcpSocket::errorOccurred, this, [this, socket, address, tries, done] {
        socket->deleteLater();
        QTimer::singleShot(
            k_pause, this, [this, address, tries, done] { awaitPort(address, tries - 1, done); });
    });
    socket->connectToHost(address, k_port);
}

} // namespace lab
