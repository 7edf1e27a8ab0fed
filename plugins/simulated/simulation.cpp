// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "simulated/simulation.h"

#include "simulated/agenda_p.h"
#include "simulated/sightings_p.h"
#include "simulated/sitehints_p.h"
#include "simulated/sitenodes_p.h"
#include "simulated/sitesource_p.h"

#include "discovery/nodehintipdevice.h"

#include "platform/logline.h"

#include <QSet>

namespace tq {

namespace {

constexpr int k_priority = 10;
constexpr int k_cameraRank = 20;
constexpr int k_storageRank = 30;
constexpr int k_notOurs = -1;
constexpr int k_later = 0;

const QString k_name = QStringLiteral("simulated");

/** The rank of an answer for a device that is asked for as `type`; that of a refusal when it is
 * another one. */
int rankOf(const site::DeviceSpec& device, ENodeType type)
{
    const ENodeType own = nodeTypeOf(device.kind);
    if (device.probe == site::ProbeRefused || (type != eAnyNodeType && type != own))
        return k_notOurs;
    if (own == eIPCameraNode)
        return k_cameraRank;
    return own == eNetworkStorageNode ? k_storageRank : k_notOurs;
}

} // namespace

struct Simulation::Private
{
    explicit Private(Simulation* simulation) : self(simulation, [](INodeDriverComponent*) {}) { }

    /** Reads the site; what is wrong with it is said once. */
    bool refresh()
    {
        const QString error = source.refresh();
        if (!error.isEmpty() && error != said)
            logLine(Log::eSurvived, "Nothing is simulated: ", error);
        said = error;
        return error.isEmpty();
    }

    const site::DeviceSpec* deviceOf(const NodeHint& hint)
    {
        return refresh() ? source.devices().find(factsOf(hint)) : nullptr;
    }

    // What answers carry. The loader owns the driver; so this handle owns nothing.
    tqm::smart<INodeDriverComponent> self;
    Agenda agenda;
    SiteSource source;
    QString said;
    QList<site::DeviceSpec> running; ///< those of the site as it was at the start
    bool isRunning = false;
    QSet<int> owed; ///< requests whose answer is on the agenda
};

Simulation::Simulation() : d(std::make_unique<Private>(this)) { }

Simulation::~Simulation() = default;

IInterface* Simulation::getInterface(const std::string& name)
{
    IInterface* const driver = INodeDriverComponent::getInterface(name);
    return driver ? driver : INodeScanner::getInterface(name);
}

const IInterface* Simulation::getInterface(const std::string& name) const
{
    return const_cast<Simulation*>(this)->getInterface(name);
}

void Simulation::start(unsigned int, int percent)
{
    if (d->isRunning)
        return;
    d->said.clear(); // each start says it anew
    if (!d->refresh())
        return;
    d->isRunning = true;
    d->running = d->source.devices().site().devices;
    d->agenda.setSpeed(percent > 0 ? percent : Agenda::k_usualSpeed);
    const qint64 start = d->agenda.now();
    for (const Sighting& sighting : sightingsOf(d->source.devices().site()))
        d->agenda.add(
            start + sighting.at, Agenda::eScanner, [this, sighting] { report(sighting); });
}

void Simulation::stop()
{
    d->agenda.clear(Agenda::eScanner);
    d->running.clear();
    d->isRunning = false;
}

void Simulation::report(const Sighting& sighting)
{
    const auto hint = hintOf(d->running.at(sighting.device), sighting.address);
    switch (sighting.kind) {
    case Sighting::eNew:
        emit newHint(*hint);
        break;
    case Sighting::eChanged:
        emit hintChanged(*hint);
        break;
    case Sighting::eGone:
        emit hintGone(*hint);
        break;
    }
}

bool Simulation::isRunning() const
{
    return d->isRunning;
}

QString Simulation::scannerName() const
{
    return k_name;
}

QtSignal Simulation::newHintSignal()
{
    return QtSignal(this, SIGNAL(newHint(const tq::NodeHint&)));
}

QtSignal Simulation::hintChangedSignal()
{
    return QtSignal(this, SIGNAL(hintChanged(const tq::NodeHint&)));
}

QtSignal Simulation::hintGoneSignal()
{
    return QtSignal(this, SIGNAL(hintGone(const tq::NodeHint&)));
}

bool Simulation::supportsNodeType(ENodeType type, int* priority)
{
    if (!isSimulated(type))
        return false;
    *priority = k_priority;
    return true;
}

QString Simulation::readableNodeTypeName(ENodeType type)
{
    if (type == eRecordingFolderNode)
        return tr("Recording folder");
    return type == eNetworkStorageNode ? tr("Network storage") : tr("IP camera");
}

Node* Simulation::createNode(ENodeType type)
{
    return newNode(type);
}

NodeID Simulation::createNodeFromHint(const NodeHint& hint)
{
    const site::DeviceSpec* const device = d->deviceOf(hint);
    const bool isTyped = hint.nodeType() != eAnyNodeType || !device;
    return insertNode(isTyped ? hint.nodeType() : nodeTypeOf(device->kind), hint, device);
}

int Simulation::probe(int requestId, const NodeHint& hint)
{
    const site::DeviceSpec* const device = d->deviceOf(hint);
    const int rank = device ? rankOf(*device, hint.nodeType()) : k_notOurs;
    if (rank == k_notOurs || device->probe == site::ProbeAtOnce)
        return rank;
    // The database asks once for each type, and counts one answer as often.
    const bool isPromised = device->probe != site::ProbeNever && !d->owed.contains(requestId);
    if (isPromised) {
        d->owed.insert(requestId);
        d->agenda.add(d->agenda.now() + device->probeDelay, Agenda::eDriver,
            [this, requestId, rank] { answer(requestId, rank); });
    }
    return device->probe == site::ProbeTwice ? rank : k_later;
}

void Simulation::answer(int requestId, int rank)
{
    d->owed.remove(requestId);
    emit probeFinished(requestId, d->self, rank);
}

QtSignal Simulation::probeFinishedSignal()
{
    return QtSignal(this, SIGNAL(probeFinished(int, tqm::smart<INodeDriverComponent>, int)));
}

QString Simulation::driverName() const
{
    return k_name;
}

tqm::smart<NodeHint> Simulation::createNodeHint(ENodeType type)
{
    tqm::smart<NodeHint> hint(new NodeHintIPDevice);
    hint->setNodeType(type);
    return hint;
}

} // namespace tq
