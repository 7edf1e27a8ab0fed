// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/discoverywatch.h"

#include "cli/nodesummary.h"

#include "discovery/inodedrivercomponent.h"
#include "discovery/nodehint.h"
#include "nodestore/node.h"
#include "nodestore/nodedb.h"

#include "platform/plugincall.h"
#include "session/discoveryrecorder.h"
#include "session/hintrecord.h"

#include <QEventLoop>
#include <QTimer>

#include <utility>

namespace tq::cli {

namespace {

bool isIPv4(const QString& address)
{
    constexpr int k_dots = 3;
    return address.count(QLatin1Char('.')) == k_dots && !address.contains(QLatin1Char(':'));
}

QString kept(const Node& node, const char* name)
{
    return callPlugin("stringProperty", QString(),
        [&] { return node.stringProperty(QLatin1String(name), QString()); });
}

/** Whether a known device was met at another address, and not at its own: it moved while nobody was
 * looking. Another family is no move, and a device may have several addresses. */
bool hasMoved(const QSet<QString>& heard, const QString& address, const QString& keptAddress)
{
    return isIPv4(address) && isIPv4(keptAddress) && !heard.contains(keptAddress);
}

/** Whether a device was met in an environment where nothing had confirmed its address yet. */
bool isUnconfirmed(const Node& node)
{
    return callPlugin("boolProperty", false,
        [&] { return !node.boolProperty(QStringLiteral("AddressConfirmed"), true); });
}

/** Whether a hint of a known device tells its MAC, or an id under which it announces itself, while
 * its node has none. */
bool tellsMore(const HintRecord& hint, const Node& node)
{
    const bool isReference = !hint.serviceId.contains(QLatin1String("._"));
    const auto keepsReferences = [&] { return node.hasProperty(text("EndpointReference")); };
    const bool lacksReference = isReference && callPlugin("hasProperty", false, keepsReferences)
        && kept(node, "EndpointReference").isEmpty();
    return (!hint.mac.isEmpty() && kept(node, "MAC").isEmpty())
        || (!hint.serviceId.isEmpty() && (lacksReference || kept(node, "FullName").isEmpty()));
}

} // namespace

QString DeviceEvent::word(EFate fate)
{
    switch (fate) {
    case eNew:
        return QStringLiteral("new");
    case eKnown:
        return QStringLiteral("known");
    case eChanged:
        return QStringLiteral("changed");
    case eGone:
        return QStringLiteral("gone");
    case eNotOurs:
        return QStringLiteral("not ours");
    case eNoDriver:
        return QStringLiteral("no driver");
    }
    return QString();
}

DiscoveryWatch::DiscoveryWatch(NodeDB& database, const DiscoveryRecorder* recorder)
    : m_database(database), m_recorder(recorder)
{
    for (const QString& id : database.nodeIdList()) {
        if (const auto node = database.node(id))
            m_known.insert(id, nodeSummary(database, *node));
    }
    connect(&database, &NodeDB::nodeInserted, this, [this](const NodeID& id) {
        tellOfNode(DeviceEvent::eNew, id);
        if (const auto node = m_database.node(id))
            m_heard[id].insert(kept(*node, "IP"));
    });
    connect(&database, &NodeDB::nodeLost, this,
        [this](const NodeID& id) { tellOfNode(DeviceEvent::eGone, id); });
    connect(&database, &NodeDB::nodeUpdated, this, &DiscoveryWatch::updated);
    connect(&database, &NodeDB::duplicateNodeHint, this,
        [this](const NodeHint& hint, const NodeID& id) { met(hint, id); });
    connect(&database, &NodeDB::unhandledNodeHint, this, [this](const NodeHint& hint) {
        tell(DeviceEvent::eNoDriver, QString(), hintSummary(hint));
    });
    connect(&database, &NodeDB::probeStarted, this,
        [this](int request, const NodeHint& hint) { m_probes.insert(request, hintSummary(hint)); });
    connect(&database, &NodeDB::probeDecided, this,
        [this](int request, const tqm::smart<INodeDriverComponent>& driver) {
            const QJsonObject device = m_probes.take(request);
            attributeChanges();
            if (driver.null())
                tell(DeviceEvent::eNotOurs, QString(), device, request);
            if (m_probes.isEmpty())
                emit idle();
        });
}

DiscoveryWatch::~DiscoveryWatch() = default;

bool DiscoveryWatch::waitForProbes(int timeout)
{
    if (m_probes.isEmpty())
        return true;
    QEventLoop loop;
    connect(this, &DiscoveryWatch::idle, &loop, &QEventLoop::quit);
    QTimer::singleShot(timeout, &loop, &QEventLoop::quit);
    loop.exec();
    return m_probes.isEmpty();
}

void DiscoveryWatch::tell(
    DeviceEvent::EFate fate, const QString& id, const QJsonObject& device, int request)
{
    const DeviceEvent event{ fate, id, device, QString(), request };
    if (!m_recorder) {
        emit happened(event);
        return;
    }
    if (m_waiting.isEmpty())
        QMetaObject::invokeMethod(this, &DiscoveryWatch::flush, Qt::QueuedConnection);
    m_waiting.append({ event, m_recorder->heard() });
}

void DiscoveryWatch::attributeChanges()
{
    const HintStory* const story = m_recorder ? m_recorder->story(m_recorder->heard()) : nullptr;
    if (!story || !story->isUpdated)
        return;
    for (Waiting& waiting : m_waiting) {
        if (waiting.story == 0 && waiting.event.fate == DeviceEvent::eChanged
            && waiting.event.nodeId == story->nodeId)
            waiting.story = story->number;
    }
}

void DiscoveryWatch::flush()
{
    for (Waiting& waiting : std::exchange(m_waiting, {})) {
        DeviceEvent& event = waiting.event;
        // Which hint made a node is known only when its probe was decided.
        const HintStory* const story = event.fate == DeviceEvent::eNew
            ? m_recorder->storyOfNode(event.nodeId)
            : m_recorder->story(waiting.story);
        if (story)
            event.from = story->from();
        emit happened(event);
    }
}

void DiscoveryWatch::tellOfNode(DeviceEvent::EFate fate, const QString& id)
{
    if (const auto node = m_database.node(id)) {
        const QJsonObject device = nodeSummary(m_database, *node);
        m_known.insert(id, device);
        tell(fate, id, device);
    }
}

void DiscoveryWatch::met(const NodeHint& hint, const QString& id)
{
    tellOfNode(DeviceEvent::eKnown, id);
    const auto node = m_database.node(id);
    if (!node)
        return;
    const HintRecord record = recordOf(hint);
    QSet<QString>& heard = m_heard[id];
    heard.insert(record.address);
    if (hasMoved(heard, record.address, kept(*node, "IP")) || tellsMore(record, *node)
        || isUnconfirmed(*node))
        m_database.nodeHintChanged(hint);
    confirm(id, record.address);
}

/** No hint changes what a person entered; but that the device is where they said is no change. */
void DiscoveryWatch::confirm(const QString& id, const QString& address)
{
    const auto node = m_database.node(id);
    if (!node || !isUnconfirmed(*node) || kept(*node, "IP") != address)
        return;
    if (Node* const copy = m_database.beginUpdateNode(id, 0)) {
        callPlugin("setStringProperty", [&] { copy->setStringProperty(text("IP"), address); });
        m_database.endUpdateNode(copy);
    }
}

void DiscoveryWatch::updated(const QString& id)
{
    const auto node = m_database.node(id);
    // Every update is announced; only those that show are news.
    if (node && m_known.value(id) != nodeSummary(m_database, *node))
        tellOfNode(DeviceEvent::eChanged, id);
}

} // namespace tq::cli
