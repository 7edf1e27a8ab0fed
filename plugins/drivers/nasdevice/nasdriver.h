// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "discovery/idevicereader.h"
#include "discovery/inodedrivercomponent.h"
#include "discovery/iprobeexplainer.h"

#include <QObject>

#include <memory>

namespace tq {

class NodeDB;
struct ShareAnswer;
struct StorageRead;

/**
 * Makes nodes of type 4 of devices that speak SMB 2 or newer, and reads their shares.
 *
 * A hint without a type is probed without any login: an SMB server has rank 30, and whoever does
 * not answer within 2 s is not ours.
 *
 * A storage is read with the login that the node has for the active user, never with the global
 * one: when readDevice() asks for it, when a hint with a login made the node, and when the active
 * user's own login of a node got another name or password. A device that has another address or
 * port, because a hint, a person or another environment says so, waits for readDevice(): whoever
 * takes over a name or a MAC is sent no login by itself. So does a login given before such a move
 * and not tried yet, and one that another active user has. What is found out: the shares, the
 * rights on them of each local user whose password is known, the login's among them, and how large
 * the file systems are. A right that the device neither grants nor refuses stays as it was. Reads
 * follow each other, each at most 10 s. One that fails changes nothing and leaves a level 2 line;
 * so does one whose node got another address, port or login meanwhile. One whose node is being
 * edited waits for the end of the edit.
 *
 * Options: "nasdevice/timeout" is how long a read may take in s, 1 to 10. "nasdevice/writeTest" is
 * "create" when an empty file may be made, and deleted at once, where nothing else tells whether a
 * user may write.
 */
class NASDriver : public QObject,
                  public INodeDriverComponent,
                  public IDeviceReader,
                  public IProbeExplainer
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "tq.plugin.Component/1" FILE "plugin.json")

public:
    NASDriver();
    ~NASDriver() override;
    Q_DISABLE_COPY_MOVE(NASDriver)

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

    /** Refuses nodes without an address, without a login, or whose password is not known, and those
     * whose address was not confirmed in the active environment: another storage may be there. */
    QString readDevice(const NodeID& id) override;
    QtSignal readFinishedSignal() override;
    EProbeRejection rejection(int requestId) const override;

signals:
    void probeFinished(int requestId, tqm::smart<INodeDriverComponent> driver, int result);
    void readFinished(tq::NodeID id, QString error);

private:
    struct Private;

    void watch(NodeDB* db);
    void see(const NodeID& id);
    void readLater(const NodeID& id);
    void takeRead(const StorageRead& read, const ShareAnswer& answer, const QString& error);
    void putIntoNode(const NodeID& id);
    void endRead(const NodeID& id, const QString& error);

    std::unique_ptr<Private> d;
};

} // namespace tq
