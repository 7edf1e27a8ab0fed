// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "parts/scannercomponent.h"

#include <memory>

namespace tq {

class NeighbourWatch;
class SubnetSweep;

/**
 * Finds the devices that this machine has talked to: it follows the kernel's neighbour table,
 * without privileges, and reports a NodeHintFromARP (address and MAC) for each device that is new,
 * has changed its address, or is gone. A device with several addresses is one hint.
 *
 * The table knows nobody whom the machine has not talked to, and keeps those who went. So on
 * request the scanner sweeps: it makes the kernel ask for every address of the local IPv4 subnets,
 * by one empty datagram to the discard port of each. It sweeps again after 60 s, 2, 4 and then
 * every 8 minutes, at 50 datagrams per second at most; and it asks devices of which nothing was
 * heard for some 45 s, each once a minute at most and 20 addresses per second at most. Whoever
 * stays silent is gone. Nothing but that is ever sent, except for a question to a device that
 * appears to have moved.
 */
class ArpScanner : public ScannerComponent
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "tq.plugin.Component/1" FILE "plugin.json")

public:
    /** The bits of the first argument of start(). */
    enum EArgument : unsigned int { eSweep = 1 };

    ArpScanner();
    ~ArpScanner() override;
    Q_DISABLE_COPY_MOVE(ArpScanner)

    /**
     * Starts watching. `argument` 0 only watches; with eSweep the subnets are swept, the first time
     * at `datagramsPerSecond` (up to 10000; 0 for 250: an address that nobody has keeps one of the
     * kernel's usual 1024 places for 3 s). While it runs, another start only sweeps anew.
     */
    void start(unsigned int argument, int datagramsPerSecond) override;
    void stop() override;
    bool isRunning() const override;
    QString scannerName() const override;

private:
    std::unique_ptr<NeighbourWatch> m_watch;
    std::unique_ptr<SubnetSweep> m_sweep;
};

} // namespace tq
