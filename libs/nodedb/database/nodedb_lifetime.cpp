// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "database/nodedb_p.h"

#include "platform/logline.h"
#include "platform/pluginloader.h"

namespace tq {

namespace {

enum class EState { eNone, eConstructing, eReady, eFreeing };

EState s_state = EState::eNone;

} // namespace

NodeDB* NodeDB::m_nodeDB = nullptr;

NodeDB* NodeDB::getDB()
{
    if (s_state == EState::eConstructing)
        logLine(Log::eSurvived, "The node database was asked for while it is being created.");
    if (s_state == EState::eNone) {
        s_state = EState::eConstructing;
        new NodeDB; // stores itself before the drivers are asked: they may want it
        s_state = EState::eReady;
        m_nodeDB->initialise();
    }
    return m_nodeDB;
}

void NodeDB::freeDB()
{
    if (s_state != EState::eReady)
        return;
    if (m_nodeDB->d->lock.refusesChange("freeDB"))
        return;
    s_state = EState::eFreeing;
    delete m_nodeDB;
    s_state = EState::eNone;
}

NodeDB::NodeDB()
{
    logLine(Log::eProgress, "Creating the node database...");
    d = std::make_unique<NodeDBPrivate>(*this);
    m_nodeDB = this;
    createNodeFactory();
    logLine(Log::eProgress, "Node database created.");
}

NodeDB::~NodeDB()
{
    d->service.reset();
    // Nodes may look for the database while they die: it is whole until the last one is gone.
    QList<NodeRegistry::Handle> nodes;
    if (const auto guard = d->lock.write("freeDB"))
        nodes = d->registry.takeAll(*guard);
    nodes.clear();
    NodeRegistry::deleteWaiting();
    m_nodeDB = nullptr;
}

void NodeDB::createNodeFactory()
{
    d->drivers.build(plugin::Loader::instance().listComponents(
        "tq::INodeDriverComponent", plugin::Loader::k_ignoreCapabilities));
    d->service->connectDrivers();
}

void NodeDB::initialise()
{
    d->globalProxy.init();
    d->bandwidth.init();
}

} // namespace tq
