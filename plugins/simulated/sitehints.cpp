// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "simulated/sitehints_p.h"

#include "discovery/nodehintfromarp.h"
#include "discovery/nodehintfrombonjour.h"
#include "discovery/nodehintipdevice.h"
#include "parts/devicehints.h"

#include <QUuid>

namespace tq {

namespace {

constexpr ENodeType k_nobodysType = ENodeType(9);
constexpr int k_cameraService = 1;
constexpr int k_storageService = 2;
constexpr int k_timeToLive = 120; // s
constexpr quint8 k_ipv4 = 4;

QString domain()
{
    return QStringLiteral("local");
}

/** What the texts of a record have under `key`. */
QString textOf(const QStringList& texts, const QString& key)
{
    const QStringList found = texts.filter(key + QLatin1Char('='), Qt::CaseInsensitive);
    for (const QString& text : found) {
        if (text.startsWith(key, Qt::CaseInsensitive))
            return text.mid(key.size() + 1);
    }
    return QString();
}

int serviceKindOf(site::EKind kind)
{
    switch (kind) {
    case site::KindCamera:
        return k_cameraService;
    case site::KindStorage:
        return k_storageService;
    case site::KindRecording:
    case site::KindOther:
        break;
    }
    return 0;
}

NodeHint* fromNeighbours(const site::DeviceSpec& device, const QHostAddress& address)
{
    return new NodeHintFromARP(address.toString(), MACAddress(device.mac));
}

NodeHint* fromRecord(const site::DeviceSpec& device, const QHostAddress& address)
{
    const Endpoint web = endpointOf(device);
    const QString webType = web.ssl ? QStringLiteral("_https._tcp") : QStringLiteral("_http._tcp");
    const site::Announcement announced = device.announces.isEmpty()
        ? site::Announcement{ webType, quint16(web.port), {} }
        : device.announces.first();
    SServiceInfo record;
    record.serviceName = device.name;
    record.isAvailable = 1;
    record.isResolved = 1;
    record.serviceKind = serviceKindOf(device.kind);
    record.serviceType = announced.type;
    record.domain = domain();
    record.hostName = device.name + QLatin1Char('.') + domain();
    record.texts = announced.texts;
    record.port = announced.port;
    record.ipVersion = k_ipv4;
    record.mac = MACAddress(device.mac);
    record.timeToLive = k_timeToLive;
    record.address = address.toString();
    record.fullName = QStringList{ device.name, announced.type, domain() }.join(QLatin1Char('.'));
    record.model = textOf(announced.texts, QStringLiteral("model"));
    record.serialNumber = textOf(announced.texts, QStringLiteral("serial"));
    record.path = textOf(announced.texts, QStringLiteral("path"));
    record.ssl = web.ssl && announced.port == web.port ? 1 : 0;
    auto* const hint = new NodeHintFromBonjour(record);
    hint->setName(record.serviceName);
    return hint;
}

NodeHintIPDevice* described(const site::DeviceSpec& device, const QHostAddress& address)
{
    const Endpoint web = endpointOf(device);
    auto* const hint = new NodeHintIPDevice;
    hint->setName(device.title);
    hint->setHostAddress(address.toString());
    hint->setPort(web.port);
    hint->setSsl(web.ssl);
    return hint;
}

NodeHint* fromProbeMatch(const site::DeviceSpec& device, const QHostAddress& address)
{
    const Endpoint web = endpointOf(device);
    QUrl service;
    service.setScheme(web.ssl ? QStringLiteral("https") : QStringLiteral("http"));
    service.setHost(address.toString());
    service.setPort(web.port);
    service.setPath(QStringLiteral("/onvif/device_service"));
    // A device keeps its name for ever, whatever address it gets.
    const QUuid id = QUuid::createUuidV5(QUuid(), device.mac);
    NodeHintIPDevice* const hint = described(device, address);
    hint->setSecondText(QStringLiteral("urn:uuid:") + id.toString(QUuid::WithoutBraces));
    hint->setThirdText(service.toString());
    hint->setFurtherValue(eWSDiscoveryService);
    return hint;
}

/** The folder of the recordings that the device makes of itself. */
NodeHint* fromFolder(const site::DeviceSpec& device, const QHostAddress& address)
{
    NodeHint* const hint = described(device, address);
    hint->setSecondText(QStringLiteral("/recordings/") + device.name);
    hint->setThirdText(deviceId(MACAddress(device.mac)));
    return hint;
}

NodeHint* newHintOf(const site::DeviceSpec& device, const QHostAddress& address)
{
    if (device.kind == site::KindRecording)
        return fromFolder(device, address);
    switch (device.appears.by) {
    case site::ByArp:
        return fromNeighbours(device, address);
    case site::ByDnssd:
        return fromRecord(device, address);
    case site::ByWsDiscovery:
        return fromProbeMatch(device, address);
    case site::ByIpDevice:
        break;
    }
    return described(device, address);
}

} // namespace

ENodeType nodeTypeOf(site::EKind kind)
{
    switch (kind) {
    case site::KindCamera:
        return eIPCameraNode;
    case site::KindStorage:
        return eNetworkStorageNode;
    case site::KindRecording:
        return eRecordingFolderNode;
    case site::KindOther:
        break;
    }
    return k_nobodysType;
}

Endpoint endpointOf(const site::DeviceSpec& device)
{
    const bool isSecure = device.answers == site::AnswerHttps;
    return { device.ports.value(0, isSecure ? 443 : 80), isSecure };
}

tqm::smart<NodeHint> hintOf(const site::DeviceSpec& device, const QHostAddress& address)
{
    tqm::smart<NodeHint> hint(newHintOf(device, address));
    if (device.kind == site::KindRecording || device.kind == site::KindOther)
        hint->setNodeType(nodeTypeOf(device.kind));
    return hint;
}

} // namespace tq
