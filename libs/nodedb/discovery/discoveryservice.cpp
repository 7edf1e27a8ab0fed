// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "discovery/discoveryservice_p.h"

#include "discovery/drivertable_p.h"
#include "discovery/plugincall_p.h"
#include "nodestore/node.h"
#include "nodestore/nodedb.h"

#include "platform/pluginloader.h"

#include <QMutexLocker>
#include <QPointer>

#include <array>

namespace tq {

namespace {

/** What belongs to one of a scanner's signals. */
struct HintConnection
{
    QtSignal (INodeScanner::*signal)();
    const char* slot;
};

const std::array<HintConnection, 3> k_hintConnections{ {
    { &INodeScanner::newHintSignal, SLOT(newNodeHint(const tq::NodeHint&)) },
    { &INodeScanner::hintChangedSignal, SLOT(nodeHintChanged(const tq::NodeHint&)) },
    { &INodeScanner::hintGoneSignal, SLOT(nodeHintGone(const tq::NodeHint&)) },
} };

const char* const k_probeResultSlot = SLOT(probeResult(int, tqm::smart<INodeDriverComponent>, int));

} // namespace

DiscoveryService::DiscoveryService(NodeDB& db, const DriverTable& drivers)
    : m_db(db), m_drivers(drivers)
{
}

void DiscoveryService::connectDrivers()
{
    for (const auto& driver : m_drivers.entries()) {
        const auto signal = callPlugin(
            "probeFinishedSignal", QtSignal(), [&] { return driver->probeFinishedSignal(); });
        // kept: a driver of several types is connected once for each, so its answers count as often
        tq::connect(signal, &m_db, k_probeResultSlot);
    }
    tq::connect(QtSignal(&m_db, SIGNAL(probeFinished(int, tqm::smart<INodeDriverComponent>, int))),
        &m_db, k_probeResultSlot);
}

QList<tqm::smart<INodeScanner>> DiscoveryService::scanners(const std::string& capability) const
{
    QList<tqm::smart<INodeScanner>> result;
    auto& loader = plugin::Loader::instance();
    for (const tqm::smart<INodeScanner> scanner :
        loader.listComponents("INodeScanner", capability)) {
        if (!scanner.null())
            result.append(scanner);
    }
    return result;
}

void DiscoveryService::startScanners(
    const std::string& capability, unsigned int argument, int secondArgument)
{
    const QPointer<NodeDB> db(&m_db);
    for (const auto& scanner : scanners(capability)) {
        logLine(Log::eProgress, "NodeDB::startScanners: ", capability, "/", argument);
        for (const auto& [signal, slot] : k_hintConnections)
            tq::connect((scanner.get()->*signal)(), db, slot);
        callPlugin("start", [&] { scanner->start(argument, secondArgument); });
        if (!db)
            return;
        emit db->scannerStarted(QString::fromStdString(capability));
        if (!db)
            return;
    }
}

void DiscoveryService::stopScanners(const std::string& capability)
{
    const QPointer<NodeDB> db(&m_db);
    for (const auto& scanner : scanners(capability)) {
        for (const auto& [signal, slot] : k_hintConnections)
            tq::disconnect((scanner.get()->*signal)(), db, slot);
        callPlugin("stop", [&] { scanner->stop(); });
        if (!db)
            return;
        emit db->scannerStopped(QString::fromStdString(capability));
        if (!db)
            return;
    }
}

void DiscoveryService::newHint(const NodeHint& hint)
{
    QString id;
    if (m_db.alreadyKnown(hint, id)) {
        emit m_db.duplicateNodeHint(hint, id);
        return;
    }
    const ENodeType type = hint.nodeType();
    if (type == eAnyNodeType) {
        probe(hint);
        return;
    }
    if (const auto driver = m_drivers.find(type)) {
        callPlugin("createNodeFromHint", [&] { driver->createNodeFromHint(hint); });
        return;
    }
    logLine(Log::eSurvived, "No node driver available for node type: ", int(type));
    emit m_db.unhandledNodeHint(hint);
}

void DiscoveryService::probe(const NodeHint& hint)
{
    const QPointer<NodeDB> db(&m_db);
    // Copies: a slot of an answer may end the database, and the hint with it.
    const DriverTable::Entries drivers = m_drivers.entries();
    const std::unique_ptr<const NodeHint> copy(hint.clone());
    const int id = m_toDoList.add(hint, int(drivers.size()));
    emit db->probeStarted(id, *copy);
    for (const auto& driver : drivers) {
        if (!db)
            return;
        const int answer = callPlugin("probe", -1, [&] { return driver->probe(id, *copy); });
        if (answer != 0 && db)
            emit db->probeFinished(id, driver, answer);
    }
}

void DiscoveryService::probeResult(int requestId, const ToDoList::Driver& driver, int result)
{
    const QPointer<NodeDB> db(&m_db);
    const auto decided = m_toDoList.checkAndCreate(requestId, driver, result);
    if (decided && db)
        emit db->probeDecided(requestId, *decided);
}

void DiscoveryService::applyChange(const NodeHint& hint, const QString& id)
{
    const QPointer<NodeDB> db(&m_db);
    Node* const copy = db->beginUpdateNode(id, -1);
    if (!copy || !db)
        return;
    callPlugin("updateFromHint", [&] { copy->updateFromHint(hint); });
    db->endUpdateNode(copy);
}

void DiscoveryService::deferChange(const NodeHint& hint, const QString& id)
{
    const QMutexLocker locker(&m_deferredMutex);
    m_deferred[id].reset(hint.clone());
}

std::shared_ptr<const NodeHint> DiscoveryService::takeDeferred(const QString& id)
{
    const QMutexLocker locker(&m_deferredMutex);
    return m_deferred.take(id);
}

} // namespace tq
