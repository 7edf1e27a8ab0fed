// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "labdevice/gathering.h"
#include "simulated/site/site.h"

#include <QObject>

#include <map>

class QProcess;

namespace lab {

/**
 * Announces one device by DNS-SD, through the program avahi-publish and the Avahi on a bus of the
 * lab: a host name with the device's address, and its services on that.
 */
class Announcer : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Announcer)

public:
    /** @p bus is the address of the bus. */
    explicit Announcer(const QString& bus);
    ~Announcer() override;

    /** Announces what is not announced yet, an address that has changed in place of the old one. */
    void announce(const tq::site::DeviceSpec& device, const Done& done);

    /** Takes everything back. */
    void withdraw(const Done& done);

private:
    struct Published
    {
        std::unique_ptr<QProcess> process;
        Done tell; ///< who waits for it, once
    };

    void publish(const QString& key, const QStringList& arguments, const Done& done);
    void end(const QString& key, const Done& done);

    QString m_bus;
    std::map<QString, Published> m_published; ///< by what they announce
};

} // namespace lab
