// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "session/discoveryrecorder.h"

#include "discovery/inodedrivercomponent.h"
#include "discovery/inodescanner.h"
#include "discovery/nodehint.h"
#include "nodestore/node.h"
#include "nodestore/nodedb.h"

#include "platform/pluginloader.h"
#include "session/pluginanswer.h"

#include <QEvent>
#include <QScopedValueRollback>

#include <algorithm>

namespace tq {

namespace {

/** More are not told apart: they are several. */
constexpr int k_several = 2;

void appendOne(QStringList& ids, const QString& id)
{
    if (ids.size() < k_several && !ids.contains(id))
        ids.append(id);
}

} // namespace

DiscoveryRecorder::DiscoveryRecorder(NodeDB& database, qsizetype capacity)
    : m_database(database), m_shelf(capacity)
{
    m_clock.start();
    listDrivers();
    listenToScanners();
    listenToDatabase();
    listenToOutcomes();
}

DiscoveryRecorder::~DiscoveryRecorder() = default;

const HintStory* DiscoveryRecorder::storyOfNode(const QString& id) const
{
    return m_shelf.findNewest([&](const HintStory& story) {
        const bool hasMade = story.outcome == HintStory::eWon || story.outcome == HintStory::eMade;
        return hasMade && !story.isUpdated && story.nodeId == id; // one that was cut is nobody's
    });
}

bool DiscoveryRecorder::event(QEvent* event)
{
    // What the database announces on another thread says nothing of what this one is doing.
    const QScopedValueRollback rollback(m_isQueued, event->type() == QEvent::MetaCall);
    return QObject::event(event);
}

void DiscoveryRecorder::listDrivers()
{
    for (const auto& [type, name] : m_database.readableNodeTypeNames()) {
        const DriverHandle driver = m_database.nodeDriver(type);
        int index = indexOf(driver, nullptr);
        if (index < 0) {
            KnownDriver known;
            known.driver = driver.get();
            known.name = boundedText(pluginAnswer(QString(), [&] { return driver->driverName(); }));
            const QtSignal signal =
                pluginAnswer(QtSignal(), [&] { return driver->probeFinishedSignal(); });
            known.sender = signal.sender();
            tq::connect(
                signal, this, SLOT(answeredLater(int, tqm::smart<INodeDriverComponent>, int)));
            index = int(m_drivers.size());
            m_drivers.push_back(known);
        }
        m_drivers[std::size_t(index)].types.insert(type);
    }
    QList<ProbeLedger::Driver> drivers;
    for (const KnownDriver& known : m_drivers)
        drivers.append({ known.name, int(known.types.size()) });
    m_probes.setDrivers(drivers);
}

void DiscoveryRecorder::listenToScanners()
{
    for (const tqm::smart<INodeScanner> scanner :
        plugin::Loader::instance().listComponents("INodeScanner")) {
        if (scanner.null())
            continue;
        m_hasMissedSome =
            m_hasMissedSome || pluginAnswer(false, [&] { return scanner->isRunning(); });
        m_ears.push_back(std::make_unique<ScannerEar>(
            *scanner, [this](const ScannerEar::Report& report) { heardScanner(report); }));
    }
}

void DiscoveryRecorder::listenToDatabase()
{
    connect(&m_database, &NodeDB::scannerStarted, this, &DiscoveryRecorder::scannersChanged);
    connect(&m_database, &NodeDB::scannerStopped, this, &DiscoveryRecorder::scannersChanged);
    connect(&m_database, &NodeDB::probeStarted, this, &DiscoveryRecorder::probeStarted);
    connect(&m_database, &NodeDB::probeDecided, this, &DiscoveryRecorder::probeDecided);
    connect(&m_database, &NodeDB::nodeInserted, this, &DiscoveryRecorder::inserted);
    connect(&m_database, &NodeDB::nodeLost, this, &DiscoveryRecorder::lost);
    connect(&m_database, &NodeDB::beginUpdatingNode, this,
        [this](const NodeID& id) { updating(id, false); });
    connect(
        &m_database, &NodeDB::nodeUpdated, this, [this](const NodeID& id) { updating(id, true); });
}

void DiscoveryRecorder::listenToOutcomes()
{
    connect(&m_database, &NodeDB::duplicateNodeHint, this,
        [this](const NodeHint& hint, const NodeID& id) {
            HintStory* const story = storyOf(hint);
            if (story)
                finish(*story, HintStory::eDuplicate, id);
            news(story);
        });
    connect(&m_database, &NodeDB::unhandledNodeHint, this, [this](const NodeHint& hint) {
        HintStory* const story = storyOf(hint);
        if (story)
            finish(*story, HintStory::eUnhandled);
        news(story);
    });
    connect(&m_database, &NodeDB::probeFinished, this,
        [this](int requestId, const DriverHandle& driver, int result) {
            bindRequest(requestId);
            answered(requestId, indexOf(driver, nullptr), result, true);
        });
}

void DiscoveryRecorder::heardScanner(const ScannerEar::Report& report)
{
    if (!report.isEnd)
        return begins(report);
    HintDeliveries::Delivery over;
    over.scanner = report.ear;
    over.kind = report.kind;
    over.contents = recordOf(*report.hint).contents;
    over.isQueued = report.isQueued;
    m_deliveries.end(over);
    news(nullptr);
    scheduleSweep();
}

void DiscoveryRecorder::begins(const ScannerEar::Report& report)
{
    HintStory& story = add(report.kind, recordOf(*report.hint));
    story.origin = HintStory::eScanner;
    story.scanner = report.ear->name();
    story.isInferred = report.isQueued || !report.ear->hearsEnds();
    HintDeliveries::Delivery delivery;
    delivery.story = story.number;
    delivery.scanner = report.ear;
    delivery.kind = report.kind;
    delivery.contents = story.facts.contents;
    delivery.nodeType = story.facts.nodeType;
    delivery.isQueued = report.isQueued;
    delivery.hasEnd = report.ear->hearsEnds();
    m_deliveries.begin(delivery);
    news(nullptr);
    scheduleSweep();
}

void DiscoveryRecorder::scannersChanged()
{
    // The database connected itself anew: our ends have to come after it again.
    for (const auto& ear : m_ears) {
        m_deliveries.loseEnds(ear.get());
        ear->hearEnds();
    }
    scheduleSweep();
}

void DiscoveryRecorder::probeStarted(int requestId, const NodeHint& hint)
{
    HintStory* story = m_probes.storyOf(requestId);
    if (!story) {
        story = storyOf(hint);
        if (story)
            m_probes.begin(*story, requestId, elapsed());
    }
    if (story)
        m_shelf.update(*story);
    news(story);
}

void DiscoveryRecorder::bindRequest(int requestId)
{
    // Only while a driver makes a node is a probe announced after its first answers. An answer at
    // once is given inside of the delivery.
    HintDeliveries::Delivery* const inside = m_deliveries.innermost();
    const bool isIts = inside && !inside->isTold && inside->kind == HintStory::eNew
        && inside->nodeType == eAnyNodeType;
    HintStory* const story = isIts ? m_shelf.find(inside->story) : nullptr;
    if (m_probes.knows(requestId) || !story)
        return;
    inside->isTold = true;
    story->isInferred = true;
    m_probes.begin(*story, requestId, elapsed());
}

void DiscoveryRecorder::probeDecided(int requestId, const DriverHandle& driver)
{
    HintStory* const story = m_probes.storyOf(requestId);
    if (story) {
        const int winner = driver.null() ? -1 : indexOf(driver, nullptr);
        m_probes.decide(requestId, winner);
        if (!driver.null())
            nameNode(*story, winner);
        finish(*story, driver.null() ? HintStory::eNobody : HintStory::eWon, story->nodeId);
    }
    news(story);
}

void DiscoveryRecorder::answeredLater(
    int requestId, tqm::smart<INodeDriverComponent> driver, int result)
{
    answered(requestId, indexOf(driver, sender()), result, false);
}

void DiscoveryRecorder::answered(int requestId, int driver, int result, bool isAtOnce)
{
    HintStory::Answer answer;
    answer.at = elapsed();
    answer.result = result;
    answer.isAtOnce = isAtOnce;
    m_probes.answer(requestId, driver, answer);
    news(m_probes.storyOf(requestId));
}

void DiscoveryRecorder::inserted(const QString& id)
{
    m_heard = 0;
    if (m_isQueued)
        return;
    appendOne(m_justInserted, id);
    scheduleSweep();
    const auto* const inside = m_deliveries.innermost();
    const HintStory* const around = inside ? m_shelf.find(inside->story) : nullptr;
    if (around && !around->isFinished())
        appendOne(m_madeInside[inside->story], id);
    HintDeliveries::Delivery* const typed = m_deliveries.only(HintStory::eNew);
    HintStory* const story = typed ? m_shelf.find(typed->story) : nullptr;
    if (!story || (story->outcome != HintStory::eOpen && story->outcome != HintStory::eMade))
        return;
    finish(*story, HintStory::eMade, typed->isTold ? QString() : id);
    typed->isTold = true;
    m_heard = story->number;
}

void DiscoveryRecorder::nameNode(HintStory& story, int winner)
{
    const auto isWinners = [&](const QString& id) {
        const auto node = m_database.node(id);
        return winner >= 0 && !node.null()
            && m_drivers[std::size_t(winner)].types.contains(node->type());
    };
    // When the decision was announced later, the nodes made inside of the delivery remain.
    QStringList ids = m_justInserted.isEmpty() ? m_madeInside.take(story.number) : m_justInserted;
    const bool wasThere = ids.isEmpty();
    if (wasThere)
        ids = m_justUpdated;
    if (ids.size() != 1 || !isWinners(ids.first()))
        return;
    for (QStringList& others : m_madeInside)
        others.removeAll(ids.first());
    story.nodeId = boundedText(ids.first());
    story.isUpdated = wasThere;
}

void DiscoveryRecorder::updating(const QString& id, bool isDone)
{
    m_heard = 0;
    if (isDone && !m_isQueued) {
        appendOne(m_justUpdated, id);
        scheduleSweep();
    }
    const auto* const inside = m_deliveries.innermost();
    auto* const change = m_deliveries.only(HintStory::eChanged);
    HintStory* const story = m_shelf.find(change ? change->story : inside ? inside->story : 0);
    if (!story || m_isQueued || id.size() > HintRecord::k_longest)
        return;
    if (change && story->outcome == HintStory::eOpen && !isDone)
        story->nodeId = id; // the first one is that of the hint
    if (story->nodeId != id)
        return;
    m_heard = story->number;
    if (isDone && story->outcome == HintStory::eDuplicate)
        story->isUpdated = true;
    if (isDone && change) {
        change->isTold = true;
        finish(*story, HintStory::eUpdated, id);
    }
}

void DiscoveryRecorder::lost(const QString& id)
{
    auto* const gone = m_isQueued ? nullptr : m_deliveries.only(HintStory::eGone);
    HintStory* story = gone && !gone->isTold ? m_shelf.find(gone->story) : nullptr;
    if (story) {
        gone->isTold = true;
    } else {
        const bool isKnown =
            !m_isQueued && !m_hasMissedSome && !m_deliveries.isAnyOpen(HintStory::eGone);
        story = &add(HintStory::eGone, {});
        story->origin = isKnown ? HintStory::eByHand : HintStory::eUnknown;
    }
    finish(*story, HintStory::eLost, id);
    news(story);
}

HintStory& DiscoveryRecorder::add(HintStory::EKind kind, const HintRecord& facts)
{
    if (const auto dropped = m_shelf.makeRoom()) {
        m_probes.forget(*dropped);
        m_madeInside.remove(dropped->number);
    }
    HintStory& story = m_shelf.add();
    story.kind = kind;
    story.facts = facts;
    story.cameAt = elapsed();
    return story;
}

HintStory* DiscoveryRecorder::storyOf(const NodeHint& hint)
{
    const HintRecord facts = recordOf(hint);
    const HintDeliveries::Match match = m_deliveries.takeNew(facts.contents);
    if (match.story == 0) {
        HintStory& story = add(HintStory::eNew, facts);
        const bool isKnown = !m_hasMissedSome && !m_deliveries.mayHaveBeen(facts.contents);
        story.origin = isKnown ? HintStory::eByHand : HintStory::eUnknown;
        return &story;
    }
    HintStory* const story = m_shelf.find(match.story);
    if (story)
        story->isInferred = !match.isCertain || m_isQueued;
    QList<quint64> mixed = match.rivals;
    if (!mixed.isEmpty())
        mixed.append(match.story);
    for (const quint64 number : mixed) {
        if (HintStory* const one = m_shelf.find(number))
            one->origin = HintStory::eUnknown;
    }
    return story;
}

int DiscoveryRecorder::indexOf(const DriverHandle& driver, const QObject* sender) const
{
    const auto indexIf = [&](auto fits) {
        const auto found = std::find_if(m_drivers.begin(), m_drivers.end(), fits);
        return found == m_drivers.end() ? -1 : int(found - m_drivers.begin());
    };
    const int index =
        indexIf([&](const KnownDriver& known) { return known.driver == driver.get(); });
    if (index >= 0 || !sender)
        return index;
    return indexIf([&](const KnownDriver& known) { return known.sender == sender; });
}

void DiscoveryRecorder::news(const HintStory* story)
{
    m_justInserted.clear();
    m_justUpdated.clear();
    m_heard = story ? story->number : 0;
}

void DiscoveryRecorder::finish(HintStory& story, HintStory::EOutcome what, const QString& id)
{
    story.end(what, elapsed(), id);
    m_madeInside.remove(story.number);
    m_shelf.update(story);
}

void DiscoveryRecorder::scheduleSweep()
{
    if (m_isSweepDue)
        return;
    m_isSweepDue = true;
    QMetaObject::invokeMethod(this, &DiscoveryRecorder::sweep, Qt::QueuedConnection);
}

void DiscoveryRecorder::sweep()
{
    m_isSweepDue = false;
    m_justInserted.clear();
    m_justUpdated.clear();
    // Once more: a decision that is announced later comes after this.
    if (m_isInsideOld)
        m_madeInside.clear();
    m_isInsideOld = !m_madeInside.isEmpty();
    const QList<quint64> silent = m_deliveries.sweep();
    if (m_isInsideOld || m_deliveries.needsSweep())
        scheduleSweep();
    for (const quint64 number : silent) {
        HintStory* const story = m_shelf.find(number);
        if (story && story->outcome == HintStory::eOpen)
            finish(*story, HintStory::eSilence);
    }
}

} // namespace tq
