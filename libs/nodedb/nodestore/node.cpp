// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "nodestore/node.h"

#include "nodestore/nodedb.h"

#include "platform/properties/properties.h"
#include "platform/properties/propertysetproperty.h"

#include <QMutexLocker>

#include <utility>

namespace tq {

namespace {

const QString k_id = QStringLiteral("ID");
const QString k_name = QStringLiteral("Name");
const QString k_nodeType = QStringLiteral("NodeType");
const QString k_creationService = QStringLiteral("CreationService");
const QString k_shouldPersist = QStringLiteral("ShouldPersist");
const QString k_primaryNode = QStringLiteral("PrimaryNode");
const QString k_softwareVersion = QStringLiteral("SoftwareVersion");
const QString k_modelInfo = QStringLiteral("ModelInfo");
const QString k_preferredLayout = QStringLiteral("PreferredLayout");
const QString k_mouseOverSize = QStringLiteral("MouseOverSize");

/** One icon for all nodes, looked up at the first one: making it anew costs more than everything
 * else in a node's construction. */
QIcon sharedIcon()
{
    static const QIcon icon(QStringLiteral(":/nodeIcons/cam_ip.png"));
    return icon;
}

NodeDB* database()
{
    return NodeDB::getDB();
}

} // namespace

void NodeProperty::registerWithNode()
{
    m_node->m_propertyBag.add(this);
    m_node->m_hasUnshownProperties = true; // not now: the class that makes the entry is yet to come
}

void NodeProperty::createInNode()
{
    const QMutexLocker locker(&m_node->m_propertySetMutex);
    createProperty(m_node->m_propertySet);
}

QVariant NodeProperty::valueInNode() const
{
    const QMutexLocker locker(&m_node->m_propertySetMutex);
    const tqgen::BaseProperty* const entry = m_node->m_propertySet.find(name());
    return entry ? entry->value() : QVariant();
}

void NodeProperty::setValueInNode(const QVariant& value)
{
    const QMutexLocker locker(&m_node->m_propertySetMutex);
    m_node->m_propertySet.setValue(name(), value);
}

Node::Node(ENodeType type, const QString& id)
    : m_id(id)
    , m_type(type)
    , m_icon(sharedIcon())
    , m_extraWindowRect(
          tr("Size and position of extra window"), this, QStringLiteral("ExtraWindowRect"))
    , m_note(tr("Note"), this, QStringLiteral("Note"))
{
    createPropertySet();
}

Node::~Node() = default;

void Node::createPropertySet()
{
    using namespace tqgen;
    m_propertySet.emplace<StringProperty>(k_id, tr("Property ID"), m_id);
    m_propertySet.emplace<StringProperty>(k_name, tr("Node name"), m_name);
    m_propertySet.emplace<IntProperty>(k_nodeType, tr("Node type"), m_type);
    m_propertySet.emplace<IntProperty>(
        k_creationService, tr("Service which detected the node"), m_creationService);
    m_propertySet.emplace<BoolProperty>(
        k_shouldPersist, tr("Node should be stored"), m_shouldPersist);
    m_propertySet.emplace<BoolProperty>(k_primaryNode, tr("Primary node"), m_primaryNode);
    m_propertySet.emplace<StringProperty>(
        k_softwareVersion, tr("Software version"), m_softwareVersion);
    m_propertySet.emplace<StringProperty>(k_modelInfo, tr("Model information"), m_modelInfo);
    m_propertySet.emplace<StringProperty>(
        k_preferredLayout, tr("Preferred layout"), m_preferredLayout);
    m_propertySet.emplace<StringProperty>(
        k_mouseOverSize, tr("Size when mouse is over the node"), m_mouseOverSize);
    showExtraProperties();
}

void Node::showExtraProperties() const
{
    if (!std::exchange(m_hasUnshownProperties, false))
        return;
    for (const NodeProperty* property : m_propertyBag.properties()) {
        if (!m_propertySet.contains(property->name()))
            property->createProperty(m_propertySet);
    }
}

void Node::deepCopy(Node* target) const
{
    target->m_id = m_id;
    target->m_name = m_name;
    target->m_type = m_type;
    target->m_creationService = m_creationService;
    target->m_shouldPersist = m_shouldPersist;
    target->m_context = m_context;
    target->m_primaryNode = m_primaryNode;
    target->m_state = m_state;
    target->m_softwareVersion = m_softwareVersion;
    target->m_modelInfo = m_modelInfo;
    target->m_preferredLayout = m_preferredLayout;
    target->m_mouseOverSize = m_mouseOverSize;
    target->m_owner = m_owner;
    m_propertyBag.deepCopy(target->m_propertyBag);
    target->markStale();
}

void Node::beginUpdateNode() { }

void Node::endUpdateNode() { }

void Node::updatePropertySet() const
{
    m_propertySet.setValue(k_id, m_id);
    m_propertySet.setValue(k_nodeType, int(m_type));
    m_propertySet.setValue(k_name, m_name);
    m_propertySet.setValue(k_creationService, int(m_creationService));
    m_propertySet.setValue(k_shouldPersist, m_shouldPersist);
    m_propertySet.setValue(k_primaryNode, m_primaryNode);
    m_propertySet.setValue(k_softwareVersion, m_softwareVersion);
    m_propertySet.setValue(k_modelInfo, m_modelInfo);
    m_propertySet.setValue(k_preferredLayout, m_preferredLayout);
    m_propertySet.setValue(k_mouseOverSize, m_mouseOverSize);
    m_propertyBag.updatePropertySet(m_propertySet);
    m_propertySetStale = false;
}

bool Node::updateField(const tqgen::BaseProperty& property)
{
    const bool taken = updateBaseField(property) || m_propertyBag.updateField(property);
    markStale();
    return taken;
}

bool Node::updateBaseField(const tqgen::BaseProperty& property)
{
    const QString name = property.name();
    const auto take = [&](auto& field) { field = tqgen::getValue(property, field); };
    if (name == k_name)
        take(m_name);
    else if (name == k_creationService)
        m_creationService = ENodeCreationService(tqgen::getValue<int>(property, m_creationService));
    else if (name == k_shouldPersist)
        take(m_shouldPersist);
    else if (name == k_primaryNode)
        take(m_primaryNode);
    else if (name == k_softwareVersion)
        take(m_softwareVersion);
    else if (name == k_modelInfo)
        take(m_modelInfo);
    else if (name == k_preferredLayout)
        take(m_preferredLayout);
    else if (name == k_mouseOverSize)
        take(m_mouseOverSize);
    else
        return false;
    return true;
}

void Node::markStale()
{
    const QMutexLocker locker(&m_propertySetMutex);
    m_propertySetStale = true;
}

void Node::refresh() const
{
    showExtraProperties();
    if (m_propertySetStale)
        updatePropertySet();
}

tqgen::PropertySet Node::properties() const
{
    const QMutexLocker locker(&m_propertySetMutex);
    refresh();
    return m_propertySet;
}

bool Node::hasProperty(const QString& name) const
{
    const QMutexLocker locker(&m_propertySetMutex);
    showExtraProperties();
    return m_propertySet.contains(name);
}

bool Node::compareProperty(const tqgen::BaseProperty& property) const
{
    const QMutexLocker locker(&m_propertySetMutex);
    refresh();
    const tqgen::BaseProperty* const own = m_propertySet.find(property.name());
    return own && own->value() == property.value();
}

template <class T>
T Node::typedProperty(const QString& name, const T& defaultValue) const
{
    const QMutexLocker locker(&m_propertySetMutex);
    refresh();
    return tqgen::getValue<T>(m_propertySet.find(name), defaultValue);
}

template <class T>
void Node::setTypedProperty(const QString& name, const T& value)
{
    const QMutexLocker locker(&m_propertySetMutex);
    if (!hasProperty(name) || !m_propertySet.setValue(name, QVariant::fromValue(value)))
        return;
    // A copy: refreshing while the field is taken would write into the property that is being read.
    updateField(*m_propertySet.find(name)->clone());
}

bool Node::boolProperty(const QString& name, bool defaultValue) const
{
    return typedProperty(name, defaultValue);
}

void Node::setBoolProperty(const QString& name, bool value)
{
    setTypedProperty(name, value);
}

int Node::intProperty(const QString& name, int defaultValue) const
{
    return typedProperty(name, defaultValue);
}

void Node::setIntProperty(const QString& name, int value)
{
    setTypedProperty(name, value);
}

uint Node::uintProperty(const QString& name, uint defaultValue) const
{
    return typedProperty(name, defaultValue);
}

void Node::setUIntProperty(const QString& name, uint value)
{
    setTypedProperty(name, value);
}

quint64 Node::u64Property(const QString& name, quint64 defaultValue) const
{
    return typedProperty(name, defaultValue);
}

void Node::setU64Property(const QString& name, quint64 value)
{
    setTypedProperty(name, value);
}

QString Node::stringProperty(const QString& name, const QString& defaultValue) const
{
    return typedProperty(name, defaultValue);
}

void Node::setStringProperty(const QString& name, const QString& value)
{
    setTypedProperty(name, value);
}

float Node::floatProperty(const QString& name, float defaultValue) const
{
    return typedProperty(name, defaultValue);
}

void Node::setFloatProperty(const QString& name, float value)
{
    setTypedProperty(name, value);
}

double Node::doubleProperty(const QString& name, double defaultValue) const
{
    return typedProperty(name, defaultValue);
}

void Node::setDoubleProperty(const QString& name, double value)
{
    setTypedProperty(name, value);
}

QRect Node::rectProperty(const QString& name, const QRect& defaultValue) const
{
    return typedProperty(name, defaultValue);
}

void Node::setRectProperty(const QString& name, const QRect& value)
{
    setTypedProperty(name, value);
}

tqgen::PropertySet Node::propertySetProperty(
    const QString& name, const tqgen::PropertySet& defaultValue) const
{
    return typedProperty(name, defaultValue);
}

void Node::setPropertySetProperty(const QString& name, const tqgen::PropertySet& value)
{
    setTypedProperty(name, value);
}

void Node::save(IPersistDestination* target) const
{
    target->setValue(k_id, m_id);
    target->setValue(k_name, m_name);
    target->setValue(k_nodeType, int(m_type));
    target->setValue(k_creationService, int(m_creationService));
    target->setValue(k_shouldPersist, m_shouldPersist);
    target->setValue(k_primaryNode, m_primaryNode);
    target->setValue(k_softwareVersion, m_softwareVersion);
    target->setValue(k_modelInfo, m_modelInfo);
    target->setValue(k_preferredLayout, m_preferredLayout);
    target->setValue(k_mouseOverSize, m_mouseOverSize);
    m_propertyBag.save(target);
}

void Node::load(IPersistDestination* source)
{
    const QVariant none;
    m_id = source->value(k_id, none).toString();
    m_name = source->value(k_name, none).toString();
    m_type = ENodeType(source->value(k_nodeType, none).toInt());
    m_creationService = ENodeCreationService(source->value(k_creationService, none).toInt());
    m_shouldPersist = source->value(k_shouldPersist, none).toBool();
    m_primaryNode = source->value(k_primaryNode, none).toBool();
    m_softwareVersion = source->value(k_softwareVersion, none).toString();
    m_modelInfo = source->value(k_modelInfo, none).toString();
    m_preferredLayout = source->value(k_preferredLayout, none).toString();
    m_mouseOverSize = source->value(k_mouseOverSize, none).toString();
    m_propertyBag.load(source);
    markStale();
}

void Node::moveWithMembers(QThread* thread)
{
    moveToThread(thread);
}

void Node::acquire()
{
    database()->acquire(id());
}

void Node::release()
{
    database()->release(id());
}

void Node::addNodeRelation(const QString& to, ENodeRelationType type)
{
    database()->addNodeRelation(id(), to, type);
}

void Node::removeNodeRelation(const QString& to, ENodeRelationType type)
{
    database()->removeNodeRelation(id(), to, type);
}

QStringList Node::relatedNodes(ENodeRelationType type) const
{
    return database()->relatedNodes(id(), type);
}

} // namespace tq
