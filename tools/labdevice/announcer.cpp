// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "labdevice/announcer.h"

#include <QProcess>
#include <QProcessEnvironment>
#include <QTimer>

#include <utility>

namespace lab {

namespace {

const int k_patience = 8000; // ms
const QString k_host = QStringLiteral("host");

} // namespace

Announcer::Announcer(const QString& bus) : m_bus(bus) { }

Announcer::~Announcer() = default;

void Announcer::announce(const tq::site::DeviceSpec& device, const Done& done)
{
    const QString host = device.name + QStringLiteral(".local");
    const QString address = device.address.toString();
    std::map<QString, QStringList> wanted{ { k_host + address,
        { QStringLiteral("-R"), QStringLiteral("-a"), QStringLiteral("--"), host, address } } };
    for (const tq::site::Announcement& one : device.announces) {
        const QString port = QString::number(one.port);
        wanted[one.type + port] = QStringList{ QStringLiteral("-s"), QStringLiteral("-H"), host,
            QStringLiteral("--"), device.name, one.type, port }
            + one.texts;
    }
    const auto publishAll = [this, wanted, done](const QString&) {
        const Done part = Gathering::make(wanted.size(), done);
        for (const auto& [key, arguments] : wanted)
            publish(key, arguments, part);
    };
    for (const auto& [key, published] : m_published) {
        if (key.startsWith(k_host) && !wanted.contains(key))
            return end(QString(key), publishAll);
    }
    publishAll(QString());
}

void Announcer::publish(const QString& key, const QStringList& arguments, const Done& done)
{
    Published& published = m_published[key];
    if (published.process && published.process->state() != QProcess::NotRunning)
        return done(QString());
    published.tell = [open = std::make_shared<Done>(done)](const QString& error) {
        if (const Done last = std::exchange(*open, nullptr))
            last(error);
    };
    published.process = std::make_unique<QProcess>();
    QProcess* process = published.process.get();
    const auto fail = [tell = published.tell, process] {
        tell(QStringLiteral("avahi-publish %1: %2 %3")
                 .arg(process->arguments().join(QLatin1Char(' ')), process->errorString(),
                     QString::fromUtf8(process->readAll()).simplified()));
    };
    connect(process, &QProcess::readyRead, this, [tell = published.tell, process] {
        if (process->peek(process->bytesAvailable()).contains("Established under name"))
            tell(QString());
    });
    connect(process, &QProcess::errorOccurred, this, fail);
    connect(process, &QProcess::finished, this, fail);
    QTimer::singleShot(k_patience, process, fail);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"), m_bus);
    process->setProcessEnvironment(environment);
    process->setProcessChannelMode(QProcess::MergedChannels);
    process->start(QStringLiteral("avahi-publish"), arguments);
}

void Announcer::end(const QString& key, const Done& done)
{
    auto node = m_published.extract(key);
    QProcess* process = node.mapped().process.release();
    process->disconnect(this);
    node.mapped().tell(QStringLiteral("%1 was taken back meanwhile").arg(key));
    if (process->state() == QProcess::NotRunning) {
        process->deleteLater();
        return done(QString());
    }
    // The Avahi takes back what a client announced when that is gone.
    connect(process, &QProcess::finished, process, [process, done] {
        process->deleteLater();
        done(QString());
    });
    process->terminate();
}

void Announcer::withdraw(const Done& done)
{
    QStringList keys;
    for (const auto& [key, published] : m_published)
        keys.append(key);
    const Done part = Gathering::make(static_cast<size_t>(keys.size()), done);
    for (const QString& key : std::as_const(keys))
        end(key, part);
}

} // namespace lab
