// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "discovery/nodehint.h"
#include "environments/networkproxy.h"

namespace tq {

/** A network device described in full, typically by hand. */
class NODEDB_EXPORT NodeHintIPDevice : public NodeHintKind<NodeHintIPDevice>
{
public:
    NodeHintIPDevice();
    NodeHintIPDevice(const NodeHintIPDevice& other);
    NodeHintIPDevice& operator=(const NodeHintIPDevice& other);
    ~NodeHintIPDevice() override;

    /** Writes ten labelled lines; never the password. */
    void writeAt(QTextStream& stream) const override;

    QString hostAddress() const { return m_hostAddress; }
    void setHostAddress(const QString& address) { m_hostAddress = address; }
    int port() const { return m_port; }
    void setPort(int port) { m_port = port; }

    /** The proxy's values for all environments. It follows no database and lives on no thread. */
    const NetworkProxy& proxy() const { return m_proxy; }
    NetworkProxy& proxy() { return m_proxy; }
    bool ssl() const { return m_ssl; }
    void setSsl(bool ssl) { m_ssl = ssl; }
    QString user() const { return m_user; }
    void setUser(const QString& user) { m_user = user; }
    QString password() const { return m_password; }
    void setPassword(const QString& password) { m_password = password; }
    bool savePassword() const { return m_savePassword; }
    void setSavePassword(bool save) { m_savePassword = save; }
    int channel() const { return m_channel; }
    void setChannel(int channel) { m_channel = channel; }

private:
    QString m_hostAddress;
    int m_port = 80;
    NetworkProxy m_proxy;
    bool m_ssl = false;
    QString m_user;
    QString m_password;
    bool m_savePassword = false;
    int m_channel = 0;
};

} // namespace tq
