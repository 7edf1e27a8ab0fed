// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "discovery/discoveryservice_p.h"

#include "discovery/drivertable_p.h"
#include "nodestore/node.h"
#include "nodestore/nodedb.h"

#include "platform/plugincall.h"
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

QtSignal signalOf(INodeScanner& scanner, const HintConnection& connection)
{
    return callPlugin(
        "a scanner's signal", QtSignal(), [&] { return (scanner.*connection.signal)(); });
}

void disconnectHints(INodeScanner& scanner, NodeDB* db)
{
    for (const auto& each : k_hintConnections)
        tq::disconnect(signalOf(scanner, each), db, each.slot);
}

/** Returns a copy of `hint`; null, with a log line, when its kind cannot make one. */
std::shared_ptr<const NodeHint> copyOf(const NodeHint& hint)
{
    return std::shared_ptr<const NodeHint>(
        callPlugin("clone", nullptr, [&]() -> NodeHint* { return hint.clone(); }));
}

/** Runs `announce` now, or after the to-do list was let go if this thread holds it. */
template <class Announce>
void announceOutsideTheList(NodeDB* db, Announce announce)
{
    if (ToDoList::isHeldByThisThread())
        QMetaObject::invokeMethod(db, announce, Qt::QueuedConnection);
    else
        announce();
}

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
        if (!tq::connect(signal, &m_db, k_probeResultSlot))
            logLine(Log::eSurvived, "Later answers of this driver will not be heard: ",
                callPlugin("driverName", QString(), [&] { return driver->driverName(); }));
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
        if (!db)
            return;
        logLine(Log::eProgress, "NodeDB::startScanners: ", capability, "/", argument);
        for (const auto& each : k_hintConnections)
            tq::connect(signalOf(*scanner, each), db, each.slot);
        if (callPlugin("start", [&] { scanner->start(argument, secondArgument); })) {
            if (db)
                emit db->scannerStarted(QString::fromStdString(capability));
        } else {
            disconnectHints(*scanner, db);
        }
    }
}

void DiscoveryService::stopScanners(const std::string& capability)
{
    const QPointer<NodeDB> db(&m_db);
    for (const auto& scanner : scanners(capability)) {
        if (!db)
            return;
        disconnectHints(*scanner, db);
        callPlugin("stop", [&] { scanner->stop(); });
        if (db)
            emit db->scannerStopped(QString::fromStdString(capability));
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
    const std::shared_ptr<const NodeHint> copy = copyOf(hint);
    if (!copy)
        return;
    const int id = m_toDoList.add(copy, int(drivers.size()));
    announceOutsideTheList(db, [db, id, copy] { emit db->probeStarted(id, *copy); });
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
        announceOutsideTheList(
            db, [db, requestId, decided] { emit db->probeDecided(requestId, *decided); });
}

void DiscoveryService::applyChange(const NodeHint& hint, const QString& id)
{
    takeDeferred(id); // an older one
    const QPointer<NodeDB> db(&m_db);
    Node* const copy = db->beginUpdateNode(id, -1);
    if (!copy || !db)
        return;
    callPlugin("updateFromHint", [&] { copy->updateFromHint(hint); });
    db->endUpdateNode(copy);
}

void DiscoveryService::deferChange(const NodeHint& hint, const QString& id)
{
    const std::shared_ptr<const NodeHint> copy = copyOf(hint);
    if (!copy)
        return;
    const QMutexLocker locker(&m_deferredMutex);
    m_deferred[id] = copy;
}

std::shared_ptr<const NodeHint> DiscoveryService::takeDeferred(const QString& id)
{
    const QMutexLocker locker(&m_deferredMutex);
    return m_deferred.take(id);
}

} // namespace tq
