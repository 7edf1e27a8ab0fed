// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "drivers/ipcamera/onvifclient_p.h"
#include "nodestore/nodetypes.h"

#include <QHash>
#include <QQueue>

namespace tq {

class IPCameraNode;

/**
 * Reads what devices of known nodes say over ONVIF, 5 s at most each, and puts it into the nodes.
 * On the database's thread; what is open ends with the database.
 */
class DeviceReads : public QObject
{
    Q_OBJECT

public:
    DeviceReads() = default;

    /**
     * Begins to read with the node's login of the active user, should the device ask for one. Where
     * the node's address was not confirmed in the active environment, the device is asked without
     * a login first, and only the node's own is sent it and read; that confirms the address.
     * Returns one sentence when it cannot begin; else finished() comes, later and once. A call for
     * a node that is being read joins that read.
     */
    QString begin(const NodeID& id);

    /** Reads what the device tells anybody; finished() does not come. Few are open at a time. */
    void beginWithoutLogin(const NodeID& id);

signals:
    /** The node holds what was read; or `error` is one sentence, and the node is as it was. */
    void finished(tq::NodeID id, QString error);

private:
    enum EStep {
        eTellingAnybody, ///< nobody waits for the end; of the others, a program does
        eIdentifying, ///< without a login as well
        eReading
    };

    struct Read
    {
        OnvifClient* client = nullptr; ///< a child
        OnvifClient::Target target;
        EStep step = eTellingAnybody;
    };

    QString start(const NodeID& id, EStep step);
    void startWaiting();
    void abandonAll();
    void end(const NodeID& id, const OnvifClient* client);
    QString goOn(const NodeID& id, const Read& read);
    static QString store(const NodeID& id, const Read& read);

    QHash<NodeID, Read> m_reads;
    QQueue<NodeID> m_waiting; ///< for a read without login
};

} // namespace tq
