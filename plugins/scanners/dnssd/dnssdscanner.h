// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "parts/scannercomponent.h"

#include <memory>

namespace tq {

class ServiceWatch;

/**
 * Finds the cameras and storage that announce themselves by DNS-SD, through Avahi's daemon, and
 * reports a NodeHintFromBonjour for each service that is new, has changed its host, port, address
 * or texts, or is gone. A service that several interfaces or both IP versions show is one hint; a
 * device that announces several services is several. Waits for a daemon that is not there, and
 * loses nothing when it restarts.
 *
 * The types that are looked for stand in servicetypes.cpp; the loader's option
 * "dnssd/serviceTypes" adds to them, such as "_foo._tcp=camera,_bar._tcp=storage,
 * _baz._tcp=unknown". It is read at each start. Services whose type tells no kind have no node
 * type, so that drivers probe them.
 */
class DnsSdScanner : public ScannerComponent
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "tq.plugin.Component/1" FILE "plugin.json")

public:
    DnsSdScanner();
    ~DnsSdScanner() override;
    Q_DISABLE_COPY_MOVE(DnsSdScanner)

    /**
     * Starts to follow what is announced. Both arguments mean nothing to this scanner: it sends
     * nothing but the daemon's few questions. While it runs, another start changes nothing.
     */
    void start(unsigned int argument, int secondArgument) override;
    void stop() override;
    bool isRunning() const override;
    QString scannerName() const override;

private:
    std::unique_ptr<ServiceWatch> m_watch;
};

} // namespace tq
