// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "discovery/inodedrivercomponent.h"

#include <QObject>

#include <memory>

namespace tq {

/**
 * Makes nodes of type 2 of network devices that answer over HTTP or HTTPS.
 *
 * A hint without a type is probed: a device whose page or server calls itself a camera has rank 20,
 * any other web server 50, and whoever does not answer within 2 s is not ours. What a device said
 * is kept until its node is made or forgotten.
 */
class IPCameraDriver : public QObject, public INodeDriverComponent
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "tq.plugin.Component/1" FILE "plugin.json")

public:
    IPCameraDriver();
    ~IPCameraDriver() override;
    Q_DISABLE_COPY_MOVE(IPCameraDriver)

    bool supportsNodeType(ENodeType type, int* priority) override;
    QString readableNodeTypeName(ENodeType type) override;
    Node* createNode(ENodeType type) override;

    /** Refuses, with a level 2 log line, a hint without an address. A device that has a node by now
     * gives that one's id. */
    NodeID createNodeFromHint(const NodeHint& hint) override;
    int probe(int requestId, const NodeHint& hint) override;
    QtSignal probeFinishedSignal() override;
    QString driverName() const override;
    tqm::smart<NodeHint> createNodeHint(ENodeType type) override;

signals:
    void probeFinished(int requestId, tqm::smart<INodeDriverComponent> driver, int result);

private:
    struct Private;

    void startWaitingProbes();
    void endProbe(int requestId, int rank);

    std::unique_ptr<Private> d;
};

} // namespace tq
