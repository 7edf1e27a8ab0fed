// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "devices/ipdevicenode.h"

#include "discovery/nodehintipdevice.h"
#include "environments/globalnetworkproxy.h"
#include "nodestore/nodedb.h"

#include "platform/persistscope.h"
#include "platform/properties/properties.h"
#include "platform/qtsignal.h"

namespace tq {

namespace {

const QString k_ip = QStringLiteral("IP");
const QString k_ssl = QStringLiteral("SSL");
const QString k_port = QStringLiteral("Port");
const QString k_bandWidth = QStringLiteral("BandWidth");
const QString k_controlMode = QStringLiteral("ControlMode");
const QString k_mac = QStringLiteral("MAC");
const QString k_user = QStringLiteral("User");
const QString k_password = QStringLiteral("Password");
const QString k_savePassword = QStringLiteral("SavePassword");
constexpr int k_defaultPort = 80;
constexpr int k_noBandWidth = -1;
constexpr int k_exportableStorage = 2;

NodeDB* database()
{
    return NodeDB::getDB();
}

} // namespace

IPDeviceNode::IPDeviceNode(ENodeType type, const QString& id)
    : Node(type, id)
    , m_hostAddress(k_ip, QString())
    , m_ssl(k_ssl, false)
    , m_port(k_port, k_defaultPort)
    , m_bandWidth(k_bandWidth, k_noBandWidth)
    , m_controlMode(k_controlMode, 0)
    , m_serviceName(tr("Bonjour service name"), this, QStringLiteral("ServiceName"))
    , m_fullName(tr("Bonjour full name"), this, QStringLiteral("FullName"))
    , m_bonjourAvailable(
          tr("Bonjour service is available"), this, QStringLiteral("BonjourAvailable"))
    , m_recordingStorageUsage(
          tr("Recording storage usage"), this, QStringLiteral("RecordingStorageUsage"))
    , m_audioPathId(tr("Audio output path"), this, QStringLiteral("AudioPathID"))
    , m_logins(QStringLiteral("UserAndPassword"))
{
    m_proxy.init();
    connectSignals();
    createPropertySet();
}

IPDeviceNode::~IPDeviceNode() = default;

void IPDeviceNode::connectSignals()
{
    NodeDB* const db = database();
    tq::connect(QtSignal(db, SIGNAL(activeUserChanged())), this, SLOT(activeUserChanged()));
    tq::connect(
        QtSignal(db, SIGNAL(activeEnvironmentChanged())), this, SLOT(activeEnvironmentChanged()));
    tq::connect(QtSignal(&m_proxy, SIGNAL(proxyDataChanged())), this, SLOT(proxyChanged()));
    tq::connect(QtSignal(db->globalProxy(), SIGNAL(globalProxyDataChanged())), this,
        SLOT(globalProxyChanged()));
    tq::connect(QtSignal(db, SIGNAL(globalAuthenticationChanged())), this,
        SLOT(globalAuthenticationChanged()));
}

void IPDeviceNode::createPropertySet()
{
    using namespace tqgen;
    PropertySet& set = propertySet();
    const UserAndPassword own = login();
    set.emplace<StringProperty>(k_ip, tr("IP address"), hostAddress());
    set.emplace<IntProperty>(k_port, tr("Web server port"), port());
    set.emplace<StringProperty>(k_mac, tr("MAC address"), m_mac.toString());
    set.emplace<BoolProperty>(k_ssl, tr("SSL"), ssl());
    set.emplace<StringProperty>(k_user, tr("User"), own.user);
    set.emplace<BoolProperty>(k_savePassword, tr("Save user password"), own.savePassword);
    set.emplace<StringProperty>(k_password, tr("User password"), own.password);
    set.emplace<IntProperty>(k_bandWidth, tr("Band width"), bandWidth());
    set.emplace<IntProperty>(k_controlMode, tr("Control mode"), controlMode());
    m_proxy.properties(set);
    m_serviceName.createProperty(set);
    m_fullName.createProperty(set);
    m_bonjourAvailable.createProperty(set);
    m_recordingStorageUsage.createProperty(set);
    m_audioPathId.createProperty(set);
}

void IPDeviceNode::updatePropertySet() const
{
    tqgen::PropertySet& set = propertySet();
    set.setValue(k_ip, hostAddress());
    set.setValue(k_port, port());
    set.setValue(k_bandWidth, bandWidth());
    set.setValue(k_controlMode, controlMode());
    set.setValue(k_mac, m_mac.toString());
    set.setValue(k_ssl, ssl());
    set.setValue(k_user, user(false));
    set.setValue(k_password, password(false));
    set.setValue(k_savePassword, savePassword());
    m_proxy.properties(set);
    Node::updatePropertySet();
}

bool IPDeviceNode::updateField(const tqgen::BaseProperty& property)
{
    const bool taken = updateConnectionField(property) || updateLoginField(property)
        || m_proxy.updateField(property);
    markStale();
    return taken || Node::updateField(property);
}

bool IPDeviceNode::updateConnectionField(const tqgen::BaseProperty& property)
{
    const QString name = property.name();
    const QString active = database()->activeEnvironment();
    const auto take = [&](auto& field) {
        field.set(active, tqgen::getValue(property, field.value()));
    };
    if (name == k_ip)
        take(m_hostAddress);
    else if (name == k_port)
        take(m_port);
    else if (name == k_bandWidth)
        take(m_bandWidth);
    else if (name == k_controlMode)
        take(m_controlMode);
    else if (name == k_mac)
        m_mac = MACAddress(tqgen::getValue(property, QString()));
    else if (name == k_ssl)
        take(m_ssl);
    else
        return false;
    // kept: only these two, although the setters of SSL and bandwidth mark the connection data as
    // well
    if (name == k_ip || name == k_port)
        m_connectionDataDirty = true;
    return true;
}

bool IPDeviceNode::updateLoginField(const tqgen::BaseProperty& property)
{
    const QString name = property.name();
    UserAndPassword own = login();
    if (name == k_user)
        own.user = tqgen::getValue(property, own.user);
    else if (name == k_password)
        own.password = tqgen::getValue(property, own.password);
    else if (name == k_savePassword)
        own.savePassword = tqgen::getValue(property, own.savePassword);
    else
        return false;
    setLogin(own);
    // kept: a new password alone does not
    if (name == k_user)
        m_connectionDataDirty = true;
    return true;
}

void IPDeviceNode::beginUpdateNode()
{
    m_connectionDataDirty = false;
}

void IPDeviceNode::endUpdateNode()
{
    if (m_connectionDataDirty.exchange(false))
        emit connectionDataChanged(id());
}

bool IPDeviceNode::isIdentical(const NodeHint& hint) const
{
    const auto* device = dynamic_cast<const NodeHintIPDevice*>(&hint);
    return device && device->hostAddress() == hostAddress();
}

template <class Self, class Function>
void IPDeviceNode::forEachValue(Self& self, Function function)
{
    function(k_ip, self.m_hostAddress);
    function(k_ssl, self.m_ssl);
    function(k_port, self.m_port);
    function(k_bandWidth, self.m_bandWidth);
    function(k_controlMode, self.m_controlMode);
}

void IPDeviceNode::deepCopy(Node* target) const
{
    Node::deepCopy(target);
    auto* const device = static_cast<IPDeviceNode*>(target);
    device->m_hostAddress.assign(m_hostAddress);
    device->m_ssl.assign(m_ssl);
    device->m_port.assign(m_port);
    device->m_bandWidth.assign(m_bandWidth);
    device->m_controlMode.assign(m_controlMode);
    device->m_mac = m_mac;
    m_proxy.deepCopy(&device->m_proxy);
    device->m_logins = m_logins;
}

void IPDeviceNode::save(IPersistDestination* target) const
{
    Node::save(target);
    target->setValue(k_mac, m_mac.toString());
    m_proxy.save(target);
    m_logins.save(target);
    forEachValue(*this, [&](const QString& key, const auto& value) {
        const PersistGroup group(target, key);
        value.save(target);
    });
}

void IPDeviceNode::load(IPersistDestination* source)
{
    Node::load(source);
    m_mac = MACAddress(source->value(k_mac, QVariant()).toString());
    m_proxy.load(source);
    m_logins.load(source);
    forEachValue(*this, [&](const QString& key, auto& value) {
        const PersistGroup group(source, key);
        value.load(source);
    });
    markStale();
}

void IPDeviceNode::moveWithMembers(QThread* thread)
{
    Node::moveWithMembers(thread);
    forEachValue(*this, [&](const QString&, auto& value) { value.moveToThread(thread); });
    m_proxy.moveToThread(thread);
}

QString IPDeviceNode::stringProperty(const QString& name, const QString& defaultValue) const
{
    if (name == k_user)
        return user(true);
    if (name == k_password)
        return password(true);
    return Node::stringProperty(name, defaultValue);
}

bool IPDeviceNode::supportsExport() const
{
    return m_recordingStorageUsage.value() == k_exportableStorage;
}

template <class T>
void IPDeviceNode::change(
    EnvironmentSpecificNodeData<T>& field, const T& current, const T& value, bool isConnectionData)
{
    if (current == value)
        return;
    field.set(database()->activeEnvironment(), value);
    markStale();
    if (isConnectionData)
        m_connectionDataDirty = true;
}

QString IPDeviceNode::hostAddress() const
{
    return m_hostAddress.value();
}

void IPDeviceNode::setHostAddress(const QString& address)
{
    change(m_hostAddress, this->hostAddress(), address, true);
}

void IPDeviceNode::forgetAddress(const EnvironmentID& environment)
{
    m_hostAddress.set(environment, QString());
    if (environment == database()->activeEnvironment())
        m_connectionDataDirty = true;
    markStale();
}

int IPDeviceNode::port() const
{
    return m_port.value();
}

void IPDeviceNode::setPort(int port)
{
    change(m_port, this->port(), port, true);
}

int IPDeviceNode::bandWidth() const
{
    return m_bandWidth.value();
}

void IPDeviceNode::setBandWidth(int bandWidth)
{
    change(m_bandWidth, this->bandWidth(), bandWidth, true);
}

int IPDeviceNode::controlMode() const
{
    return m_controlMode.value();
}

void IPDeviceNode::setControlMode(int mode)
{
    change(m_controlMode, this->controlMode(), mode, false);
}

bool IPDeviceNode::ssl() const
{
    return m_ssl.value();
}

void IPDeviceNode::setSsl(bool ssl)
{
    change(m_ssl, this->ssl(), ssl, true);
}

MACAddress IPDeviceNode::mac() const
{
    return m_mac;
}

void IPDeviceNode::setMac(const MACAddress& mac)
{
    m_mac = mac;
    markStale();
}

void IPDeviceNode::markConnectionDirty()
{
    m_connectionDataDirty = true;
    markStale();
}

} // namespace tq
