// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "labdevice/control.h"

#include "labdevice/avahirestart.h"
#include "labdevice/lab.h"

#include <QFileInfo>
#include <QHash>
#include <QLocalSocket>
#include <QPointer>

namespace lab {

namespace {

using Command = void (Lab::*)(const QString& name, const Done& done);

// The commands that take a device's name and nothing else.
Command commandFor(const QString& verb)
{
    static const QHash<QString, Command> commands{
        { QStringLiteral("start"), &Lab::start },
        { QStringLiteral("stop"), &Lab::stop },
        { QStringLiteral("announce"), &Lab::announce },
        { QStringLiteral("withdraw"), &Lab::withdraw },
    };
    return commands.value(verb, nullptr);
}

} // namespace

Control::Control(Lab& lab) : m_lab(lab)
{
    connect(&m_server, &QLocalServer::newConnection, this, &Control::welcome);
}

QString Control::listen(const QString& path)
{
    if (m_server.listen(path))
        return QString();
    return QStringLiteral("the control socket %1: %2").arg(path, m_server.errorString());
}

void Control::welcome()
{
    QLocalSocket* socket = m_server.nextPendingConnection();
    connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
    connect(socket, &QLocalSocket::readyRead, this, [this, socket] { takeInput(socket); });
}

void Control::takeInput(QLocalSocket* socket)
{
    // A command ends before the next begins, so that the answers come in order.
    if (socket->property("busy").toBool() || !socket->canReadLine())
        return;
    socket->setProperty("busy", true);
    obey(socket, QString::fromUtf8(socket->readLine()));
}

void Control::obey(QLocalSocket* socket, const QString& line)
{
    const Done answer = [this, guard = QPointer(socket)](const QString& error) {
        if (!guard)
            return;
        guard->write(error.isEmpty() ? QByteArray("ok\n") : "error " + error.toUtf8() + '\n');
        guard->setProperty("busy", false);
        takeInput(guard);
    };
    const QStringList words = line.simplified().split(QLatin1Char(' '));
    const QString& verb = words.first();
    if (const auto command = words.size() == 2 ? commandFor(verb) : nullptr) {
        (m_lab.*command)(words.at(1), answer);
    } else if (verb == QLatin1String("address") && words.size() == 3) {
        m_lab.changeAddress(words.at(1), words.at(2), answer);
    } else if (verb == QLatin1String("restart-avahi") && words.size() == 1) {
        restartAvahi(QFileInfo(m_server.fullServerName()).path(), answer);
    } else if (verb == QLatin1String("logins") && words.size() == 2) {
        QString error;
        socket->write(m_lab.logins(words.at(1), &error).toUtf8());
        answer(error);
    } else if (verb == QLatin1String("list") && words.size() == 1) {
        socket->write(m_lab.list().toUtf8());
        answer(QString());
    } else {
        answer(QStringLiteral("\"%1\" is none of: address NAME ADDRESS, stop NAME, start NAME, "
                              "announce NAME, withdraw NAME, restart-avahi, logins NAME, list")
                   .arg(line.simplified()));
    }
}

} // namespace lab
