// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
// The login, the proxy and the announcements of an IP device.
#include "devices/ipdevicenode.h"

#include "environments/globalnetworkproxy.h"
#include "nodestore/nodedb.h"

namespace tq {

namespace {

NodeDB* database()
{
    return NodeDB::getDB();
}

} // namespace

UserAndPassword IPDeviceNode::login() const
{
    return m_logins.get(database()->activeUser());
}

void IPDeviceNode::setLogin(const UserAndPassword& login)
{
    m_logins.set(database()->activeUser(), login);
    markStale();
}

QString IPDeviceNode::user(bool useGlobal) const
{
    const QString own = login().user;
    return own.isEmpty() && useGlobal ? database()->globalUser() : own;
}

QString IPDeviceNode::password(bool useGlobal) const
{
    // The test is on the user: a login with an empty password is a login.
    const UserAndPassword own = login();
    return own.user.isEmpty() && useGlobal ? database()->globalPassword() : own.password;
}

void IPDeviceNode::setUser(const QString& userName, const QString& userPassword)
{
    if (user(false) == userName && password(false) == userPassword)
        return;
    setLogin(UserAndPassword(userName, userPassword, savePassword()));
    markConnectionDirty();
}

bool IPDeviceNode::savePassword() const
{
    return login().savePassword;
}

void IPDeviceNode::setSavePassword(bool save)
{
    setLogin(UserAndPassword(user(false), password(false), save));
}

void IPDeviceNode::setLoginForApplicationUser(
    const QString& applicationUser, const QString& user, const QString& password, bool savePassword)
{
    m_logins.set(applicationUser, UserAndPassword(user, password, savePassword));
}

void IPDeviceNode::removeLoginForApplicationUser(const QString& applicationUser)
{
    m_logins.remove(applicationUser);
}

NetworkProxy& IPDeviceNode::proxy()
{
    return m_proxy;
}

const NetworkProxy& IPDeviceNode::proxy() const
{
    return m_proxy;
}

const NetworkProxy* IPDeviceNode::effectiveProxy() const
{
    if (m_proxy.useProxy())
        return &m_proxy;
    const GlobalNetworkProxy* const global = database()->globalProxy();
    const bool applies = global->useProxy() && !global->isAffectedFromExceptions(hostAddress());
    return applies ? global : nullptr;
}

QString IPDeviceNode::proxyAddress() const
{
    const NetworkProxy* const effective = effectiveProxy();
    return effective ? effective->proxyAddress() : QString();
}

int IPDeviceNode::proxyPort() const
{
    const NetworkProxy* const effective = effectiveProxy();
    return effective ? effective->proxyPort() : 0;
}

QString IPDeviceNode::proxyUser() const
{
    const NetworkProxy* const effective = effectiveProxy();
    return effective ? effective->proxyUser() : QString();
}

QString IPDeviceNode::proxyPassword() const
{
    const NetworkProxy* const effective = effectiveProxy();
    return effective ? effective->proxyPassword() : QString();
}

QString IPDeviceNode::serviceName() const
{
    return m_serviceName.value();
}

void IPDeviceNode::setServiceName(const QString& name)
{
    m_serviceName.set(name);
    markStale();
}

QString IPDeviceNode::fullName() const
{
    return m_fullName.value();
}

void IPDeviceNode::setFullName(const QString& name)
{
    m_fullName.set(name);
    markStale();
}

bool IPDeviceNode::bonjourAvailable() const
{
    return m_bonjourAvailable.value();
}

void IPDeviceNode::setBonjourAvailable(bool available)
{
    m_bonjourAvailable.set(available);
    markStale();
}

QString IPDeviceNode::audioPathId() const
{
    return m_audioPathId.value();
}

void IPDeviceNode::setAudioPathId(const QString& id)
{
    m_audioPathId.set(id);
    markStale();
}

void IPDeviceNode::activeUserChanged()
{
    markStale(); // the mirror shows the login of the active user
    emit connectionDataChanged(id());
}

void IPDeviceNode::activeEnvironmentChanged()
{
    markStale(); // and the values of the active environment
    emit connectionDataChanged(id());
}

void IPDeviceNode::proxyChanged()
{
    markConnectionDirty();
}

void IPDeviceNode::globalProxyChanged()
{
    if (!m_proxy.useProxy())
        emit connectionDataChanged(id());
}

void IPDeviceNode::globalAuthenticationChanged()
{
    if (login().user.isEmpty())
        emit connectionDataChanged(id());
}

} // namespace tq
