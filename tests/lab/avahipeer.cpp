// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "lab/avahipeer.h"

#include <QDir>
#include <QFile>
#include <QProcessEnvironment>
#include <QStandardPaths>

namespace tst {

namespace {

constexpr int k_mostTries = 5; ///< of publishing
constexpr int k_patience = 30000; // ms
constexpr char k_variable[] = "DBUS_SYSTEM_BUS_ADDRESS";

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

constexpr char k_busConfiguration[] = R"(<!DOCTYPE busconfig PUBLIC
 "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>%1</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <allow own="*"/>
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
  </policy>
</busconfig>
)";

constexpr char k_daemonConfiguration[] = R"([server]
host-name=%1
use-ipv4=yes
use-ipv6=yes
allow-interfaces=%2
[publish]
publish-hinfo=no
publish-workstation=no
)";

bool write(const QString& path, const QString& content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content.toUtf8()) >= 0 && file.flush();
}

bool isRunning(const std::unique_ptr<QProcess>& process)
{
    return process && process->state() == QProcess::Running;
}

/** A program of the system; daemons are not on every user's path. */
QString programOf(const QString& name)
{
    const QString found = QStandardPaths::findExecutable(name);
    return found.isEmpty()
        ? QStandardPaths::findExecutable(name, { text("/usr/sbin"), text("/sbin") })
        : found;
}

} // namespace

AvahiPeer::AvahiPeer(
    const QString& hostName, const QStringList& interfaces, const QStringList& enter)
    : m_enter(enter)
{
    QDir(m_folder.path()).mkdir(text("services"));
    write(m_folder.filePath(text("bus.conf")), text(k_busConfiguration).arg(busAddress()));
    write(m_folder.filePath(text("avahi.conf")),
        text(k_daemonConfiguration).arg(hostName, interfaces.join(QLatin1Char(','))));
}

AvahiPeer::~AvahiPeer()
{
    withdrawAll();
    kill(m_daemon);
    kill(m_bus);
}

QString AvahiPeer::obstacle()
{
    for (const char* const name :
        { "dbus-daemon", "avahi-daemon", "avahi-publish", "unshare", "nsenter", "mount", "ip" }) {
        if (programOf(text(name)).isEmpty())
            return text("the program is missing: ") + text(name);
    }
    // The daemon gives its folder to a user of its own, whom a user's own namespace does not know.
    QFile map(text("/proc/self/uid_map"));
    if (map.open(QIODevice::ReadOnly) && map.readAll().simplified().endsWith(" 1"))
        return text("Avahi's daemon takes root");
    return QString();
}

QString AvahiPeer::busAddress() const
{
    return text("unix:path=") + m_folder.filePath(text("bus"));
}

bool AvahiPeer::startBus()
{
    if (isRunning(m_bus))
        return true;
    QFile::remove(m_folder.filePath(text("bus"))); // of one that was killed
    m_bus = run({ programOf(text("dbus-daemon")),
                    text("--config-file=") + m_folder.filePath(text("bus.conf")), text("--nofork"),
                    text("--nopidfile"), text("--nosyslog"), text("--print-address") },
        "unix:path=");
    return m_bus != nullptr;
}

void AvahiPeer::killBus()
{
    kill(m_bus);
}

bool AvahiPeer::startDaemon()
{
    if (isRunning(m_daemon))
        return true;
    // These folders of the daemon cannot be chosen: each daemon gets its own.
    const QStringList ownFolders{ text("unshare"), text("--mount"), text("sh"), text("-c"),
        text("mount -t tmpfs none /run && mount --bind \"$0\" /etc/avahi/services && exec \"$@\""),
        m_folder.filePath(text("services")) };
    m_daemon = run(m_enter + ownFolders
            + QStringList{ programOf(text("avahi-daemon")), text("-f"),
                m_folder.filePath(text("avahi.conf")), text("--no-drop-root"), text("--no-chroot"),
                text("--no-rlimits"), text("--no-proc-title") },
        "Server startup complete");
    return m_daemon != nullptr;
}

void AvahiPeer::killDaemon()
{
    kill(m_daemon);
}

int AvahiPeer::publish(
    const QString& name, const QString& type, quint16 port, const QStringList& texts)
{
    const QStringList command =
        QStringList{ text("avahi-publish"), text("-s"), name, type, QString::number(port) } + texts;
    Process publication;
    // Seen: a daemon that is off its bus for a moment.
    for (int tries = 0; !publication && tries < k_mostTries; ++tries)
        publication = run(command, "Established under name");
    if (!publication) {
        m_said += m_daemon ? QString::fromUtf8(m_daemon->readAll()) : text("there is no daemon");
        return -1;
    }
    m_publications.push_back(std::move(publication));
    return int(m_publications.size()) - 1;
}

void AvahiPeer::withdraw(int number)
{
    kill(m_publications.at(std::size_t(number)));
}

bool AvahiPeer::publishMany(const QStringList& names, const QString& type, quint16 port)
{
    QDir folder(m_folder.filePath(text("services")));
    for (const QString& file : folder.entryList(QDir::Files))
        folder.remove(file);
    bool isWritten = true;
    for (qsizetype i = 0; i < names.size(); ++i)
        isWritten &= write(folder.filePath(text("%1.service").arg(i)),
            text("<service-group><name>%1</name><service><type>%2</type><port>%3</port>"
                 "</service></service-group>\n")
                .arg(names.at(i).toHtmlEscaped(), type)
                .arg(port));
    return isWritten;
}

void AvahiPeer::withdrawAll()
{
    for (Process& publication : m_publications)
        kill(publication);
    m_publications.clear();
    publishMany({}, {}, 0);
}

AvahiPeer::Process AvahiPeer::run(const QStringList& command, const QByteArray& sign)
{
    auto process = std::make_unique<QProcess>();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(text(k_variable), busAddress());
    process->setProcessEnvironment(environment);
    process->setProcessChannelMode(QProcess::MergedChannels);
    process->start(command.first(), command.mid(1));
    QByteArray output;
    while (!output.contains(sign) && process->waitForReadyRead(k_patience))
        output += process->readAll();
    m_said += QString::fromUtf8(output);
    if (output.contains(sign))
        return process;
    kill(process);
    return nullptr;
}

void AvahiPeer::kill(Process& process)
{
    if (!process)
        return;
    process->kill();
    process->waitForFinished(k_patience);
    process.reset();
}

} // namespace tst
