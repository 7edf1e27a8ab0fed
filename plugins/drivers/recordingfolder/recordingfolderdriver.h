// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "discovery/inodedrivercomponent.h"

#include <QObject>

namespace tq {

/**
 * Makes nodes of type 0. They are made on purpose only: from a hint of type 0 whose third text is
 * the id of the device that records; its second text is the path, else the global recording
 * folder; the login is that of the hint, where its kind has one.
 */
class RecordingFolderDriver : public QObject, public INodeDriverComponent
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "tq.plugin.Component/1" FILE "plugin.json")

public:
    bool supportsNodeType(ENodeType type, int* priority) override;
    QString readableNodeTypeName(ENodeType type) override;
    Node* createNode(ENodeType type) override;

    /** Refuses, with a level 2 log line, a hint without a device and one whose id is taken. */
    NodeID createNodeFromHint(const NodeHint& hint) override;
    int probe(int requestId, const NodeHint& hint) override;
    QtSignal probeFinishedSignal() override;
    QString driverName() const override;
    tqm::smart<NodeHint> createNodeHint(ENodeType type) override;

signals:
    /** Never emitted: probes are answered at once. */
    void probeFinished(int requestId, tqm::smart<INodeDriverComponent> driver, int result);
};

} // namespace tq
