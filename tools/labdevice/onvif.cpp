// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "labdevice/onvif.h"

#include "labdevice/loginlog.h"
#include "labdevice/soap.h"
#include "labdevice/wsdiscovery.h"
#include "simulated/site/site.h"

#include <QDateTime>
#include <QXmlStreamWriter>

namespace lab {

namespace {

using tq::site::DeviceSpec;

QString word(const char* latin1)
{
    return QString::fromLatin1(latin1);
}

HttpReply inEnvelope(const QByteArray& status, const SoapPart& body)
{
    HttpReply reply;
    reply.status = status;
    reply.type = "application/soap+xml; charset=utf-8";
    reply.body = writtenSoap(nullptr, body);
    return reply;
}

HttpReply fault(const QByteArray& status, const char* code, const char* reason)
{
    return inEnvelope(status, [&](QXmlStreamWriter& xml) {
        xml.writeNamespace(ns::error, word("ter"));
        xml.writeStartElement(ns::soap, word("Fault"));
        xml.writeStartElement(ns::soap, word("Code"));
        xml.writeTextElement(ns::soap, word("Value"), word("env:Sender"));
        xml.writeStartElement(ns::soap, word("Subcode"));
        xml.writeTextElement(ns::soap, word("Value"), word("ter:") + word(code));
        xml.writeEndElement();
        xml.writeEndElement();
        xml.writeStartElement(ns::soap, word("Reason"));
        xml.writeStartElement(ns::soap, word("Text"));
        xml.writeAttribute(word("xml:lang"), word("en"));
        xml.writeCharacters(word(reason));
        xml.writeEndElement();
        xml.writeEndElement();
        xml.writeEndElement();
    });
}

void writeClock(QXmlStreamWriter& xml)
{
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const auto number = [&xml](const char* name, int value) {
        xml.writeTextElement(ns::schema, word(name), QString::number(value));
    };
    xml.writeStartElement(ns::device, word("SystemDateAndTime"));
    xml.writeTextElement(ns::schema, word("DateTimeType"), word("Manual"));
    xml.writeTextElement(ns::schema, word("DaylightSavings"), word("false"));
    xml.writeStartElement(ns::schema, word("UTCDateTime"));
    xml.writeStartElement(ns::schema, word("Time"));
    number("Hour", now.time().hour());
    number("Minute", now.time().minute());
    number("Second", now.time().second());
    xml.writeEndElement();
    xml.writeStartElement(ns::schema, word("Date"));
    number("Year", now.date().year());
    number("Month", now.date().month());
    number("Day", now.date().day());
    xml.writeEndElement();
    xml.writeEndElement();
    xml.writeEndElement();
}

void writeReference(QXmlStreamWriter& xml, const DeviceSpec& device)
{
    xml.writeTextElement(ns::device, word("GUID"), endpointReferenceOf(device));
}

void writeInformation(QXmlStreamWriter& xml, const DeviceSpec& device)
{
    const tq::site::OnvifSpec& onvif = *device.onvif;
    xml.writeTextElement(ns::device, word("Manufacturer"), onvif.manufacturer);
    xml.writeTextElement(ns::device, word("Model"), onvif.model);
    xml.writeTextElement(ns::device, word("FirmwareVersion"), onvif.firmware);
    xml.writeTextElement(ns::device, word("SerialNumber"), onvif.serial);
    xml.writeTextElement(ns::device, word("HardwareId"), onvif.model);
}

void writeInterfaces(QXmlStreamWriter& xml, const DeviceSpec& device)
{
    xml.writeStartElement(ns::device, word("NetworkInterfaces"));
    xml.writeAttribute(word("token"), word("eth0"));
    xml.writeTextElement(ns::schema, word("Enabled"), word("true"));
    xml.writeStartElement(ns::schema, word("Info"));
    xml.writeTextElement(ns::schema, word("Name"), word("eth0"));
    xml.writeTextElement(ns::schema, word("HwAddress"), device.mac.toUpper());
    xml.writeEndElement();
    xml.writeStartElement(ns::schema, word("IPv4"));
    xml.writeTextElement(ns::schema, word("Enabled"), word("true"));
    xml.writeStartElement(ns::schema, word("Config"));
    xml.writeStartElement(ns::schema, word("Manual"));
    xml.writeTextElement(ns::schema, word("Address"), device.address.toString());
    xml.writeTextElement(ns::schema, word("PrefixLength"), word("24"));
    xml.writeEndElement();
    xml.writeTextElement(ns::schema, word("DHCP"), word("false"));
    xml.writeEndElement();
    xml.writeEndElement();
    xml.writeEndElement();
}

struct Operation
{
    const char* name;
    bool needsLogin;
    void (*write)(QXmlStreamWriter& xml, const DeviceSpec& device);
};

const Operation k_operations[] = {
    { "GetSystemDateAndTime", false,
        [](QXmlStreamWriter& xml, const DeviceSpec&) { writeClock(xml); } },
    { "GetEndpointReference", false, writeReference },
    { "GetDeviceInformation", true, writeInformation },
    { "GetNetworkInterfaces", true, writeInterfaces },
};

const Operation* find(const SoapMessage& message)
{
    for (const Operation& operation : k_operations) {
        if (message.body.first == ns::device && message.body.second == word(operation.name))
            return &operation;
    }
    return nullptr;
}

} // namespace

OnvifService::OnvifService(const DeviceSpec& device, LoginLog& logins)
    : m_device(device), m_logins(logins)
{
    if (!device.onvif->user.isEmpty())
        m_gate.emplace(
            device.onvif->user, device.onvif->password, "Login to " + device.name.toUtf8());
}

HttpReply OnvifService::answer(const HttpRequest& request)
{
    const auto message = readSoap(request.body);
    if (message && !message->tokenUser.isEmpty())
        m_logins.take(word("usernametoken"), message->tokenUser);
    const Operation* operation = message ? find(*message) : nullptr;
    // Also who says nothing sensible is asked for the login first; some clients wait for that.
    const bool isOpen = !m_gate || (operation && !operation->needsLogin);
    if (!isOpen && !m_gate->admits(request)) {
        HttpReply refusal =
            fault("401 Unauthorized", "NotAuthorized", "The device asks for a login.");
        refusal.headers.append({ "WWW-Authenticate", m_gate->challenge() });
        return refusal;
    }
    if (!message)
        return fault("400 Bad Request", "WellFormed", "This is no SOAP 1.2 message.");
    if (!operation)
        return fault("400 Bad Request", "ActionNotSupported", "The device cannot do that.");
    return inEnvelope("200 OK", [&](QXmlStreamWriter& xml) {
        xml.writeNamespace(ns::device, word("tds"));
        xml.writeNamespace(ns::schema, word("tt"));
        xml.writeStartElement(ns::device, word(operation->name) + word("Response"));
        operation->write(xml, m_device);
        xml.writeEndElement();
    });
}

} // namespace lab
