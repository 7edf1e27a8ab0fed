// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
// A driver plug-in that breaks its promises: it throws for type 15 and gives nothing for type 16.
#include "discovery/inodedrivercomponent.h"
#include "discovery/nodehint.h"
#include "nodestore/node.h"

#include <stdexcept>

using namespace tq;

namespace {

constexpr auto k_throwing = ENodeType(15);
constexpr auto k_empty = ENodeType(16);

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
        return type == k_throwing || type == k_empty;
    }
    QString readableNodeTypeName(ENodeType) override { breakDown(); }
    Node* createNode(ENodeType type) override
    {
        if (type == k_throwing)
            breakDown();
        return nullptr;
    }
    NodeID createNodeFromHint(const NodeHint& hint) override
    {
        if (hint.nodeType() == k_throwing)
            breakDown();
        return NodeID();
    }
    int probe(int, const NodeHint&) override { breakDown(); }
    QtSignal probeFinishedSignal() override { return QtSignal(); }
    QString driverName() const override { return QStringLiteral("misbehaving"); }
    tqm::smart<NodeHint> createNodeHint(ENodeType) override { return {}; }
};

#include "misbehavingdriver.moc"
