// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "scanners/wsdiscovery/wsmessages_p.h"

#include "parts/boundedxml.h"
#include "parts/cleantext.h"

#include <QHash>
#include <QUuid>

#include <algorithm>

namespace tq {

namespace {

constexpr qsizetype k_mostBytes = 32767; ///< the largest envelope of the standard for devices
constexpr qsizetype k_longestEndpoint = 256;
constexpr int k_longestName = 80;
constexpr int k_mostAddresses = 16;

// The action, the message's id, the content.
const QString k_envelope = QStringLiteral(
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>"
    "<s:Envelope xmlns:s=\"http://www.w3.org/2003/05/soap-envelope\""
    " xmlns:a=\"http://schemas.xmlsoap.org/ws/2004/08/addressing\""
    " xmlns:d=\"http://schemas.xmlsoap.org/ws/2005/04/discovery\""
    " xmlns:dn=\"http://www.onvif.org/ver10/network/wsdl\""
    " xmlns:wsdp=\"http://schemas.xmlsoap.org/ws/2006/02/devprof\">"
    "<s:Header><a:Action>http://schemas.xmlsoap.org/ws/2005/04/discovery/%1</a:Action>"
    "<a:MessageID>%2</a:MessageID>"
    "<a:To>urn:schemas-xmlsoap-org:ws:2005:04:discovery</a:To></s:Header>"
    "<s:Body><d:%1>%3</d:%1></s:Body></s:Envelope>");

bool isPrintable(const QString& text)
{
    return std::all_of(text.begin(), text.end(),
        [](QChar each) { return each > QLatin1Char(' ') && each <= QLatin1Char('~'); });
}

QString textOf(const XmlElement* element)
{
    return element ? element->text : QString();
}

QStringList wordsOf(const XmlElement* element)
{
    return textOf(element).simplified().split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

QString nameIn(const QStringList& scopes)
{
    static const QString k_prefix = QStringLiteral("onvif://www.onvif.org/name/");
    for (const QString& scope : scopes) {
        if (!scope.startsWith(k_prefix, Qt::CaseInsensitive))
            continue;
        const QByteArray said = scope.mid(k_prefix.size()).toUtf8();
        return cleanText(QByteArray::fromPercentEncoding(said), k_longestName);
    }
    return QString();
}

std::optional<WsDevice> readDevice(const XmlElement& said)
{
    const XmlElement* const reference = said.child(u"EndpointReference");
    WsDevice device;
    device.endpoint = reference ? textOf(reference->child(u"Address")) : QString();
    const qsizetype length = device.endpoint.size();
    if (length == 0 || length > k_longestEndpoint || !isPrintable(device.endpoint))
        return std::nullopt;
    device.name = nameIn(wordsOf(said.child(u"Scopes")));
    device.addresses = wordsOf(said.child(u"XAddrs")).mid(0, k_mostAddresses);
    bool isNumber = false;
    const quint32 version = textOf(said.child(u"MetadataVersion")).toUInt(&isNumber);
    if (isNumber)
        device.version = version;
    return device;
}

WsMessage::EKind kindOf(const XmlElement& content)
{
    static const QString k_namespace =
        QStringLiteral("http://schemas.xmlsoap.org/ws/2005/04/discovery");
    static const QHash<QString, WsMessage::EKind> k_kinds = {
        { QStringLiteral("Hello"), WsMessage::eHello }, { QStringLiteral("Bye"), WsMessage::eBye },
        { QStringLiteral("ProbeMatches"), WsMessage::eProbeMatches },
        { QStringLiteral("ResolveMatches"), WsMessage::eResolveMatches }
    };
    return content.ns == k_namespace ? k_kinds.value(content.name) : WsMessage::eOther;
}

QByteArray message(const char* action, const QString& id, const QString& content)
{
    return k_envelope.arg(QLatin1String(action), id, content).toUtf8();
}

} // namespace

QString newWsMessageId()
{
    return QStringLiteral("urn:uuid:") + QUuid::createUuid().toString(QUuid::WithoutBraces);
}

QByteArray wsProbe(const QString& id, EWsType type)
{
    const bool isVideo = type == EWsType::eNetworkVideoTransmitter;
    return message("Probe", id,
        isVideo ? QStringLiteral("<d:Types>dn:NetworkVideoTransmitter</d:Types>")
                : QStringLiteral("<d:Types>wsdp:Device</d:Types>"));
}

QByteArray wsResolve(const QString& id, const QString& endpoint)
{
    return message("Resolve", id,
        QStringLiteral("<a:EndpointReference><a:Address>%1</a:Address></a:EndpointReference>")
            .arg(endpoint.toHtmlEscaped()));
}

std::optional<WsMessage> readWsMessage(const QByteArray& datagram, QString& error)
{
    if (datagram.size() > k_mostBytes) {
        error = QStringLiteral("The message is too large.");
        return std::nullopt;
    }
    const auto envelope = readBoundedXml(datagram, &error);
    if (!envelope)
        return std::nullopt;
    const XmlElement* const body = envelope->child(u"Body");
    if (!body || envelope->name != QLatin1String("Envelope") || body->children.isEmpty()) {
        error = QStringLiteral("There is no message in it.");
        return std::nullopt;
    }
    const XmlElement& content = body->children.first();
    WsMessage message;
    message.kind = kindOf(content);
    if (const XmlElement* const header = envelope->child(u"Header"))
        message.relatesTo = textOf(header->child(u"RelatesTo"));
    const bool isOfItself = message.kind == WsMessage::eHello || message.kind == WsMessage::eBye;
    for (const XmlElement& said : isOfItself ? body->children.mid(0, 1) : content.children) {
        if (const auto device = readDevice(said))
            message.devices.append(*device);
    }
    return message;
}

} // namespace tq
