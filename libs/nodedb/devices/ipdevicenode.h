// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "devices/userandpassword.h"
#include "devices/userspecificnodedata.h"
#include "environments/environmentspecificnodedata.h"
#include "environments/networkproxy.h"
#include "nodestore/node.h"

#include "platform/macaddress.h"

namespace tq {

/**
 * A device reached over IP.
 *
 * Host, port, SSL, bandwidth and control mode are kept per environment, logins per person who uses
 * the application; getters and setters are about the database's active environment and active user.
 * Setters take effect at once; connectionDataChanged() is emitted once, when the update they belong
 * to ends.
 */
class NODEDB_EXPORT IPDeviceNode : public Node
{
    Q_OBJECT

public:
    IPDeviceNode(ENodeType type, const QString& id);
    ~IPDeviceNode() override;
    Q_DISABLE_COPY_MOVE(IPDeviceNode)

    void deepCopy(Node* target) const override;
    void beginUpdateNode() override;
    void endUpdateNode() override;
    void updatePropertySet() const override;
    bool updateField(const tqgen::BaseProperty& property) override;

    /** Recognises a NodeHintIPDevice with this node's host address. */
    bool isIdentical(const NodeHint& hint) const override;

    /** As Node's, but "User" and "Password" fall back to the database's global login. */
    QString stringProperty(const QString& name, const QString& defaultValue) const override;
    void save(IPersistDestination* target) const override;
    void load(IPersistDestination* source) override;
    bool supportsExport() const override;
    void moveWithMembers(QThread* thread) override;

    virtual QString hostAddress() const;
    virtual void setHostAddress(const QString& address);
    virtual int port() const;
    virtual void setPort(int port);
    virtual int bandWidth() const;
    virtual void setBandWidth(int bandWidth);
    virtual int controlMode() const;

    /** The control mode is no connection data. */
    virtual void setControlMode(int mode);

    /** The proxy that applies: the node's own if in use, else the global one unless the host is an
     * exception. */
    virtual QString proxyAddress() const;
    virtual int proxyPort() const;
    virtual MACAddress mac() const;
    virtual void setMac(const MACAddress& mac);
    virtual bool ssl() const;
    virtual void setSsl(bool ssl);

    /** The login of the active user; with `useGlobal`, the database's global login while no user
     * name is set. */
    virtual QString user(bool useGlobal) const;
    virtual QString password(bool useGlobal) const;
    virtual void setUser(const QString& user, const QString& password);
    virtual bool savePassword() const;
    virtual void setSavePassword(bool save);

    /** Returns the node's own proxy. */
    virtual NetworkProxy& proxy();
    virtual const NetworkProxy& proxy() const;
    virtual QString proxyUser() const;
    virtual QString proxyPassword() const;

    /** What DNS-SD says of the device. */
    virtual QString serviceName() const;
    virtual void setServiceName(const QString& name);
    virtual QString fullName() const;
    virtual void setFullName(const QString& name);
    virtual bool bonjourAvailable() const;
    virtual void setBonjourAvailable(bool available);

    /** Logins of people other than the active user; without any signal. */
    virtual void setLoginForApplicationUser(const QString& applicationUser, const QString& user,
        const QString& password, bool savePassword);
    virtual void removeLoginForApplicationUser(const QString& applicationUser);
    virtual void setAudioPathId(const QString& id);
    virtual QString audioPathId() const;

public slots:
    virtual void activeUserChanged();
    virtual void activeEnvironmentChanged();
    virtual void proxyChanged();
    virtual void globalProxyChanged();
    virtual void globalAuthenticationChanged();

public:
    /** Leaves the host address of an environment empty: for one that should not keep those it took
     * over. Another environment keeps its own. */
    virtual void forgetAddress(const EnvironmentID& environment);

signals:
    /** What it takes to reach the device may have changed. */
    void connectionDataChanged(tq::NodeID id);

protected:
    /** Adds this class's entries to the property set. */
    void createPropertySet();

private:
    void connectSignals();
    UserAndPassword login() const;
    void setLogin(const UserAndPassword& login);
    void markConnectionDirty();
    const NetworkProxy* effectiveProxy() const;
    bool updateConnectionField(const tqgen::BaseProperty& property);
    bool updateLoginField(const tqgen::BaseProperty& property);
    template <class Self, class Function>
    static void forEachValue(Self& self, Function function);
    template <class T>
    void change(EnvironmentSpecificNodeData<T>& field, const T& current, const T& value,
        bool isConnectionData);

    EnvironmentSpecificNodeData<QString> m_hostAddress;
    EnvironmentSpecificNodeData<bool> m_ssl;
    EnvironmentSpecificNodeData<int> m_port;
    EnvironmentSpecificNodeData<int> m_bandWidth;
    EnvironmentSpecificNodeData<int> m_controlMode;
    MACAddress m_mac;
    NetworkProxy m_proxy;
    SimpleNodeProperty<QString> m_serviceName;
    SimpleNodeProperty<QString> m_fullName;
    SimpleNodeProperty<bool> m_bonjourAvailable;
    SimpleNodeProperty<int> m_recordingStorageUsage;
    SimpleNodeProperty<QString> m_audioPathId;
    UserSpecificNodeData<UserAndPassword> m_logins;
    std::atomic<bool> m_connectionDataDirty = false;
};

} // namespace tq
