// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "labdevice/announcer.h"
#include "labdevice/smbserver.h"
#include "labdevice/wsdiscovery.h"

namespace lab {

/** Where the devices live: on a segment, or (without a link) on this machine's loopback addresses.
 */
struct Place
{
    QString link;
    QHostAddress near; ///< whom the devices speak to
    QString bus; ///< of the Avahi that announces them; empty: there is none
    QString smbServer; ///< the program that serves their shares; empty: there is none
    QString shares; ///< a folder for those
};

/** What one device does beside answering on its web server, where its place allows it. */
class Services : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Services)

public:
    Services(const tq::site::DeviceSpec& device, const Place& place);
    ~Services() override;

    /** Listens on the device's interface; returns what went wrong, empty when nothing did. */
    [[nodiscard]] QString listen(const tq::site::DeviceSpec& device, const QString& link);

    /** The device is on the segment: tells everybody, and serves. */
    void come(const tq::site::DeviceSpec& device, const Done& done);

    /** The device will leave: tells everybody. */
    void leave(const Done& done);

    /** The device has left, or changes its address. */
    void close();

    /** The device announces itself by DNS-SD, or takes it back, while it is on the segment. */
    void announce(const tq::site::DeviceSpec& device, const Done& done);
    void withdraw(const Done& done);

    /** Returns what a device could not do on loopback. */
    static QString leftOut(const tq::site::DeviceSpec& device);

private:
    bool refuse(const Done& done) const;

    std::unique_ptr<Announcer> m_announcer;
    std::unique_ptr<SmbServer> m_shares;
    std::unique_ptr<WsDiscovery> m_discovery;
    int m_times = 0; ///< the device came
};

} // namespace lab
