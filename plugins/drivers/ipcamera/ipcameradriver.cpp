// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "drivers/ipcamera/ipcameradriver.h"

#include "drivers/ipcamera/devicepage_p.h"
#include "drivers/ipcamera/deviceprobe_p.h"
#include "drivers/ipcamera/devicereads_p.h"
#include "drivers/ipcamera/ipcameranode.h"
#include "drivers/ipcamera/weburl_p.h"
#include "parts/devicehints.h"
#include "parts/probequeue.h"
#include "parts/proberejections.h"

#include "discovery/nodehintfrombonjour.h"
#include "discovery/nodehintipdevice.h"
#include "nodestore/nodedb.h"

#include "platform/logline.h"

#include <QCache>
#include <QNetworkProxy>
#include <QPointer>

#include <algorithm>

namespace tq {

namespace {

constexpr int k_priority = 10;
constexpr int k_onvifRank = 10;
constexpr int k_cameraRank = 20;
constexpr int k_webRank = 50;
constexpr int k_notOurs = -1;
constexpr int k_mostRemembered = 1024;

/** Under what the answer of a device is kept: a device entered with a port is that port's. */
QString keyOf(const HintFacts& facts)
{
    const bool isExact = facts.endpoints.size() == 1;
    const int port = isExact ? facts.endpoints.first().port : 0;
    return facts.address.toLower() + QLatin1Char('|') + QString::number(port);
}

QNetworkProxy proxyOf(const NodeHint& hint)
{
    const auto* const entered = dynamic_cast<const NodeHintIPDevice*>(&hint);
    if (!entered || !entered->proxy().useProxy())
        return QNetworkProxy(QNetworkProxy::NoProxy);
    const NetworkProxy& proxy = entered->proxy();
    return QNetworkProxy(
        QNetworkProxy::HttpProxy, proxy.proxyAddress(), quint16(proxy.proxyPort()));
}

/** Returns the URL of the service that the hint names, if it is one of the device itself. */
QUrl serviceOf(const HintFacts& facts)
{
    QUrl url = facts.serviceUrl;
    if (!isWebUrl(url) || !isSameHost(facts.address, url.host()))
        return QUrl();
    url.setUserInfo(QString());
    url.setFragment(QString());
    if (url.path().isEmpty())
        url.setPath(usualServicePath());
    return url;
}

QString modelOf(const HintFacts& facts, const DeviceAnswer& answer)
{
    QStringList parts{ facts.model, answer.server, answer.title };
    parts.removeAll(QString());
    parts.removeDuplicates();
    return parts.join(QStringLiteral(", "));
}

/** Whether some camera's address is not confirmed in the active environment: a device that nobody
 * recognises may be that one. */
bool isAnyCameraUnconfirmed()
{
    NodeDB* const db = NodeDB::getDB();
    const QList<ENodeType> cameras{ eIPCameraNode };
    const QStringList ids = db->nodeIdList(&cameras, false);
    return std::any_of(ids.begin(), ids.end(), [db](const NodeID& id) {
        const tqm::smart<const IPCameraNode> node = db->node(id);
        return !node.null() && !node->isAddressConfirmed();
    });
}

/** Whether a record announces a device whose address is known: it is not probed. */
bool isAnnounced(const NodeHint& hint)
{
    const auto* const record = dynamic_cast<const NodeHintFromBonjour*>(&hint);
    return record && record->isResolved != 0;
}

} // namespace

struct IPCameraDriver::Private
{
    explicit Private(IPCameraDriver* driver) : self(driver, [](INodeDriverComponent*) {}) { }

    /** Keeps what a device said, and returns its rank. */
    int take(const QString& key, const DeviceAnswer& answer)
    {
        answers.insert(key, new DeviceAnswer(answer));
        if (answer.speaksOnvif)
            return k_onvifRank;
        const bool isCamera = isCameraLike(answer.title) || isCameraLike(answer.server);
        return isCamera ? k_cameraRank : k_webRank;
    }

    // What answers carry: the signal's form asks for a handle. The loader owns the driver, and the
    // database keeps the loader's handle as long as it takes answers; so this one owns nothing, or
    // the driver would keep itself alive.
    tqm::smart<INodeDriverComponent> self;
    ProbeQueue probes;
    ProbeRejections rejections;
    QCache<QString, DeviceAnswer> answers{ k_mostRemembered };
    DeviceReads reads;
};

IPCameraDriver::IPCameraDriver() : d(std::make_unique<Private>(this))
{
    QObject::connect(&d->reads, &DeviceReads::finished, this, &IPCameraDriver::readFinished);
}

IPCameraDriver::~IPCameraDriver() = default;

bool IPCameraDriver::supportsNodeType(ENodeType type, int* priority)
{
    if (type != eIPCameraNode)
        return false;
    *priority = k_priority;
    return true;
}

QString IPCameraDriver::readableNodeTypeName(ENodeType)
{
    return tr("IP camera");
}

Node* IPCameraDriver::createNode(ENodeType type)
{
    return type == eIPCameraNode ? new IPCameraNode(QString()) : nullptr;
}

QString IPCameraDriver::driverName() const
{
    return QStringLiteral("ipcamera");
}

tqm::smart<NodeHint> IPCameraDriver::createNodeHint(ENodeType type)
{
    tqm::smart<NodeHint> hint(new NodeHintIPDevice);
    hint->setNodeType(type);
    return hint;
}

QtSignal IPCameraDriver::probeFinishedSignal()
{
    return QtSignal(this, SIGNAL(probeFinished(int, tqm::smart<INodeDriverComponent>, int)));
}

int IPCameraDriver::probe(int requestId, const NodeHint& hint)
{
    const HintFacts facts = factsOf(hint);
    const bool isOther = hint.nodeType() != eAnyNodeType && hint.nodeType() != eIPCameraNode;
    if (isOther || !isUsableHost(facts.address)) {
        d->rejections.note(requestId, EProbeRejection::eNotAsked);
        return k_notOurs;
    }
    const auto end = [this, requestId, key = keyOf(facts)](
                         const auto& answer, EProbeRejection reason) {
        if (!answer)
            d->rejections.note(requestId, reason);
        emit probeFinished(requestId, d->self, answer ? d->take(key, *answer) : k_notOurs);
    };
    if (ask(hint, end))
        return 0;
    d->rejections.note(requestId, EProbeRejection::eTooMany);
    return k_notOurs;
}

EProbeRejection IPCameraDriver::rejection(int requestId) const
{
    return d->rejections.of(requestId);
}

/** Asks the device of a hint for what it tells anybody. Returns false, and `take` is not called,
 * when too many are asked already. */
bool IPCameraDriver::ask(const NodeHint& hint, const TakeAnswer& take)
{
    const HintFacts facts = factsOf(hint);
    const DeviceProbe::Target target{ facts.address, facts.endpoints, serviceOf(facts),
        proxyOf(hint) };
    const auto start = [this, target, take] {
        auto* const device = new DeviceProbe(target, this);
        const auto end = [this, device, take](const auto& answer) {
            device->deleteLater();
            d->probes.ended();
            take(answer, device->rejection());
        };
        // Queued: a slot of ours may end this driver, and no socket may stand in its signal then.
        QObject::connect(device, &DeviceProbe::finished, this, end, Qt::QueuedConnection);
        device->start();
    };
    return d->probes.add(start);
}

NodeID IPCameraDriver::createNodeFromHint(const NodeHint& hint)
{
    HintFacts facts = factsOf(hint);
    if (facts.address.isEmpty()) {
        logLine(Log::eSurvived, "Hint without an address, no camera made: ", facts.name);
        return QString();
    }
    const std::unique_ptr<DeviceAnswer> said(d->answers.take(keyOf(facts)));
    const bool isTold = said || !isAnnounced(hint);
    if (!isTold && isAnyCameraUnconfirmed() && NodeDB::getDB()->lookupHint(hint).isNull()) {
        makeLater(hint);
        return QString();
    }
    DeviceAnswer answer;
    answer.endpoint = facts.endpoints.first();
    if (said)
        answer = *said;
    if (facts.mac.isEmpty())
        facts.mac = answer.onvif.mac;
    auto node = std::make_unique<IPCameraNode>(deviceId(facts.mac));
    describe(*node, hint, answer.endpoint);
    node->setName(deviceName(facts, answer.title));
    node->setModelInfo(modelOf(facts, answer));
    node->takeOver(answer.onvif);
    const NodeID id = insertDevice(std::move(node), hint);
    if (!id.isNull() && !isTold)
        readLater(id);
    return id;
}

/** Not now: the to-do list is ours, and another thread may be making the node. */
void IPCameraDriver::readLater(const NodeID& id)
{
    const auto read = [this, id, db = QPointer<NodeDB>(NodeDB::getDB())] {
        if (db)
            d->reads.beginWithoutLogin(id);
    };
    QMetaObject::invokeMethod(this, read, Qt::QueuedConnection);
}

/** Asks an announced device who it is, and makes its node then; not now, as above. */
void IPCameraDriver::makeLater(const NodeHint& hint)
{
    const auto make = [this, hint = std::shared_ptr<const NodeHint>(hint.clone()),
                          db = QPointer<NodeDB>(NodeDB::getDB())] {
        const HintFacts facts = factsOf(*hint);
        const auto end = [this, hint, db, facts](
                             const std::optional<DeviceAnswer>& answer, EProbeRejection) {
            DeviceAnswer silent;
            silent.endpoint = facts.endpoints.first();
            d->answers.insert(keyOf(facts), new DeviceAnswer(answer.value_or(silent)));
            if (db)
                createNodeFromHint(*hint);
        };
        if (db && !ask(*hint, end))
            end(std::nullopt, EProbeRejection::eTooMany); // better a node that says less than none
    };
    QMetaObject::invokeMethod(this, make, Qt::QueuedConnection);
}

QString IPCameraDriver::readDevice(const NodeID& id)
{
    return d->reads.begin(id);
}

QtSignal IPCameraDriver::readFinishedSignal()
{
    return QtSignal(this, SIGNAL(readFinished(tq::NodeID, QString)));
}

} // namespace tq
