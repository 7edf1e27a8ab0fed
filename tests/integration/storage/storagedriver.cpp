// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
// A driver plug-in whose storages are read as their addresses say: .20 has a user and a share, .21
// refuses the login, and for .22 the reading cannot even begin.
#include "devices/nasdevicenode.h"
#include "discovery/idevicereader.h"
#include "discovery/inodedrivercomponent.h"
#include "discovery/nodehintipdevice.h"
#include "nodestore/nodedb.h"

#include <QTimer>

using namespace tq;

namespace {

class Storage : public NASDeviceNode
{
public:
    explicit Storage(const QString& id) : NASDeviceNode(eNetworkStorageNode, id)
    {
        setShouldPersist(true);
    }

    Node* clone() const override
    {
        auto* const copy = new Storage(id());
        deepCopy(copy);
        return copy;
    }
    void updateFromHint(const NodeHint&) override { }
    void fillHint(NodeHint&) const override { }
    QString shareUrl(const QString&) const override { return QString(); }
    float freeSpace() const override { return 0; }
};

} // namespace

class StorageDriver : public QObject, public INodeDriverComponent, public IDeviceReader
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "tq.plugin.Component/1" FILE "plugin.json")

public:
    bool supportsNodeType(ENodeType type, int* priority) override
    {
        *priority = 1;
        return type == eNetworkStorageNode;
    }
    QString readableNodeTypeName(ENodeType) override { return QStringLiteral("storage"); }
    Node* createNode(ENodeType) override { return new Storage(QString()); }
    NodeID createNodeFromHint(const NodeHint& hint) override
    {
        const auto& device = dynamic_cast<const NodeHintIPDevice&>(hint);
        auto* const node = new Storage(device.hostAddress());
        node->setHostAddress(device.hostAddress());
        NodeDB::getDB()->insertNode(node);
        return device.hostAddress();
    }
    int probe(int, const NodeHint&) override { return -1; }
    QtSignal probeFinishedSignal() override
    {
        return QtSignal(
            this, SIGNAL(probeFinished(int, tqm::smart<tq::INodeDriverComponent>, int)));
    }
    QString driverName() const override { return QStringLiteral("storage"); }
    tqm::smart<NodeHint> createNodeHint(ENodeType) override { return {}; }

    QString readDevice(const NodeID& id) override
    {
        if (id.endsWith(QStringLiteral(".22")))
            return QStringLiteral("there is no login");
        QTimer::singleShot(0, this, [this, id] {
            emit readFinished(QStringLiteral("another"), QStringLiteral("not this one"));
            const bool isRefused = id.endsWith(QStringLiteral(".21"));
            if (!isRefused)
                fill(id);
            emit readFinished(id, isRefused ? QStringLiteral("the login was refused") : QString());
        });
        return QString();
    }
    QtSignal readFinishedSignal() override
    {
        return QtSignal(this, SIGNAL(readFinished(tq::NodeID, QString)));
    }

signals:
    void probeFinished(int requestId, tqm::smart<tq::INodeDriverComponent> driver, int result);
    void readFinished(tq::NodeID id, QString error);

private:
    static void fill(const NodeID& id)
    {
        Node* const copy = NodeDB::getDB()->beginUpdateNode(id, -1);
        auto& storage = dynamic_cast<NASDeviceNode&>(*copy);
        storage.addShare(QStringLiteral("records"), QStringLiteral("v1"), QStringLiteral("/r"));
        storage.addLocalUser(QStringLiteral("anna"), QString(), false);
        storage.setAccessRights(
            QStringLiteral("records"), QStringLiteral("anna"), NASDeviceNode::eFullAccess);
        NodeDB::getDB()->endUpdateNode(copy);
    }
};

#include "storagedriver.moc"
