// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
// A driver plug-in that breaks its promises: it throws for type 15 and gives nothing for type 16;
// its nodes of type 17, which have the address as their id, fail in turn, and those of type 18 do
// what their notes say.
#include "discovery/inodedrivercomponent.h"
#include "discovery/nodehintipdevice.h"
#include "misbehavingnode.h"
#include "nodestore/nodedb.h"
#include "shared/unrulynode.h"

#include <stdexcept>

using namespace tq;

namespace {

constexpr auto k_throwing = ENodeType(15);
constexpr auto k_empty = ENodeType(16);
constexpr auto k_unruly = ENodeType(18);

[[noreturn]] void breakDown()
{
    throw std::runtime_error("the driver broke down");
}

} // namespace

class MisbehavingDriver : public QObject, public INodeDriverComponent
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "tq.plugin.Component/1" FILE "plugin.json")

public:
    bool supportsNodeType(ENodeType type, int*) override
    {
        return type == k_throwing || type == k_empty || type == MisbehavingNode::k_type
            || type == k_unruly;
    }
    QString readableNodeTypeName(ENodeType type) override
    {
        if (type != MisbehavingNode::k_type)
            breakDown();
        return QStringLiteral("bad");
    }
    Node* createNode(ENodeType type) override
    {
        if (type == k_throwing)
            breakDown();
        if (type == k_unruly)
            return new tst::UnrulyNode(QString(), k_unruly);
        return type == MisbehavingNode::k_type ? new MisbehavingNode(QString()) : nullptr;
    }
    NodeID createNodeFromHint(const NodeHint& hint) override
    {
        if (hint.nodeType() == k_throwing)
            breakDown();
        if (hint.nodeType() == k_unruly) {
            NodeDB::getDB()->insertNode(new tst::UnrulyNode(QStringLiteral("unruly"), k_unruly));
            return QStringLiteral("unruly");
        }
        const auto* const device = dynamic_cast<const NodeHintIPDevice*>(&hint);
        if (hint.nodeType() != MisbehavingNode::k_type || !device)
            return NodeID();
        NodeDB::getDB()->insertNode(new MisbehavingNode(device->hostAddress()));
        return device->hostAddress();
    }
    int probe(int, const NodeHint&) override { breakDown(); }
    QtSignal probeFinishedSignal() override { return QtSignal(); }
    QString driverName() const override { return QStringLiteral("misbehaving"); }
    tqm::smart<NodeHint> createNodeHint(ENodeType) override { return {}; }
};

#include "misbehavingdriver.moc"
