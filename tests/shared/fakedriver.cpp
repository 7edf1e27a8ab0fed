// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "shared/fakedriver.h"

#include "discovery/nodehintipdevice.h"
#include "nodestore/nodedb.h"
#include "shared/fakenode.h"

#include "platform/pluginloader.h"

namespace tst {

namespace {

void registerWithLoader(
    tq::IComponent* component, const QString& name, const char* interface, const QStringList& words)
{
    const tqm::smart<tq::IComponent> handle(component, [](tq::IComponent*) {});
    tq::plugin::Loader::instance().registerComponent(
        { name, { QString::fromLatin1(interface) }, words, QString() }, handle);
}

} // namespace

FakeDriver::FakeDriver(const QString& name, const QMap<int, int>& priorities)
    : m_name(name), m_priorities(priorities)
{
    registerWithLoader(this, name, "tq::INodeDriverComponent", {});
}

FakeDriver::~FakeDriver()
{
    tq::plugin::Loader::instance().unregisterComponent(m_name);
}

void FakeDriver::called() const
{
    if (onCall)
        onCall();
}

bool FakeDriver::supportsNodeType(tq::ENodeType type, int* priority)
{
    called();
    const auto known = m_priorities.constFind(type);
    if (known == m_priorities.cend())
        return false;
    constexpr int k_writesNothing = -1;
    if (*known != k_writesNothing)
        *priority = *known;
    return true;
}

QString FakeDriver::readableNodeTypeName(tq::ENodeType type)
{
    called();
    return m_name + QString::number(type);
}

tq::Node* FakeDriver::createNode(tq::ENodeType type)
{
    called();
    if (type == k_plainType)
        return new PlainNode(QString());
    if (type == k_storageType)
        return new StorageNode(QString());
    return new DeviceNode(QString(), QString(), type);
}

tq::NodeID FakeDriver::createNodeFromHint(const tq::NodeHint& hint)
{
    created.append(hint.name());
    called();
    if (onCreate)
        return onCreate(hint);
    auto* const node = new PlainNode(m_name + QLatin1Char(':') + hint.name());
    node->setName(hint.name());
    tq::NodeDB::getDB()->insertNode(node);
    return node->id();
}

int FakeDriver::probe(int requestId, const tq::NodeHint&)
{
    probes.append(requestId);
    called();
    return probeAnswer;
}

tq::QtSignal FakeDriver::probeFinishedSignal()
{
    return tq::QtSignal(
        this, SIGNAL(probeFinished(int, tqm::smart<tq::INodeDriverComponent>, int)));
}

QString FakeDriver::driverName() const
{
    return m_name;
}

tqm::smart<tq::NodeHint> FakeDriver::createNodeHint(tq::ENodeType type)
{
    called();
    auto* const hint = new tq::NodeHintIPDevice;
    hint->setNodeType(type);
    return tqm::smart<tq::NodeHint>(hint);
}

tqm::smart<tq::INodeDriverComponent> FakeDriver::handle()
{
    return tqm::smart<tq::INodeDriverComponent>(this, [](tq::INodeDriverComponent*) {});
}

FakeScanner::FakeScanner(const QString& name, const QStringList& capabilities) : m_name(name)
{
    registerWithLoader(this, name, "INodeScanner", capabilities);
}

FakeScanner::~FakeScanner()
{
    tq::plugin::Loader::instance().unregisterComponent(m_name);
}

tq::IInterface* FakeScanner::getInterface(const std::string& name)
{
    return INodeScanner::getInterface(name);
}

const tq::IInterface* FakeScanner::getInterface(const std::string& name) const
{
    return INodeScanner::getInterface(name);
}

void FakeScanner::start(unsigned int argument, int secondArgument)
{
    starts.append({ argument, secondArgument });
    m_running = true;
}

void FakeScanner::stop()
{
    m_running = false;
}

tq::QtSignal FakeScanner::newHintSignal()
{
    return tq::QtSignal(this, SIGNAL(newHint(const tq::NodeHint&)));
}

tq::QtSignal FakeScanner::hintChangedSignal()
{
    return tq::QtSignal(this, SIGNAL(hintChanged(const tq::NodeHint&)));
}

tq::QtSignal FakeScanner::hintGoneSignal()
{
    return tq::QtSignal(this, SIGNAL(hintGone(const tq::NodeHint&)));
}

} // namespace tst
