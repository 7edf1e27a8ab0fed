// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>
#include <vector>

namespace tst {

/**
 * A message bus and an Avahi daemon of a test's own, and what they publish. They keep their files
 * in a folder of their own, and all of them end with this object.
 *
 * The daemon needs a mount namespace of its own, so this works inside tools/lab. Functions that
 * start something return whether it runs, having waited until it does; what runs is left alone.
 */
class AvahiPeer
{
public:
    /**
     * The daemon will call itself `hostName` and speak on these interfaces only. `enter` is put
     * before its command, such as what enters a network namespace.
     */
    AvahiPeer(
        const QString& hostName, const QStringList& interfaces, const QStringList& enter = {});
    ~AvahiPeer();
    Q_DISABLE_COPY_MOVE(AvahiPeer)

    /** Returns why there can be none here; empty when there can. */
    static QString obstacle();

    /** What DBUS_SYSTEM_BUS_ADDRESS must be for who wants to reach this bus. */
    QString busAddress() const;

    bool startBus();
    void killBus();
    bool startDaemon();

    /** Without a goodbye to anybody; the next one knows nothing of what this one heard. */
    void killDaemon();

    /** Publishes a service. Returns its number for withdraw(); -1 when it does not run. */
    int publish(const QString& name, const QString& type, quint16 port, const QStringList& texts);
    void withdraw(int number);

    /**
     * Publishes a service of each name at once, by the daemon itself, instead of those of the last
     * call. The daemon notices by and by. Returns whether the files could be written.
     */
    bool publishMany(const QStringList& names, const QString& type, quint16 port);

    /** Withdraws what publish() and publishMany() published. */
    void withdrawAll();

    /** Returns what the processes said, for the message of a test that fails. */
    QString said() const { return m_said; }

private:
    using Process = std::unique_ptr<QProcess>;

    Process run(const QStringList& command, const QByteArray& sign);
    static void kill(Process& process);

    QTemporaryDir m_folder;
    QStringList m_enter;
    QString m_said;
    Process m_bus;
    Process m_daemon;
    std::vector<Process> m_publications;
};

} // namespace tst
