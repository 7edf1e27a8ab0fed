// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "labdevice/device.h"
#include "labdevice/segment.h"
#include "labdevice/wsdiscovery.h"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace lab {

/** Where the devices live: on a segment, or (without a link) on this machine's loopback addresses.
 */
struct Place
{
    QString link;
    QHostAddress near; ///< whom the devices speak to
};

/** All devices of a site, and what may be done to them while they run. */
class Lab : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Lab)

public:
    /** Called once per operation, when its effect has arrived on the near side; empty when all went
     * well. */
    using Done = std::function<void(const QString& error)>;

    Lab(const tq::site::Site& site, const QSslConfiguration& certificate, const Place& place);
    ~Lab() override;

    /** Starts every device. */
    void startAll(const Done& done);

    void start(const QString& name, const Done& done);
    void stop(const QString& name, const Done& done);

    /** Moves a device to another address; a stopped one speaks from it when it is started. */
    void changeAddress(const QString& name, const QString& address, const Done& done);

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
        std::unique_ptr<WsDiscovery> discovery; ///< while it runs on a segment and is discoverable
        bool running = false;
        int starts = 0;
    };

    int placeOf(const QString& name) const;
    QString open(int place);
    void listenAndSpeak(int place, const Done& done);
    QString move(int place, const QHostAddress& address);

    std::vector<Entry> m_entries;
    std::optional<Segment> m_segment;
    QHostAddress m_near;
};

} // namespace lab
