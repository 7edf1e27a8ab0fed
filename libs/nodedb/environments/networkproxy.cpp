// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "environments/networkproxy.h"

#include "environments/environments.h"
#include "nodestore/nodedb.h"

#include "platform/persistscope.h"
#include "platform/properties/properties.h"
#include "platform/qtsignal.h"

namespace tq {

namespace {

constexpr int k_defaultPort = 8080;
const QString k_array = QStringLiteral("Environment");
const QString k_environment = QStringLiteral("Key");
const QString k_address = QStringLiteral("ProxyAddress");
const QString k_port = QStringLiteral("ProxyPort");
const QString k_user = QStringLiteral("ProxyUser");
const QString k_savePassword = QStringLiteral("SaveProxyPassword");
const QString k_password = QStringLiteral("ProxyPassword");
const QString k_use = QStringLiteral("UseProxy");

NodeDB* database()
{
    return NodeDB::getDB();
}

/** One environment's entry in a store. */
struct StoredProxy
{
    QString id;
    QString address;
    int port = 0;
    bool use = false;
    UserAndPassword credentials;
};

/** Reads the selected entry. Returns whether anything was there. */
bool readEntry(IPersistDestination* source, StoredProxy& entry)
{
    const QVariant key = source->value(k_environment, QVariant());
    const QVariant address = source->value(k_address, QVariant());
    const QVariant port = source->value(k_port, QVariant());
    const QVariant use = source->value(k_use, QVariant());
    entry.id = key.toString();
    entry.address = address.toString();
    entry.port = port.toInt();
    entry.use = use.toBool();
    entry.credentials.fromVariant(source->value(k_user, UserAndPassword().toVariant()));
    return key.isValid() || address.isValid() || port.isValid() || use.isValid()
        || entry.credentials != UserAndPassword();
}

} // namespace

NetworkProxy::NetworkProxy() = default;

NetworkProxy::~NetworkProxy() = default;

QString NetworkProxy::activeEnvironment()
{
    // Not through the database: hints carry proxies on threads where no database may come into
    // being.
    return Environments::activeEnvironment();
}

QStringList NetworkProxy::environmentIds()
{
    QStringList ids;
    for (const auto& environment : database()->environments()->getList())
        ids.append(environment.first);
    return ids;
}

void NetworkProxy::init()
{
    Environments* const environments = database()->environments();
    tq::connect(QtSignal(environments, SIGNAL(newEnvironmentAdded(const EnvironmentID&))), this,
        SLOT(copyFromActiveEnvironment(const EnvironmentID&)));
    tq::connect(QtSignal(environments, SIGNAL(environmentRemoved(const EnvironmentID&))), this,
        SLOT(removeEnvironmentEntry(const EnvironmentID&)));
}

bool NetworkProxy::useProxy() const
{
    return m_uses.value(activeEnvironment(), false);
}

QString NetworkProxy::proxyAddress() const
{
    return m_addresses.value(activeEnvironment());
}

int NetworkProxy::proxyPort() const
{
    return m_ports.value(activeEnvironment(), k_defaultPort);
}

QString NetworkProxy::proxyUser() const
{
    return m_credentials.value(activeEnvironment()).user;
}

QString NetworkProxy::proxyPassword() const
{
    return m_credentials.value(activeEnvironment()).password;
}

bool NetworkProxy::saveProxyPassword() const
{
    return m_credentials.value(activeEnvironment()).savePassword;
}

void NetworkProxy::setUseProxy(bool on)
{
    if (useProxy() == on)
        return;
    m_uses[activeEnvironment()] = on;
    emit proxyDataChanged();
}

void NetworkProxy::setProxyAddress(const QString& address, int port)
{
    if (proxyAddress() == address && proxyPort() == port)
        return;
    m_addresses[activeEnvironment()] = address;
    m_ports[activeEnvironment()] = port;
    emit proxyDataChanged();
}

void NetworkProxy::setProxyUser(const QString& user, const QString& password)
{
    if (proxyUser() == user && proxyPassword() == password)
        return;
    UserAndPassword& credentials = m_credentials[activeEnvironment()];
    credentials.user = user;
    credentials.password = password;
    emit proxyDataChanged();
}

void NetworkProxy::setSaveProxyPassword(bool save)
{
    // kept: no signal, unlike the other setters
    m_credentials[activeEnvironment()].savePassword = save;
}

void NetworkProxy::copyFromActiveEnvironment(const EnvironmentID& id)
{
    m_addresses[id] = proxyAddress();
    m_ports[id] = proxyPort();
    m_uses[id] = useProxy();
    m_credentials[id] = m_credentials.value(activeEnvironment());
}

void NetworkProxy::removeEnvironmentEntry(const EnvironmentID& id)
{
    m_addresses.remove(id);
    m_ports.remove(id);
    m_uses.remove(id);
    m_credentials.remove(id);
}

void NetworkProxy::deepCopy(NetworkProxy* target) const
{
    target->m_addresses = m_addresses;
    target->m_ports = m_ports;
    target->m_uses = m_uses;
    target->m_credentials = m_credentials;
}

void NetworkProxy::properties(tqgen::PropertySet& set) const
{
    using namespace tqgen;
    set.emplace<StringProperty>(k_address, tr("Proxy server IP address"), proxyAddress());
    set.emplace<IntProperty>(k_port, tr("Proxy server port"), proxyPort());
    set.emplace<StringProperty>(k_user, tr("proxy user"), proxyUser());
    set.emplace<BoolProperty>(k_savePassword, tr("Save proxy user password"), saveProxyPassword());
    set.emplace<StringProperty>(k_password, tr("Proxy user password"), proxyPassword());
    set.emplace<BoolProperty>(k_use, tr("Use this proxy"), useProxy());
}

bool NetworkProxy::updateField(const tqgen::BaseProperty& property)
{
    const QString name = property.name();
    const QString active = activeEnvironment();
    if (name == k_address)
        m_addresses[active] = tqgen::getValue(property, proxyAddress());
    else if (name == k_port)
        m_ports[active] = tqgen::getValue(property, proxyPort());
    else if (name == k_user)
        m_credentials[active].user = tqgen::getValue(property, proxyUser());
    else if (name == k_savePassword)
        m_credentials[active].savePassword = tqgen::getValue(property, saveProxyPassword());
    else if (name == k_password)
        m_credentials[active].password = tqgen::getValue(property, proxyPassword());
    else if (name == k_use)
        m_uses[active] = tqgen::getValue(property, useProxy());
    else
        return false;
    return true;
}

void NetworkProxy::save(IPersistDestination* target) const
{
    // kept: plain empty values where there is no entry, not the ones that reading falls back to
    const UserAndPassword none(QString(), QString(), false);
    PersistWriteArray array(target, k_array);
    for (const QString& id : environmentIds()) {
        array.next();
        target->setValue(k_environment, id);
        target->setValue(k_address, m_addresses.value(id, QStringLiteral("")));
        target->setValue(k_port, m_ports.value(id));
        target->setValue(k_use, m_uses.value(id));
        target->setValue(k_user, m_credentials.value(id, none).toVariant());
    }
}

void NetworkProxy::load(IPersistDestination* source)
{
    const auto entries = readPersistedEntries<StoredProxy>(
        source, k_array, [&](StoredProxy& entry) { return readEntry(source, entry); });
    for (const StoredProxy& entry : entries) {
        m_addresses[entry.id] = entry.address;
        m_ports[entry.id] = entry.port;
        m_uses[entry.id] = entry.use;
        m_credentials[entry.id] = entry.credentials;
    }
    if (entries.isEmpty())
        loadPlainKeys(source);
}

void NetworkProxy::loadPlainKeys(IPersistDestination* source)
{
    const QString active = activeEnvironment();
    m_addresses[active] = source->value(k_address, QString()).toString();
    m_ports[active] = source->value(k_port, k_defaultPort).toInt();
    m_uses[active] = source->value(k_use, false).toBool();
    const bool savePassword = source->value(k_savePassword, true).toBool();
    const QString password = source->value(k_password, QString()).toString();
    const QString user = source->value(k_user, QString()).toString();
    m_credentials[active] = UserAndPassword(user, password, savePassword);
}

void NetworkProxy::remove(IPersistDestination* target) const
{
    for (const QString& key : { k_use, k_address, k_port, k_user, k_savePassword, k_password })
        target->remove(key);
}

} // namespace tq
