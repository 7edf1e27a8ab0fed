// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "discovery/inodedrivercomponent.h"
#include "discovery/inodescanner.h"

#include <QObject>

#include <memory>

namespace tq {

struct Sighting;

/**
 * A network that is not there: a scanner and a driver for the devices of the site file that the
 * loader's option "simulated/site" names. Nothing is ever sent.
 *
 * Scanner and driver share one time, so that the whole discovery of a site happens in one order,
 * each time anew: who appears when, and whose late answer comes before whose address changes. The
 * driver's nodes are those of the shipped drivers; what it does not find in the site is none of its
 * own, unless the hint names the type.
 */
class Simulation : public QObject, public INodeScanner, public INodeDriverComponent
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "tq.plugin.Component/1" FILE "plugin.json")

public:
    Simulation();
    ~Simulation() override;
    Q_DISABLE_COPY_MOVE(Simulation)

    IInterface* getInterface(const std::string& name) override;
    const IInterface* getInterface(const std::string& name) const override;

    /**
     * Reads the site and starts to report its devices. A file that cannot be used costs one level 2
     * line, and the scanner does not run. The first argument means nothing here: there is nothing
     * to sweep. The second is the speed of time in percent, up to 1,000,000; 0 stands for 100.
     * While it runs, another start does nothing.
     */
    void start(unsigned int, int percent) override;
    void stop() override;
    bool isRunning() const override;
    QString scannerName() const override;
    QtSignal newHintSignal() override;
    QtSignal hintChangedSignal() override;
    QtSignal hintGoneSignal() override;

    bool supportsNodeType(ENodeType type, int* priority) override;
    QString readableNodeTypeName(ENodeType type) override;
    Node* createNode(ENodeType type) override;
    NodeID createNodeFromHint(const NodeHint& hint) override;

    /** Answers as the site says of the device: at once, late, twice, never, or -1. */
    int probe(int requestId, const NodeHint& hint) override;
    QtSignal probeFinishedSignal() override;
    QString driverName() const override;
    tqm::smart<NodeHint> createNodeHint(ENodeType type) override;

signals:
    void newHint(const tq::NodeHint& hint);
    void hintChanged(const tq::NodeHint& hint);
    void hintGone(const tq::NodeHint& hint);
    void probeFinished(int requestId, tqm::smart<INodeDriverComponent> driver, int result);

private:
    struct Private;

    void report(const Sighting& sighting);
    void answer(int requestId, int rank);

    std::unique_ptr<Private> d;
};

} // namespace tq
