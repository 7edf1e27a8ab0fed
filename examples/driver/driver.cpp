// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
// The smallest node driver: it makes nodes of type 20 for hints that a scanner marks with that
// type.
#include "devices/ipdevicenode.h"
#include "discovery/inodedrivercomponent.h"
#include "discovery/nodehintipdevice.h"
#include "nodestore/nodedb.h"

using namespace tq;
constexpr ENodeType k_exampleType = ENodeType(20);

/** A device with an address. IPDeviceNode stores it and recognises a NodeHintIPDevice by it. */
class ExampleNode : public IPDeviceNode
{
public:
    explicit ExampleNode(const QString& id) : IPDeviceNode(k_exampleType, id) { }
    // Editing works on copies.
    Node* clone() const override
    {
        auto* const copy = new ExampleNode(id());
        deepCopy(copy);
        return copy;
    }

    // What a scanner's "changed" may change, and what this node can tell of itself.
    void updateFromHint(const NodeHint& hint) override { setName(hint.name()); }
    void fillHint(NodeHint& hint) const override { hint.setName(name()); }
};

class ExampleDriver : public QObject, public INodeDriverComponent
{
    Q_OBJECT
    // The interface id is fixed; the JSON file tells the loader what is in here.
    Q_PLUGIN_METADATA(IID "tq.plugin.Component/1" FILE "plugin.json")

public:
    bool supportsNodeType(ENodeType type, int* priority) override
    {
        if (type == k_exampleType)
            *priority = 10; // among drivers of one type the smallest number wins
        return type == k_exampleType;
    }
    QString readableNodeTypeName(ENodeType) override { return tr("Example device"); }
    QString driverName() const override { return QStringLiteral("example"); }
    // Loading a store makes empty nodes, which then read their own id.
    Node* createNode(ENodeType) override { return new ExampleNode(QString()); }

    // Discovery: make the node and hand it to the database, which owns it from then on.
    NodeID createNodeFromHint(const NodeHint& hint) override
    {
        const auto* const device = dynamic_cast<const NodeHintIPDevice*>(&hint);
        if (!device)
            return NodeID();
        const NodeID id = QStringLiteral("example:") + device->hostAddress();
        auto* const node = new ExampleNode(id);
        node->setName(hint.name());
        node->setHostAddress(device->hostAddress());
        node->setShouldPersist(true);
        NodeDB::getDB()->insertNode(node);
        return id;
    }

    // For hints of unknown type: -1 says "not mine"; 0 would promise an answer by the signal.
    int probe(int, const NodeHint&) override { return -1; }
    QtSignal probeFinishedSignal() override
    {
        return QtSignal(this, SIGNAL(probeFinished(int, tqm::smart<INodeDriverComponent>, int)));
    }
    tqm::smart<NodeHint> createNodeHint(ENodeType) override
    {
        return tqm::smart<NodeHint>(new NodeHintIPDevice);
    }

signals:
    void probeFinished(int requestId, tqm::smart<INodeDriverComponent> driver, int result);
};

#include "driver.moc"
