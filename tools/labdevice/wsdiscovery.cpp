// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "labdevice/wsdiscovery.h"

#include "labdevice/onvif.h"
#include "labdevice/soap.h"

#include <QNetworkDatagram>
#include <QNetworkInterface>
#include <QUrl>
#include <QUuid>
#include <QXmlStreamWriter>

#include <algorithm>

#include <sys/socket.h>

namespace lab {

namespace {

const quint16 k_port = 3702;
const QHostAddress k_everybody(QStringLiteral("239.255.255.250"));
const QUuid k_family(QStringLiteral("{5d1b6a52-0c3c-4a0e-9d3f-7a4d00770a4d}"));

QString word(const char* latin1)
{
    return QString::fromLatin1(latin1);
}

QString urn(const QUuid& id)
{
    return word("urn:uuid:") + id.toString(QUuid::WithoutBraces);
}

// For the element that stands open now.
void declareNamespaces(QXmlStreamWriter& xml)
{
    xml.writeNamespace(ns::addressing, word("a"));
    xml.writeNamespace(ns::discovery, word("d"));
    xml.writeNamespace(ns::network, word("dn"));
    xml.writeNamespace(ns::device, word("tds"));
}

} // namespace

QString endpointReferenceOf(const tq::site::DeviceSpec& device)
{
    return urn(QUuid::createUuidV5(k_family, device.mac));
}

WsDiscovery::WsDiscovery(const tq::site::DeviceSpec& device, int version)
    : m_device(device), m_version(version)
{
    connect(&m_socket, &QUdpSocket::readyRead, this, &WsDiscovery::takeInput);
}

QString WsDiscovery::listen(const QString& link)
{
    // Bound to the interface, it hears only what comes in there, and what it says leaves there.
    const QNetworkInterface interface = QNetworkInterface::interfaceFromName(link);
    const QByteArray name = link.toLatin1();
    if (m_socket.bind(QHostAddress(QHostAddress::AnyIPv4), k_port, QUdpSocket::ShareAddress)
        && setsockopt(static_cast<int>(m_socket.socketDescriptor()), SOL_SOCKET, SO_BINDTODEVICE,
               name.constData(), static_cast<socklen_t>(name.size()))
            == 0
        && m_socket.joinMulticastGroup(k_everybody, interface)) {
        m_socket.setMulticastInterface(interface);
        return QString();
    }
    return QStringLiteral("%1 cannot answer WS-Discovery on %2: %3")
        .arg(m_device.name, link, m_socket.errorString());
}

void WsDiscovery::sayHello()
{
    send(word("Hello"), QString(), QString(), { k_everybody, k_port });
}

void WsDiscovery::sayBye()
{
    send(word("Bye"), QString(), QString(), { k_everybody, k_port });
}

void WsDiscovery::takeInput()
{
    while (m_socket.hasPendingDatagrams()) {
        const QNetworkDatagram datagram = m_socket.receiveDatagram();
        if (const auto message = readSoap(datagram.data()))
            answer(*message,
                { datagram.senderAddress(), static_cast<quint16>(datagram.senderPort()) });
    }
}

void WsDiscovery::answer(const SoapMessage& question, const Target& asker)
{
    if (question.body == std::pair(ns::discovery, word("Probe")) && isAskedFor(question))
        send(word("ProbeMatches"), word("ProbeMatch"), question.messageId, asker);
    else if (question.body == std::pair(ns::discovery, word("Resolve"))
        && question.endpoint == endpointReferenceOf(m_device))
        send(word("ResolveMatches"), word("ResolveMatch"), question.messageId, asker);
}

bool WsDiscovery::isAskedFor(const SoapMessage& probe) const
{
    const QList<std::pair<QString, QString>> own{ { ns::network, word("NetworkVideoTransmitter") },
        { ns::device, word("Device") } };
    const QStringList places = scopes();
    return std::all_of(probe.types.begin(), probe.types.end(), [&own](const auto& type) {
        return own.contains(type);
    }) && std::all_of(probe.scopes.begin(), probe.scopes.end(), [&places](const QString& asked) {
        return std::any_of(places.begin(), places.end(), [&asked](const QString& place) {
            return (place + QLatin1Char('/')).startsWith(asked + QLatin1Char('/'));
        });
    });
}

void WsDiscovery::send(
    const QString& name, const QString& match, const QString& relatesTo, const Target& target)
{
    const bool isLeaving = name == word("Bye");
    ++m_sent;
    const QByteArray bytes = writtenSoap(
        [&](QXmlStreamWriter& xml) {
            declareNamespaces(xml);
            writeHeader(xml, name, relatesTo, match.isEmpty());
        },
        [&](QXmlStreamWriter& xml) {
            declareNamespaces(xml);
            xml.writeStartElement(ns::discovery, name);
            if (!match.isEmpty())
                xml.writeStartElement(ns::discovery, match);
            writeSelf(xml, isLeaving);
            if (!match.isEmpty())
                xml.writeEndElement();
            xml.writeEndElement();
        });
    QNetworkDatagram datagram(bytes, target.address, target.port);
    datagram.setSender(m_device.address);
    m_socket.writeDatagram(datagram);
}

void WsDiscovery::writeHeader(
    QXmlStreamWriter& xml, const QString& action, const QString& relatesTo, bool toAll) const
{
    xml.writeTextElement(ns::addressing, word("Action"), ns::discovery + QLatin1Char('/') + action);
    xml.writeTextElement(ns::addressing, word("MessageID"), urn(QUuid::createUuid()));
    if (!relatesTo.isEmpty())
        xml.writeTextElement(ns::addressing, word("RelatesTo"), relatesTo);
    xml.writeTextElement(ns::addressing, word("To"),
        toAll ? word("urn:schemas-xmlsoap-org:ws:2005:04:discovery")
              : ns::addressing + word("/role/anonymous"));
    xml.writeEmptyElement(ns::discovery, word("AppSequence"));
    xml.writeAttribute(word("InstanceId"), QString::number(m_version));
    xml.writeAttribute(word("MessageNumber"), QString::number(m_sent));
}

void WsDiscovery::writeSelf(QXmlStreamWriter& xml, bool isLeaving) const
{
    xml.writeStartElement(ns::addressing, word("EndpointReference"));
    xml.writeTextElement(ns::addressing, word("Address"), endpointReferenceOf(m_device));
    xml.writeEndElement();
    if (isLeaving)
        return;
    xml.writeTextElement(
        ns::discovery, word("Types"), word("dn:NetworkVideoTransmitter tds:Device"));
    xml.writeTextElement(ns::discovery, word("Scopes"), scopes().join(QLatin1Char(' ')));
    xml.writeTextElement(ns::discovery, word("XAddrs"), serviceUrl());
    xml.writeTextElement(ns::discovery, word("MetadataVersion"), QString::number(m_version));
}

QStringList WsDiscovery::scopes() const
{
    const QString root = word("onvif://www.onvif.org/");
    const auto encoded = [](const QString& text) {
        return QString::fromLatin1(QUrl::toPercentEncoding(text));
    };
    return { root + word("type/video_encoder"), root + word("Profile/Streaming"),
        root + word("name/") + encoded(m_device.title),
        root + word("hardware/") + encoded(m_device.onvif->model) };
}

QString WsDiscovery::serviceUrl() const
{
    QUrl url;
    const bool isSecure = m_device.answers == tq::site::AnswerHttps;
    url.setScheme(isSecure ? word("https") : word("http"));
    url.setHost(m_device.address.toString());
    if (m_device.ports.first() != (isSecure ? 443 : 80))
        url.setPort(m_device.ports.first());
    url.setPath(QString::fromLatin1(k_onvifTarget));
    return url.toString();
}

} // namespace lab
