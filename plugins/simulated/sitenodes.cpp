// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "simulated/sitenodes_p.h"

#include "drivers/ipcamera/ipcameranode.h"
#include "drivers/recordingfolder/recordingfoldernode.h"
#include "drivers/recordingfolder/recordingfolders.h"
#include "nodestore/nodedb.h"
#include "parts/devicehints.h"
#include "parts/nasnode.h"
#include "simulated/sitehints_p.h"

#include "platform/logline.h"

#include <memory>

namespace tq {

namespace {

std::unique_ptr<IPDeviceNode> newDevice(ENodeType type, const QString& id)
{
    if (type == eIPCameraNode)
        return std::make_unique<IPCameraNode>(id);
    if (type == eNetworkStorageNode)
        return std::make_unique<NASNode>(id);
    return nullptr;
}

/** What the device says itself, else what it announced, else what its web server is called. */
QString modelOf(const site::DeviceSpec& device, const QString& announced)
{
    const bool isTold = device.onvif && !device.onvif->model.isEmpty();
    QStringList parts = isTold ? QStringList{ device.onvif->manufacturer, device.onvif->model }
                               : QStringList{ announced.isEmpty() ? device.server : announced };
    parts.removeAll(QString());
    return parts.join(QLatin1Char(' '));
}

QList<NASDeviceNode::AccessControl> rightsOn(const site::SmbShare& share)
{
    QList<NASDeviceNode::AccessControl> result;
    for (const QString& user : share.full)
        result.append({ user, NASDeviceNode::eFullAccess });
    for (const QString& user : share.readOnly)
        result.append({ user, NASDeviceNode::eReadOnlyAccess });
    return result;
}

/** What a login on the storage would show. The passwords are the site's: no store needs them. */
void takeShares(NASDeviceNode& node, const site::SmbSpec& smb)
{
    QList<UserAndPassword> users;
    for (const site::SmbUser& user : smb.users)
        users.append(UserAndPassword(user.name, user.password, false));
    QList<NASDeviceNode::Share> shares;
    for (const site::SmbShare& share : smb.shares)
        shares.append({ share.name, QString(), QLatin1Char('/') + share.name, rightsOn(share) });
    node.updateNode(users, shares);
}

/** Where the device is reached: a storage at its shares, anything else at its web server. */
Endpoint placeOf(ENodeType type, const NodeHint& hint, const site::DeviceSpec* device)
{
    if (type == eNetworkStorageNode)
        return { smbPortOf(hint), false };
    return device ? endpointOf(*device) : factsOf(hint).endpoints.first();
}

/** Two runs of a site give the same ids: a device without a known MAC has one of what the site
 * knows, or else of its address. */
QString newId(const HintFacts& facts, const site::DeviceSpec* device)
{
    const QString known = device ? device->mac : facts.address.toLower();
    QUuid uuid = QUuid::createUuidV5(QUuid(), known);
    while (!NodeDB::getDB()->node(deviceId(facts.mac, uuid)).null() && facts.mac.isEmpty())
        uuid = QUuid::createUuidV5(uuid, known);
    return deviceId(facts.mac, uuid);
}

void takeSite(IPDeviceNode& node, const site::DeviceSpec& device)
{
    node.setModelInfo(modelOf(device, node.modelInfo()));
    if (device.onvif)
        node.setSoftwareVersion(device.onvif->firmware);
    auto* const camera = dynamic_cast<IPCameraNode*>(&node);
    if (camera && device.onvif)
        camera->setSerialNumber(device.onvif->serial);
    auto* const storage = dynamic_cast<NASDeviceNode*>(&node);
    if (storage && device.smb)
        takeShares(*storage, *device.smb);
}

} // namespace

bool isSimulated(ENodeType type)
{
    return type == eRecordingFolderNode || type == eIPCameraNode || type == eNetworkStorageNode;
}

Node* newNode(ENodeType type)
{
    if (type == eRecordingFolderNode)
        return new RecordingFolderNode(QString());
    return newDevice(type, QString()).release();
}

NodeID insertNode(ENodeType type, const NodeHint& hint, const site::DeviceSpec* device)
{
    if (type == eRecordingFolderNode)
        return insertRecordingFolder(hint);
    HintFacts facts = factsOf(hint);
    if (facts.address.isEmpty()) {
        logLine(Log::eSurvived, "Hint without an address, no node made: ", facts.name);
        return QString();
    }
    if (facts.mac.isEmpty() && device && device->onvif)
        facts.mac = MACAddress(device->mac); // one that can be asked tells it
    const Endpoint endpoint = placeOf(type, hint, device);
    auto node = newDevice(type, newId(facts, device));
    if (!node)
        return QString();
    describe(*node, hint, endpoint);
    node->setMac(facts.mac);
    node->setName(deviceName(facts, device ? device->title : QString()));
    node->setModelInfo(facts.model);
    if (device)
        takeSite(*node, *device);
    return insertDevice(std::move(node), hint);
}

} // namespace tq
