// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "simulated/site/site.h"

#include <QObject>
#include <QSslConfiguration>

#include <memory>
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

    /** Takes another address; who listens goes on at the old one until the next listen(). */
    void setAddress(const QHostAddress& address) { m_spec.address = address; }

    /** Listens on all ports; returns what went wrong, empty when nothing did. */
    [[nodiscard]] QString listen();

    /** Drops every connection and listens no more. */
    void close();

private:
    std::unique_ptr<QTcpServer> makeServer();
    void welcome(QTcpServer* server);

    tq::site::DeviceSpec m_spec;
    QSslConfiguration m_certificate;
    std::vector<std::unique_ptr<QTcpServer>> m_servers;
};

} // namespace lab
