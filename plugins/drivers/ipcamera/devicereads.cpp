// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "drivers/ipcamera/devicereads_p.h"

#include "drivers/ipcamera/deviceprobe_p.h"
#include "drivers/ipcamera/ipcameranode.h"
#include "drivers/ipcamera/knownmac_p.h"
#include "drivers/ipcamera/weburl_p.h"
#include "nodestore/nodedb.h"

#include "platform/logline.h"

#include <QPointer>
#include <QTimer>

#include <utility>

namespace tq {

namespace {

constexpr int k_deadline = 5000; ///< ms
constexpr int k_mostOpen = 16; ///< reads without login at a time

QNetworkProxy proxyOf(const IPDeviceNode& node)
{
    const QString address = node.proxyAddress();
    return address.isEmpty()
        ? QNetworkProxy(QNetworkProxy::NoProxy)
        : QNetworkProxy(QNetworkProxy::HttpProxy, address, quint16(node.proxyPort()));
}

OnvifClient::Target targetOf(const IPDeviceNode& node, bool withLogin)
{
    const QString host = node.hostAddress();
    OnvifClient::Target target;
    target.host = host;
    target.service = webUrl(host, { node.port(), node.ssl() }, usualServicePath());
    target.proxy = proxyOf(node);
    if (withLogin)
        target.login = UserAndPassword(node.user(false), node.password(false), false);
    return target;
}

bool isSameDevice(const OnvifClient::Target& left, const OnvifClient::Target& right)
{
    return left.service == right.service && left.login == right.login;
}

} // namespace

QString DeviceReads::begin(const NodeID& id)
{
    const auto open = m_reads.constFind(id);
    if (open != m_reads.cend() && open->isAsked)
        return QString();
    return start(id, true);
}

void DeviceReads::beginWithoutLogin(const NodeID& id)
{
    m_waiting.enqueue(id);
    startWaiting();
}

void DeviceReads::startWaiting()
{
    while (!m_waiting.isEmpty() && m_reads.size() < k_mostOpen) {
        const NodeID id = m_waiting.dequeue();
        if (!m_reads.contains(id))
            start(id, false);
    }
}

QString DeviceReads::start(const NodeID& id, bool isAsked)
{
    const tqm::smart<const IPCameraNode> node = NodeDB::getDB()->node(id);
    if (node.null())
        return tr("There is no such camera.");
    if (!isUsableHost(node->hostAddress()))
        return tr("The camera's address is not known.");
    if (OnvifClient* const less = m_reads.take(id).client)
        less->deleteLater(); // not now: its end may be under way, and finds it by its address
    QObject::connect(
        NodeDB::getDB(), &QObject::destroyed, this, &DeviceReads::abandonAll, Qt::UniqueConnection);
    const OnvifClient::Target target = targetOf(*node, isAsked);
    auto* const client = new OnvifClient(target, this);
    m_reads.insert(id, { client, target, isAsked });
    // Queued: a slot of ours may end us, and no socket may stand in its signal then.
    QObject::connect(
        client, &OnvifClient::finished, this, [this, id, client] { end(id, client); },
        Qt::QueuedConnection);
    QTimer::singleShot(k_deadline, client, &OnvifClient::giveUp);
    client->ask({ eOnvifInformation, eOnvifInterfaces });
    return QString();
}

void DeviceReads::abandonAll()
{
    m_waiting.clear();
    for (const Read& read : std::as_const(m_reads))
        read.client->deleteLater();
    m_reads.clear();
}

void DeviceReads::end(const NodeID& id, const OnvifClient* client)
{
    if (m_reads.value(id).client != client)
        return; // another read has taken its place
    const Read read = m_reads.take(id);
    const QPointer<DeviceReads> self(this);
    QString error = client->error();
    if (error.isEmpty())
        error = store(id, read);
    if (!self)
        return;
    read.client->deleteLater();
    startWaiting();
    if (!read.isAsked)
        return;
    if (!error.isEmpty())
        logLine(Log::eSurvived, "Camera not read: ", id, ": ", error);
    emit finished(id, error);
}

/** Puts what was read into the node, if that is still about the device that was asked. */
QString DeviceReads::store(const NodeID& id, const Read& read)
{
    OnvifFacts facts = read.client->facts();
    if (!nodeWithMac(facts.mac).isNull())
        facts.mac = MACAddress();
    const QPointer<NodeDB> db(NodeDB::getDB());
    Node* const copy = db->beginUpdateNode(id, 0);
    if (!copy || !db)
        return tr("The camera is being edited, or was removed.");
    auto* const camera = qobject_cast<IPCameraNode*>(copy);
    const bool isSame = camera && isSameDevice(targetOf(*camera, read.isAsked), read.target);
    if (isSame)
        camera->takeOver(facts);
    db->endUpdateNode(copy);
    return isSame ? QString() : tr("The camera's address or login changed meanwhile.");
}

} // namespace tq
