// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "drivers/ipcamera/ipcameradriver.h"

#include "drivers/ipcamera/devicepage_p.h"
#include "drivers/ipcamera/ipcameranode.h"
#include "drivers/ipcamera/webprobe_p.h"
#include "parts/devicehints.h"

#include "discovery/nodehintipdevice.h"

#include "platform/logline.h"

#include <QCache>
#include <QNetworkProxy>
#include <QQueue>

namespace tq {

namespace {

constexpr int k_priority = 10;
constexpr int k_cameraRank = 20;
constexpr int k_webRank = 50;
constexpr int k_notOurs = -1;
constexpr int k_mostOpen = 64; ///< probes at a time; each may hold two sockets
constexpr int k_mostRemembered = 1024;

/** A probe that waits for its turn. */
struct Request
{
    int id;
    QString key;
    QString host;
    QList<Endpoint> endpoints;
    QNetworkProxy proxy;
};

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

QString modelOf(const HintFacts& facts, const WebProbe::Answer& answer)
{
    QStringList parts{ facts.model, answer.server, answer.title };
    parts.removeAll(QString());
    parts.removeDuplicates();
    return parts.join(QStringLiteral(", "));
}

} // namespace

struct IPCameraDriver::Private
{
    explicit Private(IPCameraDriver* driver) : self(driver, [](INodeDriverComponent*) {}) { }

    /** Keeps what a device said, and returns its rank. */
    int take(const QString& key, const WebProbe::Answer& answer)
    {
        answers.insert(key, new WebProbe::Answer(answer));
        const bool isCamera = isCameraLike(answer.title) || isCameraLike(answer.server);
        return isCamera ? k_cameraRank : k_webRank;
    }

    // What answers carry: the signal's form asks for a handle. The loader owns the driver, and the
    // database keeps the loader's handle as long as it takes answers; so this one owns nothing, or
    // the driver would keep itself alive.
    tqm::smart<INodeDriverComponent> self;
    QQueue<Request> waiting;
    int open = 0;
    QCache<QString, WebProbe::Answer> answers{ k_mostRemembered };
};

IPCameraDriver::IPCameraDriver() : d(std::make_unique<Private>(this)) { }

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
    if (isOther || !WebProbe::isUsable(facts.address))
        return k_notOurs;
    d->waiting.enqueue({ requestId, keyOf(facts), facts.address, facts.endpoints, proxyOf(hint) });
    startWaitingProbes();
    return 0;
}

void IPCameraDriver::startWaitingProbes()
{
    while (!d->waiting.isEmpty() && d->open < k_mostOpen) {
        const Request request = d->waiting.dequeue();
        auto* const web = new WebProbe(request.host, request.endpoints, request.proxy, this);
        const auto take = [this, web, id = request.id, key = request.key](const auto& answer) {
            web->deleteLater();
            endProbe(id, answer ? d->take(key, *answer) : k_notOurs);
        };
        // Queued: a slot of ours may end this driver, and no socket may stand in its signal then.
        QObject::connect(web, &WebProbe::finished, this, take, Qt::QueuedConnection);
        ++d->open;
        web->start();
    }
}

void IPCameraDriver::endProbe(int requestId, int rank)
{
    --d->open;
    startWaitingProbes();
    emit probeFinished(requestId, d->self, rank);
}

NodeID IPCameraDriver::createNodeFromHint(const NodeHint& hint)
{
    const HintFacts facts = factsOf(hint);
    if (facts.address.isEmpty()) {
        logLine(Log::eSurvived, "Hint without an address, no camera made: ", facts.name);
        return QString();
    }
    const std::unique_ptr<WebProbe::Answer> said(d->answers.take(keyOf(facts)));
    const WebProbe::Answer answer =
        said ? *said : WebProbe::Answer{ facts.endpoints.first(), {}, {} };
    auto node = std::make_unique<IPCameraNode>(deviceId(facts, answer.endpoint.port));
    describe(*node, hint, answer.endpoint);
    node->setName(deviceName(facts, answer.title));
    node->setModelInfo(modelOf(facts, answer));
    return insertDevice(std::move(node), hint);
}

} // namespace tq
