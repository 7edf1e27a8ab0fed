// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "labdevice/http.h"
#include "labdevice/loginlog.h"
#include "labdevice/onvif.h"
#include "simulated/site/site.h"

#include <QObject>
#include <QSslConfiguration>

#include <memory>
#include <optional>
#include <vector>

class QTcpServer;

namespace lab {

/** One device: listens on its address and answers as its site says. */
class Device : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Device)

public:
    Device(const tq::site::DeviceSpec& spec, const QSslConfiguration& certificate);
    ~Device() override;

    const tq::site::DeviceSpec& spec() const { return m_spec; }

    /** The logins that it was given since it was made, asked for or not. */
    const LoginLog& logins() const { return m_logins; }

    /** Takes another address; who listens goes on at the old one until the next listen(). */
    void setAddress(const QHostAddress& address) { m_spec.address = address; }

    /** Listens on all ports; returns what went wrong, empty when nothing did. */
    [[nodiscard]] QString listen();

    /** Drops every connection and listens no more. */
    void close();

private:
    std::unique_ptr<QTcpServer> makeServer();
    void welcome(QTcpServer* server);
    HttpReply answer(const HttpRequest& request);

    tq::site::DeviceSpec m_spec;
    QSslConfiguration m_certificate;
    LoginLog m_logins;
    std::optional<OnvifService> m_onvif;
    std::vector<std::unique_ptr<QTcpServer>> m_servers;
};

} // namespace lab
