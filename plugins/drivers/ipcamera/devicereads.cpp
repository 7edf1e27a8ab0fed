// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "drivers/ipcamera/devicereads_p.h"

#include "drivers/ipcamera/deviceprobe_p.h"
#include "drivers/ipcamera/ipcameranode.h"
#include "drivers/ipcamera/knownmac_p.h"
#include "drivers/ipcamera/weburl_p.h"
#include "nodestore/nodedb.h"
#include "parts/deviceidentity.h"

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

DeviceIdentity::EMatch match(const IPCameraNode& node, const OnvifFacts& facts)
{
    return identityOf(node).compare(
        { facts.mac, facts.serialNumber, facts.reference, facts.fullModel() });
}

bool isSameDevice(const OnvifClient::Target& left, const OnvifClient::Target& right)
{
    return left.service == right.service && left.login == right.login;
}

} // namespace

QString DeviceReads::begin(const NodeID& id)
{
    const auto open = m_reads.constFind(id);
    if (open != m_reads.cend() && open->step != eTellingAnybody)
        return QString();
    const tqm::smart<const IPCameraNode> node = NodeDB::getDB()->node(id);
    if (node.null() || node->hostAddress().isEmpty() || node->isAddressConfirmed())
        return start(id, eReading); // which refuses what it cannot read
    return identityOf(*node).isEmpty() ? unconfirmedAddress(*node) : start(id, eIdentifying);
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
            start(id, eTellingAnybody);
    }
}

QString DeviceReads::start(const NodeID& id, EStep step)
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
    const OnvifClient::Target target = targetOf(*node, step == eReading);
    auto* const client = new OnvifClient(target, this);
    m_reads.insert(id, { client, target, step });
    // Queued: a slot of ours may end us, and no socket may stand in its signal then.
    QObject::connect(
        client, &OnvifClient::finished, this, [this, id, client] { end(id, client); },
        Qt::QueuedConnection);
    QTimer::singleShot(k_deadline, client, &OnvifClient::giveUp);
    client->ask({ eOnvifReference, eOnvifInformation, eOnvifInterfaces });
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
    if (read.step == eIdentifying)
        error = goOn(id, read);
    else if (error.isEmpty())
        error = store(id, read);
    if (!self)
        return;
    read.client->deleteLater();
    const bool goesOn = m_reads.contains(id);
    startWaiting(); // perhaps with this very node
    if (read.step == eTellingAnybody || goesOn)
        return;
    if (!error.isEmpty())
        logLine(Log::eSurvived, "Camera not read: ", id, ": ", error);
    emit finished(id, error);
}

/** Begins to read with the login, now that the device has said who it is. */
QString DeviceReads::goOn(const NodeID& id, const Read& read)
{
    const tqm::smart<const IPCameraNode> node = NodeDB::getDB()->node(id);
    if (node.null())
        return tr("The camera was removed.");
    if (!isSameDevice(targetOf(*node, false), read.target))
        return tr("The camera's address changed meanwhile.");
    switch (match(*node, read.client->facts())) {
    case DeviceIdentity::eSame:
        return start(id, eReading);
    case DeviceIdentity::eOther:
        return tr("The device at %1 is another device than %2; it was sent no login.")
            .arg(node->hostAddress(), node->name());
    case DeviceIdentity::eUnknown:
        break;
    }
    return read.client->isReached() ? unconfirmedAddress(*node) : read.client->error();
}

/** Puts what was read into the node, if that is still about the device that was asked. */
QString DeviceReads::store(const NodeID& id, const Read& read)
{
    OnvifFacts facts = read.client->facts();
    const OnvifFacts said = facts;
    if (!nodeWithMac(facts.mac).isNull())
        facts.mac = MACAddress();
    const QPointer<NodeDB> db(NodeDB::getDB());
    Node* const copy = db->beginUpdateNode(id, 0);
    if (!copy || !db)
        return tr("The camera is being edited, or was removed.");
    auto* const camera = qobject_cast<IPCameraNode*>(copy);
    bool isSame = camera && isSameDevice(targetOf(*camera, read.step == eReading), read.target);
    if (isSame && !camera->isAddressConfirmed())
        isSame = match(*camera, said) == DeviceIdentity::eSame;
    if (isSame) {
        camera->takeOver(facts);
        camera->confirmAddress();
    }
    db->endUpdateNode(copy);
    return isSame ? QString() : tr("The camera's address or login changed meanwhile.");
}

} // namespace tq
