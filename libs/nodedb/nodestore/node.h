// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodestore/nodepropertybag.h"
#include "nodestore/nodetypes.h"
#include "nodestore/simplenodeproperty.h"

#include <QIcon>
#include <QObject>
#include <QRect>
#include <QRecursiveMutex>
#include <QStringList>

#include <atomic>

namespace tq {

class NodeHint;

/**
 * The base of every entry of the node database: identity, type, base fields, extra properties, and
 * a property set that mirrors them for editors.
 *
 * A node is made by a node driver, owned by the database once inserted, and from then on changed
 * only on copies (see NodeDB::beginUpdateNode()). Consumers see const nodes: const operations may
 * be called from any thread while nobody changes the node; the mirror is refreshed under a lock of
 * the node's own. Everything else belongs to the thread that makes or edits the node.
 *
 * For implementers: clone(), isIdentical(), name(), compareProperty() and with it
 * updatePropertySet(), shouldPersist() and save() run under the database's lock and must not change
 * the database. What they and the others throw when the database calls them is caught and logged.
 */
class NODEDB_EXPORT Node : public QObject
{
    Q_OBJECT

public:
    /** Makes a node with the base properties. `id` must not be empty to be of use. */
    Node(ENodeType type, const QString& id);
    ~Node() override;
    Q_DISABLE_COPY_MOVE(Node)

    NodeID id() const { return m_id; }
    ENodeType type() const { return m_type; }

    /** Returns a new node of this class with the same content, by way of deepCopy(); owned by the
     * caller. */
    virtual Node* clone() const = 0;

    /** Copies all fields and extra values into `target`, a node of the same class. Its property set
     * is stale then. */
    virtual void deepCopy(Node* target) const;

    /** Called on an editable copy when its update begins and before it is announced. */
    virtual void beginUpdateNode();
    virtual void endUpdateNode();

    /** Writes every field into the property set and clears the stale flag. Overrides call the base
     * last. */
    virtual void updatePropertySet() const;

    /**
     * Takes an edited value back into the field of the property's name. "ID" and "NodeType" are
     * never taken. Returns whether the value was taken; the property set is stale afterwards in any
     * case.
     */
    virtual bool updateField(const tqgen::BaseProperty& property);

    /** Returns whether `hint` describes this node. Runs under the database's lock. */
    virtual bool isIdentical(const NodeHint& hint) const = 0;

    /** Takes over what changed in a device from a hint that isIdentical() recognised. Called inside
     * an update. */
    virtual void updateFromHint(const NodeHint& hint) = 0;

    /** Writes what this node knows of its device into `hint`, as far as its kind has room for it.
     */
    virtual void fillHint(NodeHint& hint) const = 0;

    /** Returns a copy of the property set, refreshed first if it is stale. */
    virtual tqgen::PropertySet properties() const;

    /** Returns whether the property set has a property of that name. */
    virtual bool hasProperty(const QString& name) const;

    /**
     * The typed getters return the value of the property of that name, or `defaultValue` when there
     * is none or it does not convert. The setters do nothing for a name that the node does not
     * have; otherwise the property is set and handed to updateField().
     */
    virtual bool boolProperty(const QString& name, bool defaultValue) const;
    virtual void setBoolProperty(const QString& name, bool value);
    virtual int intProperty(const QString& name, int defaultValue) const;
    virtual void setIntProperty(const QString& name, int value);
    virtual uint uintProperty(const QString& name, uint defaultValue) const;
    virtual void setUIntProperty(const QString& name, uint value);
    virtual quint64 u64Property(const QString& name, quint64 defaultValue) const;
    virtual void setU64Property(const QString& name, quint64 value);
    virtual QString stringProperty(const QString& name, const QString& defaultValue) const;
    virtual void setStringProperty(const QString& name, const QString& value);
    virtual float floatProperty(const QString& name, float defaultValue) const;
    virtual void setFloatProperty(const QString& name, float value);
    virtual double doubleProperty(const QString& name, double defaultValue) const;
    virtual void setDoubleProperty(const QString& name, double value);
    virtual QRect rectProperty(const QString& name, const QRect& defaultValue) const;
    virtual void setRectProperty(const QString& name, const QRect& value);
    virtual tqgen::PropertySet propertySetProperty(
        const QString& name, const tqgen::PropertySet& defaultValue) const;
    virtual void setPropertySetProperty(const QString& name, const tqgen::PropertySet& value);

    virtual QString name() const;

    /** Sets the name without marking the property set stale: it shows there after the next refresh.
     */
    virtual void setName(const QString& name);
    virtual QIcon icon() const;

    /** Writes the node into the current group or array entry. */
    virtual void save(IPersistDestination* target) const;

    /** Reads the node: missing base keys give empty values, missing extra properties keep theirs.
     */
    virtual void load(IPersistDestination* source);

    /** Returns whether the node has a property of that name with an equal value; what searches use.
     */
    virtual bool compareProperty(const tqgen::BaseProperty& property) const;

    /** The run-time state is not stored and not a property. */
    virtual ENodeState state() const;
    virtual void setState(ENodeState state);
    virtual ENodeCreationService creationService() const;
    virtual void setCreationService(ENodeCreationService service);

    /** Returns whether saves write the node (false for a new one). */
    virtual bool shouldPersist() const;
    virtual void setShouldPersist(bool persist);

    /** An untyped pointer of the application's; neither owned nor stored. */
    virtual void* context() const;
    virtual void setContext(void* context);
    virtual bool primaryNode() const;
    virtual void setPrimaryNode(bool primary);
    virtual QString softwareVersion() const;
    virtual void setSoftwareVersion(const QString& version);
    virtual QString modelInfo() const;
    virtual void setModelInfo(const QString& info);
    virtual QString preferredLayout() const;
    virtual void setPreferredLayout(const QString& layout);
    virtual QString mouseOverSize() const;
    virtual void setMouseOverSize(const QString& size);

    /** The owner is neither stored nor a property. */
    virtual QString owner() const;
    virtual void setOwner(const QString& owner);
    virtual QString note() const;
    virtual void setNote(const QString& note);

    virtual bool supportsVexal() const;
    virtual bool supportsAlarmEvents() const;
    virtual bool supportsExport() const;

    /** The database's operations of the same names with this node as the source. */
    virtual void addNodeRelation(const QString& to, ENodeRelationType type);
    virtual void removeNodeRelation(const QString& to, ENodeRelationType type);
    virtual QStringList relatedNodes(ENodeRelationType type) const;

    /** Moves the node and the QObjects among its members to `thread`; called on the node's own
     * thread. */
    virtual void moveWithMembers(QThread* thread);

    /** The database's operations of the same names for this node. */
    void acquire();
    void release();

signals:
    /** A change of the node, announced by derived classes; the database relays it as nodeUpdated().
     */
    void changed(tq::NodeID id);

protected:
    /**
     * Builds the property set; each class's constructor adds its own entries. Extra properties that
     * have none by then get theirs, at the end, when the set is next read.
     */
    void createPropertySet();

    /** Marks the property set stale: the next read refreshes it. */
    void markStale();

    /** Returns the property set as it stands. */
    tqgen::PropertySet& propertySet() const { return m_propertySet; }

    const NodePropertyBag& propertyBag() const { return m_propertyBag; }

private:
    friend class NodeProperty;
    friend class NodeRegistry; // marks nodes as owned

    template <class T>
    T typedProperty(const QString& name, const T& defaultValue) const;
    template <class T>
    void setTypedProperty(const QString& name, const T& value);
    bool updateBaseField(const tqgen::BaseProperty& property);
    void refresh() const;
    void showExtraProperties() const;

    NodeID m_id;
    QString m_name;
    ENodeType m_type;
    ENodeCreationService m_creationService = eUnknownService;
    ENodeState m_state = eInitialNodeState;
    bool m_shouldPersist = false;
    void* m_context = nullptr;
    bool m_primaryNode = true;
    QString m_softwareVersion;
    QString m_modelInfo;
    QString m_preferredLayout;
    QString m_mouseOverSize;
    QString m_owner;
    // Readers refresh the mirror, so it is guarded although readers share the database's lock.
    // Innermost lock.
    mutable QRecursiveMutex m_propertySetMutex;
    mutable tqgen::PropertySet m_propertySet;
    mutable bool m_propertySetStale = false;
    mutable bool m_hasUnshownProperties = false; ///< the bag may hold some that the set lacks
    std::atomic<bool> m_isOwned = false; ///< a database took it: it must not be taken again
    QIcon m_icon;
    NodePropertyBag m_propertyBag;
    SimpleNodeProperty<QRect> m_extraWindowRect;
    SimpleNodeProperty<QString> m_note;
};

} // namespace tq
