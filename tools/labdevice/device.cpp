// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "labdevice/device.h"

#include "labdevice/answer.h"

#include <QSslServer>
#include <QTcpSocket>

namespace lab {

Device::Device(const tq::site::DeviceSpec& spec, const QSslConfiguration& certificate)
    : m_spec(spec), m_certificate(certificate)
{
    if (m_spec.onvif)
        m_onvif.emplace(m_spec, m_logins);
}

Device::~Device() = default;

QString Device::listen()
{
    close();
    for (const quint16 port : std::as_const(m_spec.ports)) {
        auto server = makeServer();
        if (!server->listen(m_spec.address, port))
            return QStringLiteral("%1 cannot listen on %2 port %3: %4")
                .arg(m_spec.name, m_spec.address.toString())
                .arg(port)
                .arg(server->errorString());
        m_servers.push_back(std::move(server));
    }
    return QString();
}

void Device::close()
{
    // The connections are children of their server and go with it.
    m_servers.clear();
}

std::unique_ptr<QTcpServer> Device::makeServer()
{
    std::unique_ptr<QTcpServer> server;
    if (m_spec.answers == tq::site::AnswerHttps) {
        auto secure = std::make_unique<QSslServer>();
        secure->setSslConfiguration(m_certificate);
        server = std::move(secure);
    } else {
        server = std::make_unique<QTcpServer>();
    }
    connect(server.get(), &QTcpServer::pendingConnectionAvailable, this,
        [this, raw = server.get()] { welcome(raw); });
    return server;
}

void Device::welcome(QTcpServer* server)
{
    while (QTcpSocket* socket = server->nextPendingConnection()) {
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        if (m_spec.answers != tq::site::AnswerSilence)
            answerRequest(socket, m_spec.delay,
                [this](const HttpRequest& request) { return answer(request); });
    }
}

HttpReply Device::answer(const HttpRequest& request)
{
    if (request.headers.contains("authorization"))
        m_logins.takeHeader(request.headers.value("authorization"));
    const bool forService = request.method == "POST" && request.target == k_onvifTarget;
    HttpReply reply = m_onvif && forService ? m_onvif->answer(request) : pageOf(m_spec);
    if (!m_spec.server.isEmpty())
        reply.headers.append({ "Server", m_spec.server.toUtf8() });
    return reply;
}

} // namespace lab
