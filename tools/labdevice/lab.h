// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "labdevice/device.h"
#include "labdevice/segment.h"
#include "labdevice/services.h"

#include <memory>
#include <optional>
#include <vector>

namespace lab {

/** All devices of a site, and what may be done to them while they run. An operation is done when
 * its effect has arrived on the near side. */
class Lab : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Lab)

public:
    Lab(const tq::site::Site& site, const QSslConfiguration& certificate, const Place& place);
    ~Lab() override;

    /** Starts every device. */
    void startAll(const Done& done);

    void start(const QString& name, const Done& done);
    void stop(const QString& name, const Done& done);

    /** Moves a device to another address; a stopped one speaks from it when it is started. */
    void changeAddress(const QString& name, const QString& address, const Done& done);

    /** A device that runs announces itself by DNS-SD, as it does from its start, or takes it back.
     */
    void announce(const QString& name, const Done& done);
    void withdraw(const QString& name, const Done& done);

    /** Returns the logins that a device was given, one per line; an error's sentence for a name
     * that no device has. */
    QString logins(const QString& name, QString* error) const;

    /** Returns what the devices should do but cannot on loopback, one line per device. */
    QString leftOut() const;

    /** Returns one line per device, those that are stopped marked so. */
    QString list() const;

private:
    struct Entry
    {
        std::unique_ptr<Device> device;
        std::unique_ptr<Services> services;
        bool running = false;
    };

    int placeOf(const QString& name) const;
    Entry& at(int place) { return m_entries[static_cast<size_t>(place)]; }
    Entry* running(const QString& name, const Done& done);
    QString open(int place);
    QString close(int place);
    void listenAndSpeak(int place, const Done& done);
    QString move(int place, const QHostAddress& address);

    std::vector<Entry> m_entries;
    std::optional<Segment> m_segment;
    QHostAddress m_near;
};

} // namespace lab
