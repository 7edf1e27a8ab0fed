// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "discovery/nodehintipdevice.h"

#include <QTextStream>

namespace tq {

NodeHintIPDevice::NodeHintIPDevice()
{
    // Hints are copied and destroyed on any thread: the proxy must not belong to one.
    m_proxy.moveToThread(nullptr);
}

NodeHintIPDevice::NodeHintIPDevice(const NodeHintIPDevice& other)
    : NodeHintKind(other)
    , m_hostAddress(other.m_hostAddress)
    , m_port(other.m_port)
    , m_ssl(other.m_ssl)
    , m_user(other.m_user)
    , m_password(other.m_password)
    , m_savePassword(other.m_savePassword)
    , m_channel(other.m_channel)
{
    other.m_proxy.deepCopy(&m_proxy);
    m_proxy.moveToThread(nullptr);
}

NodeHintIPDevice& NodeHintIPDevice::operator=(const NodeHintIPDevice& other)
{
    NodeHint::operator=(other);
    m_hostAddress = other.m_hostAddress;
    m_port = other.m_port;
    other.m_proxy.deepCopy(&m_proxy);
    m_ssl = other.m_ssl;
    m_user = other.m_user;
    m_password = other.m_password;
    m_savePassword = other.m_savePassword;
    m_channel = other.m_channel;
    return *this;
}

NodeHintIPDevice::~NodeHintIPDevice() = default;

void NodeHintIPDevice::writeAt(QTextStream& stream) const
{
    stream << "Name: " << name() << Qt::endl;
    stream << "HostAddress: " << hostAddress() << Qt::endl;
    stream << "Port: " << port() << Qt::endl;
    stream << "Proxy: " << proxy().proxyAddress() << Qt::endl;
    stream << "ProxyPort: " << proxy().proxyPort() << Qt::endl;
    stream << "Ssl: " << int(ssl()) << Qt::endl;
    stream << "User: " << user() << Qt::endl;
    stream << "SavePassword: " << int(savePassword()) << Qt::endl;
    stream << "ProxyUser: " << proxy().proxyUser() << Qt::endl;
    stream << "Channel: " << channel() << Qt::endl;
}

} // namespace tq
