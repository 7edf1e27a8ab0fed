// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "drivers/ipcamera/onvifmessages_p.h"

#include "parts/cleantext.h"
#include "parts/hintfacts.h"

#include <algorithm>

namespace tq {

namespace {

constexpr int k_longestText = 80;

const char* const k_soap = "http://www.w3.org/2003/05/soap-envelope";
const char* const k_device = "http://www.onvif.org/ver10/device/wsdl";

QByteArray nameOf(EOnvifQuestion question)
{
    switch (question) {
    case eOnvifDateAndTime:
        return "GetSystemDateAndTime";
    case eOnvifReference:
        return "GetEndpointReference";
    case eOnvifInformation:
        return "GetDeviceInformation";
    case eOnvifInterfaces:
        break;
    }
    return "GetNetworkInterfaces";
}

bool isElement(const XmlElement* element, const char* ns, const QByteArray& name)
{
    return element && element->ns == QLatin1String(ns) && element->name == QLatin1String(name);
}

QString textOf(const XmlElement* element)
{
    return element ? cleanText(element->text.toUtf8(), k_longestText) : QString();
}

QString faultOf(const XmlElement& fault)
{
    const XmlElement* const reason = fault.child(u"Reason");
    return reason ? textOf(reason->child(u"Text")) : QString();
}

/** Returns whether the interface's settings name `host` anywhere as an address. */
bool hasAddress(const XmlElement& element, const QString& host)
{
    const bool isIt = element.name == QLatin1String("Address") && isSameHost(element.text, host);
    return isIt
        || std::any_of(element.children.begin(), element.children.end(),
            [&](const XmlElement& child) { return hasAddress(child, host); });
}

MACAddress macOfInterface(const XmlElement& networkInterface)
{
    const XmlElement* const info = networkInterface.child(u"Info");
    const XmlElement* const address = info ? info->child(u"HwAddress") : nullptr;
    return address ? MACAddress(address->text) : MACAddress();
}

} // namespace

QByteArray onvifMessage(EOnvifQuestion question)
{
    return QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<s:Envelope xmlns:s=\"") + k_soap
        + "\"><s:Body><" + nameOf(question) + " xmlns=\"" + k_device
        + "\"/></s:Body></s:Envelope>\n";
}

QByteArray onvifContentType(EOnvifQuestion question)
{
    return QByteArray("application/soap+xml; charset=utf-8; action=\"") + k_device + '/'
        + nameOf(question) + '"';
}

std::optional<XmlElement> onvifResponse(
    EOnvifQuestion question, const QByteArray& message, QString* fault)
{
    const auto envelope = readBoundedXml(message, nullptr);
    if (!envelope || !isElement(&*envelope, k_soap, "Envelope"))
        return std::nullopt;
    const XmlElement* const body = envelope->child(u"Body");
    if (!isElement(body, k_soap, "Body") || body->children.isEmpty())
        return std::nullopt;
    const XmlElement& said = body->children.first();
    if (isElement(&said, k_device, nameOf(question) + "Response"))
        return said;
    if (isElement(&said, k_soap, "Fault"))
        *fault = faultOf(said);
    return std::nullopt;
}

void takeInformation(const XmlElement& response, OnvifFacts& facts)
{
    facts.manufacturer = textOf(response.child(u"Manufacturer"));
    facts.model = textOf(response.child(u"Model"));
    facts.firmware = textOf(response.child(u"FirmwareVersion"));
    facts.serialNumber = textOf(response.child(u"SerialNumber"));
}

QString referenceOf(const XmlElement& response)
{
    return textOf(response.child(u"GUID"));
}

MACAddress macOf(const XmlElement& response, const QString& host)
{
    QList<MACAddress> all;
    for (const XmlElement& each : response.children) {
        const MACAddress mac = macOfInterface(each);
        if (!mac.isOneDevices())
            continue;
        if (hasAddress(each, host))
            return mac;
        all.append(mac);
    }
    return all.size() == 1 ? all.first() : MACAddress();
}

} // namespace tq
