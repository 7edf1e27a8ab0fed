// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "labdevice/smbserver.h"

#include <QFile>
#include <QTcpSocket>
#include <QTimer>

namespace lab {

namespace {

const quint16 k_port = 445;
const int k_pause = 50; // ms between two tries
const int k_tries = 100;
const int k_patience = 3000; // ms for smbd to end

const char* const k_global = R"([global]
netbios name = %1
workgroup = WORKGROUP
server role = standalone server
interfaces = %2/32
bind interfaces only = yes
smb ports = 445
disable netbios = yes
passdb backend = tdbsam:%3/state/passdb.tdb
private dir = %3/state
lock directory = %3/state
state directory = %3/state
cache directory = %3/state
pid directory = %3/state
ncalrpc dir = %3/state/ncalrpc
log file = %3/state/log
load printers = no
printing = bsd
printcap name = /dev/null
disable spoolss = yes
usershare max shares = 0
)";

const char* const k_share = R"(
[%1]
path = %2
read only = yes
valid users = %3
read list = %4
write list = %5
)";

QString run(const QString& program, const QStringList& arguments, const QByteArray& input)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    process.write(input);
    process.closeWriteChannel();
    process.waitForFinished();
    if (process.error() == QProcess::UnknownError && process.exitCode() == 0)
        return QString();
    return QStringLiteral("%1: %2 %3")
        .arg(program, process.errorString(), QString::fromUtf8(process.readAll()).simplified());
}

} // namespace

SmbServer::SmbServer(const tq::site::SmbSpec& smb, const QString& name, const QString& folder)
    : m_smb(smb), m_name(name), m_folder(folder)
{
    m_smbd.setProcessChannelMode(QProcess::MergedChannels);
}

SmbServer::~SmbServer()
{
    stop();
}

void SmbServer::start(const QHostAddress& address, const Done& done)
{
    stop();
    QString error;
    if (!m_folder.mkpath(QStringLiteral("state/ncalrpc")))
        error = QStringLiteral("%1 cannot be made").arg(m_folder.path());
    if (error.isEmpty())
        error = write(QStringLiteral("smb.conf"), configuration(address).toUtf8());
    if (error.isEmpty() && !m_prepared)
        error = prepare();
    m_prepared = error.isEmpty();
    if (!error.isEmpty())
        return done(error);
    // In a session of its own already, smbd would not start.
    m_smbd.start(QStringLiteral("smbd"),
        { QStringLiteral("-s"), m_folder.filePath(QStringLiteral("smb.conf")),
            QStringLiteral("--foreground"), QStringLiteral("--debug-stdout") });
    awaitPort(address, k_tries, done);
}

void SmbServer::stop()
{
    if (m_smbd.state() == QProcess::NotRunning)
        return;
    m_smbd.terminate();
    if (!m_smbd.waitForFinished(k_patience))
        m_smbd.kill();
    m_smbd.waitForFinished(k_patience);
}

QString SmbServer::prepare()
{
    QString error;
    for (const tq::site::SmbUser& user : std::as_const(m_smb.users)) {
        const QByteArray line = user.password.toUtf8() + '\n';
        if (error.isEmpty())
            error = run(QStringLiteral("smbpasswd"),
                { QStringLiteral("-c"), m_folder.filePath(QStringLiteral("smb.conf")),
                    QStringLiteral("-s"), QStringLiteral("-a"), user.name },
                line + line);
    }
    for (const tq::site::SmbShare& share : std::as_const(m_smb.shares)) {
        if (error.isEmpty())
            error = prepareShare(share);
    }
    return error;
}

QString SmbServer::prepareShare(const tq::site::SmbShare& share)
{
    const QString path = QStringLiteral("shares/") + share.name;
    QString error;
    if (!m_folder.mkpath(path))
        error = QStringLiteral("%1 cannot be made").arg(m_folder.filePath(path));
    QStringList entries{ QStringLiteral("u::rwx,g::-,o::-") };
    for (const QString& user : share.full)
        entries.append(QStringLiteral("u:%1:rwX").arg(user));
    for (const QString& user : share.readOnly)
        entries.append(QStringLiteral("u:%1:rX").arg(user));
    for (const QString& file : share.files) {
        const QByteArray content =
            "This is " + file.toUtf8() + " of " + share.name.toUtf8() + ".\n";
        if (error.isEmpty())
            error = write(path + QLatin1Char('/') + file, content);
    }
    const QString list = entries.join(QLatin1Char(','));
    const QString folder = m_folder.filePath(path);
    if (error.isEmpty())
        error = run(QStringLiteral("setfacl"),
            { QStringLiteral("-R"), QStringLiteral("-m"), list, folder }, QByteArray());
    if (error.isEmpty())
        error = run(QStringLiteral("setfacl"),
            { QStringLiteral("-d"), QStringLiteral("-m"), list, folder }, QByteArray());
    return error;
}

QString SmbServer::configuration(const QHostAddress& address) const
{
    QString text =
        QString::fromLatin1(k_global).arg(m_name.left(15), address.toString(), m_folder.path());
    for (const tq::site::SmbShare& share : m_smb.shares) {
        const QString path = m_folder.filePath(QStringLiteral("shares/") + share.name);
        const QStringList all = share.full + share.readOnly;
        // An empty list would let everybody in.
        const QString valid = all.isEmpty() ? QStringLiteral("nobody") : all.join(QLatin1Char(' '));
        text += QString::fromLatin1(k_share).arg(share.name, path, valid,
            share.readOnly.join(QLatin1Char(' ')), share.full.join(QLatin1Char(' ')));
    }
    return text;
}

QString SmbServer::write(const QString& file, const QByteArray& content) const
{
    QFile target(m_folder.filePath(file));
    if (target.open(QIODevice::WriteOnly) && target.write(content) == content.size())
        return QString();
    return QStringLiteral("%1: %2").arg(target.fileName(), target.errorString());
}

void SmbServer::awaitPort(const QHostAddress& address, int tries, const Done& done)
{
    if (tries == 0 || m_smbd.state() == QProcess::NotRunning)
        return done(QStringLiteral("smbd does not serve %1: %2 %3")
                        .arg(address.toString(), m_smbd.errorString(),
                            QString::fromUtf8(m_smbd.readAll()).simplified()));
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
