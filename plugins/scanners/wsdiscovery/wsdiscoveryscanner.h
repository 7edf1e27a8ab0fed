// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "parts/scannercomponent.h"

#include <memory>

namespace tq {

class WsWatch;

/**
 * Finds the devices that speak WS-Discovery, as cameras and storage do: it asks all on the local
 * IPv4 networks to show themselves, and listens to those that come and go.
 *
 * Its hints are NodeHintIPDevice: address, port, SSL and name as the device tells, the endpoint
 * reference as second text, the URL of its service as third text (empty when it names none), and
 * eWSDiscoveryService as further value. A device is its endpoint reference: one that shows itself
 * again is no event, one with another place, name or metadata version has changed, and one is gone
 * when it says so. One that fell silent is not. Changes of one device in quick succession are one.
 *
 * What it sends: two small questions on each interface, each twice, when it starts and when an
 * interface has come; and one for each device that did not tell its address. It takes no other
 * option than "wsdiscovery/interfaces", names with commas between: then it speaks on these alone,
 * even where that is the loopback.
 */
class WsDiscoveryScanner : public ScannerComponent
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "tq.plugin.Component/1" FILE "plugin.json")

public:
    WsDiscoveryScanner();
    ~WsDiscoveryScanner() override;
    Q_DISABLE_COPY_MOVE(WsDiscoveryScanner)

    /**
     * Starts listening, and asks. The first argument means nothing to it. With `interval` it asks
     * again every so many seconds (10 to 86400; 0 or less: never). While it runs, another start
     * asks once more and sets the interval anew.
     */
    void start(unsigned int argument, int interval) override;
    void stop() override;
    bool isRunning() const override;
    QString scannerName() const override;

private:
    std::unique_ptr<WsWatch> m_watch;
};

} // namespace tq
