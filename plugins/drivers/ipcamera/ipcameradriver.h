// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "discovery/idevicereader.h"
#include "discovery/inodedrivercomponent.h"
#include "discovery/iprobeexplainer.h"

#include <QObject>

#include <functional>
#include <memory>
#include <optional>

namespace tq {

struct DeviceAnswer;

/**
 * Makes nodes of type 2 of network devices that answer over HTTP or HTTPS.
 *
 * A hint without a type is probed: a device that speaks ONVIF has rank 10, one whose page or server
 * calls itself a camera 20, any other web server 50, and whoever does not answer within 2 s is not
 * ours. What a device said is kept until its node is made or forgotten. A device that DNS-SD calls
 * a camera is not probed; what it tells anybody over ONVIF is read once its node is made. While a
 * camera's address is not confirmed in the active environment, it is asked before: it may be that
 * one.
 *
 * A login is sent only by readDevice(), in answer to a challenge for a digest; and where the
 * address was not confirmed in the active environment, only once the device has said without one
 * that it is the node's. The database's global login is never sent.
 */
class IPCameraDriver : public QObject,
                       public INodeDriverComponent,
                       public IDeviceReader,
                       public IProbeExplainer
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

    /** Refuses, with a level 2 log line, a hint without an address, and a device that says a MAC
     * which a node at another address has. A device that has a node by now gives that one's id; one
     * that has to be asked first gives none, and gets its node later. */
    NodeID createNodeFromHint(const NodeHint& hint) override;
    int probe(int requestId, const NodeHint& hint) override;
    QtSignal probeFinishedSignal() override;
    QString driverName() const override;
    tqm::smart<NodeHint> createNodeHint(ENodeType type) override;

    /** Reads model, software version, serial number and, while none is known, MAC over ONVIF in 5 s
     * at most. A refusal is a level 2 log line as well. */
    QString readDevice(const NodeID& id) override;
    QtSignal readFinishedSignal() override;
    EProbeRejection rejection(int requestId) const override;

signals:
    void probeFinished(int requestId, tqm::smart<INodeDriverComponent> driver, int result);
    void readFinished(tq::NodeID id, QString error);

private:
    struct Private;

    /** Gets what a device said, or why there is nothing. */
    using TakeAnswer =
        std::function<void(const std::optional<DeviceAnswer>&, EProbeRejection reason)>;

    bool ask(const NodeHint& hint, const TakeAnswer& take);
    void readLater(const NodeID& id);
    void makeLater(const NodeHint& hint);

    std::unique_ptr<Private> d;
};

} // namespace tq
