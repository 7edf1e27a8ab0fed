// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodestore/nodetypes.h"

#include "platform/smart.h"

#include <QList>
#include <QObject>
#include <QPair>
#include <QStringList>

#include <memory>
#include <set>
#include <string>

namespace tqgen {
class BaseProperty;
class PropertySet;
} // namespace tqgen

namespace tq {

class Environments;
class GlobalNetworkProxy;
class INodeDriverComponent;
class IPersistDestination;
class Node;
class NodeDBPrivate;
class NodeHint;

/**
 * The one database of nodes of a process.
 *
 * It owns every inserted node and hands nodes out const. One read-write lock guards the registry
 * and the relations: operations marked "any thread" take it themselves; the others belong to the
 * thread that made the database. No signal is emitted while the lock is held, so slots may call
 * back. A change asked for by code that runs under the lock (a plug-in node's clone(),
 * isIdentical() or save(), or the refresh of its property set in a search) is refused with a level
 * 2 log line.
 */
class NODEDB_EXPORT NodeDB : public QObject
{
    Q_OBJECT

public:
    /**
     * Returns the database, made at the first call (from one thread, before others use it). While
     * freeDB() runs it is the database being destroyed, and null once that is past use.
     */
    static NodeDB* getDB();

    /** Destroys the database with everything it owns; the next getDB() makes a new one. */
    static void freeDB();

    ~NodeDB() override;
    Q_DISABLE_COPY_MOVE(NodeDB)

    /**
     * \name Nodes. Any thread; for IP devices while the database's thread does not change
     * environments, the active user or proxies, which their values follow.
     */
    ///@{

    /**
     * Takes ownership of `node`, which has no parent and was made on this thread or the database's,
     * and stores it under its id, replacing a node of that id; its acquire count, update lock and
     * pending removal start anew. Emits nodeInserted(); a node that should persist sets the
     * modified flag. A node that a database took before is left alone; one that cannot be stored,
     * because this thread holds the lock, is deleted.
     */
    void insertNode(Node* node);

    /** Returns the node with this id, or a null handle. Writes come only through the update
     * bracket. */
    tqm::smart<const Node> node(const QString& id) const;

    /** Pins the node against removal until release(). Counts; does not check that the node exists.
     */
    void acquire(const QString& id);

    /** Undoes one acquire(); the last one performs a removal that was put off. */
    void release(const QString& id);

    /**
     * Removes the node, its relations first announced and dropped, then emits nodeRemoved(). While
     * it is acquired the removal is put off to the last release(); while it is being updated the
     * removal is refused. Both are logged.
     */
    void removeNode(const QString& id);

    /** Calls removeNode() for every id, in ascending order. */
    void removeAllNodes();

    /**
     * Opens the update bracket: returns an editable copy of the node, to be given to
     * endUpdateNode(). Emits beginUpdatingNode() first, then waits up to `timeout` ms (-1: for
     * ever) while another bracket is open. Returns null for an unknown id, when the time is out
     * (logged), and when the node vanishes while waiting.
     */
    [[nodiscard]] Node* beginUpdateNode(const QString& id, int timeout);

    /**
     * Closes the bracket: `copy` becomes the node (ownership is taken) and nodeUpdated() is
     * emitted. Nothing happens for null. Must be called for every copy, even one that nothing was
     * changed on, and once: a second time is refused. While this thread holds the lock the bracket
     * stays open and the copy the caller's.
     */
    void endUpdateNode(Node* copy);

    /** Returns whether any node has exactly this name. */
    bool nodenameExists(const QString& name) const;

    /** Returns the ids of the nodes of that type (eAnyNodeType: all), ascending. */
    QStringList nodeIdList(ENodeType type = eAnyNodeType) const;

    /** Returns the ids of the nodes whose type is in `types` (`exclude`: is not); null means all.
     * Ascending. */
    QStringList nodeIdList(const QList<ENodeType>* types, bool exclude) const;

    /** The same as nodeIdList(type). */
    QStringList search(ENodeType type) const;

    /** Returns the ids of the nodes of that type whose property of the same name has an equal
     * value. Ascending. */
    QStringList search(const tqgen::BaseProperty& property, ENodeType type) const;

    /** Returns the ids of the nodes of that type that match every property of the set. Ascending.
     */
    QStringList search(const tqgen::PropertySet& properties, ENodeType type) const;

    /** Returns whether something that a save would write changed since the last save or load. */
    bool isModified() const;

    ///@}
    /** \name Relations: directed and typed; the nodes need not exist. Any thread. */
    ///@{

    /** Adds the relation unless it is there. Emits nodeRelationAboutToBeAdded(), then
     * nodeRelationAdded(). */
    void addNodeRelation(const QString& from, const QString& to, ENodeRelationType type);

    /**
     * Removes the relation. When `from` has any relation of that type,
     * nodeRelationAboutToBeRemoved() and nodeRelationRemoved() are emitted, even if none of them
     * leads to `to`.
     */
    void removeNodeRelation(const QString& from, const QString& to, ENodeRelationType type);

    /** Returns the destinations of `from`, in no particular order. */
    QStringList relatedNodes(const QString& from, ENodeRelationType type) const;

    /** Returns the sources that lead to `to`, in no particular order. */
    QStringList relatedSources(const QString& to, ENodeRelationType type) const;

    bool isDestinationOfNodeRelation(const QString& id, ENodeRelationType type) const;

    /**
     * Removes every relation that `id` takes part in, each with its pair of signals. One that is
     * gone when its turn comes is passed over; one that goes during its first signal keeps the
     * second.
     */
    void removeAllNodeRelations(const QString& id);

    ///@}
    /** \name The store. The database's thread. */
    ///@{

    /**
     * Writes everything into `target`: environments, settings, the nodes that should persist
     * (`saveAll`: all) and the relations between them; then syncs it and clears the modified flag.
     * Holds the lock for reading throughout. If a node or the target throws, nothing is synced, the
     * modified flag stays as it is and a level 2 line says so.
     *
     * Each node is confined to its own entry: what it leaves open is closed there, what it closes
     * or syncs too much is refused, with a level 2 line that names it and its driver. A target that
     * is an INodeEntryTarget can put something else in the place of nodes that fail.
     */
    void save(IPersistDestination* target, bool saveAll);

    /**
     * Adds what `source` holds, meant for a fresh database: nodes are made by their drivers and
     * announced like inserted ones, settings change without signals. Entries that cannot be read
     * are logged and left out; nodes are confined to their entries as in save(). Clears the flag.
     */
    void load(IPersistDestination* source);

    ///@}
    /** \name Settings. They set no modified flag; getters return copies. */
    ///@{

    /** The person who uses the application; never stored. */
    QString activeUser() const;
    void setActiveUser(const QString& user);

    /** Returns the list of environments, owned by the database. */
    Environments* environments() const;
    EnvironmentID activeEnvironment() const;

    /** Makes `id` the active environment, in the list or not. Emits activeEnvironmentChanged() on a
     * change. */
    void setActiveEnvironment(const QString& id);

    /** The bandwidth class of the active environment (2 unless set). Setting fills environments
     * without a value. */
    int bandwidth() const;
    void setBandwidth(int value);

    /** The login for devices without one of their own: "admin" and "kolvar" while no user is set.
     */
    QString globalUser() const;
    QString globalPassword() const;
    void setGlobalAuthentication(const QString& user, const QString& password);

    /** The path is returned without its last character when that is a slash or backslash, and
     * stored as given. */
    QString globalRecordingFolderPath() const;
    void setGlobalRecordingFolderPath(const QString& path);
    QString globalRecordingFolderUser() const;
    QString globalRecordingFolderPassword() const;
    void setGlobalRecordingFolderUserAndPassword(const QString& user, const QString& password);

    /** The defaults for new recording transponders: plain values, no signals. */
    QString defaultRecordingTransponderIP() const;
    void setDefaultRecordingTransponderIP(const QString& ip);
    int defaultRecordingTransponderPort() const;
    void setDefaultRecordingTransponderPort(int port);
    bool defaultRecordingTransponderSsl() const;
    void setDefaultRecordingTransponderSsl(bool ssl);
    QString defaultRecordingTransponderPath() const;
    void setDefaultRecordingTransponderPath(const QString& path);
    EPreviewType defaultRecordingTransponderPreviewMode() const;
    void setDefaultRecordingTransponderPreviewMode(EPreviewType mode);
    float defaultRecordingTransponderFramerate() const;
    void setDefaultRecordingTransponderFramerate(float framesPerSecond);
    int defaultRecordingTransponderQuality() const;
    void setDefaultRecordingTransponderQuality(int quality);
    int defaultRecordingTransponderResolutionX() const;
    void setDefaultRecordingTransponderResolutionX(int pixels);
    int defaultRecordingTransponderResolutionY() const;
    void setDefaultRecordingTransponderResolutionY(int pixels);
    bool defaultRecordingTransponderSound() const;
    void setDefaultRecordingTransponderSound(bool sound);
    QString defaultRecordingTransponderUser() const;
    QString defaultRecordingTransponderPassword() const;
    bool defaultRecordingTransponderSavePassword() const;
    void setDefaultRecordingTransponderUserAndPassword(
        const QString& user, const QString& password, bool savePassword);

    /** Returns the proxy for devices without one of their own, owned by the database. */
    GlobalNetworkProxy* globalProxy() const;

    ///@}
    /** \name Node drivers: one per node type, chosen once when the database is made. Any thread. */
    ///@{

    /** Returns the driver of that type; a null handle and a log line when there is none. */
    tqm::smart<INodeDriverComponent> nodeDriver(ENodeType type) const;

    /** Returns the driver of that node; a null handle and a log line for an unknown id or a type
     * without driver. */
    tqm::smart<INodeDriverComponent> nodeDriver(const QString& nodeId) const;

    /** Returns a new, empty node of that type, owned by the caller; null and a log line without a
     * driver. */
    [[nodiscard]] Node* createNodeFromType(ENodeType type) const;

    /** Returns a new, empty hint of the kind that the type's driver uses; a null handle without a
     * driver. */
    tqm::smart<NodeHint> createNodeHint(ENodeType type) const;

    /** Returns the name of that type for people; a null string and a log line without a driver. */
    QString readableNodeTypeName(ENodeType type) const;

    /** Returns type and name of every type that has a driver and is in `types` (`exclude`: is not);
     * null: all. */
    QList<QPair<ENodeType, QString>> readableNodeTypeNames(
        const QList<ENodeType>* types = nullptr, bool exclude = false) const;

    ///@}
    /** \name Discovery. */
    ///@{

    /**
     * Starts every scanner with that capability ("" for all), handing the two arguments through:
     * their meaning is the scanner's. Emits scannerStarted() for each.
     */
    void startScanners(const std::string& capability, unsigned int argument, int secondArgument);

    /** Does so for each capability in ascending order; an empty set stands for the empty
     * capability. */
    void startScanners(
        const std::set<std::string>& capabilities, unsigned int argument, int secondArgument);
    void stopScanners(const std::string& capability);
    void stopScanners(const std::set<std::string>& capabilities);

    /** Returns the id of the first node that recognises the hint, or a null string. Any thread. */
    QString lookupHint(const NodeHint& hint) const;

    /** The same as a question; `nodeId` is written only on success. Any thread. */
    bool alreadyKnown(const NodeHint& hint, QString& nodeId) const;

    /** Asks every driver whether the hint is a device of its own; the best answer creates the node.
     */
    void probe(const NodeHint& hint);

    ///@}

public slots:
    /** Takes a hint of a device that a scanner found. */
    void newNodeHint(const tq::NodeHint& hint);

    /** Lets the node of the hint take over changed data, unless a person entered that node. */
    void nodeHintChanged(const tq::NodeHint& hint);

    /** Emits nodeLost() for the node of the hint; the node stays. */
    void nodeHintGone(const tq::NodeHint& hint);

    /** Takes a driver's answer to a probe: 1 certain, -1 not its device, else a rank, the smallest
     * of which wins. */
    void probeResult(int requestId, tqm::smart<INodeDriverComponent> driver, int result);

signals:
    void scannerStarted(QString capability);
    void scannerStopped(QString capability);
    void nodeInserted(tq::NodeID id);
    void nodeRemoved(tq::NodeID id);

    /** The device of a known node went away. */
    void nodeLost(tq::NodeID id);

    /** An update was asked for; emitted before any waiting. */
    void beginUpdatingNode(tq::NodeID id);

    /** An update ended, or the node announced a change of itself. */
    void nodeUpdated(tq::NodeID id);

    /** A new hint describes a node that is known. */
    void duplicateNodeHint(const tq::NodeHint& hint, tq::NodeID id);

    /** There is no driver for the hint's type. */
    void unhandledNodeHint(const tq::NodeHint& hint);

    /** A driver answered a probe at once. */
    void probeFinished(int requestId, tqm::smart<INodeDriverComponent> driver, int result);

    void activeUserChanged();
    void activeEnvironmentChanged();
    void environmentsChanged();
    void globalPathChanged();
    void globalAuthenticationChanged();

    /** What it takes to reach the device may have changed. */
    void connectionDataChanged(tq::NodeID id);

    void nodeRelationAboutToBeAdded(tq::NodeID from, tq::NodeID to, tq::ENodeRelationType type);
    void nodeRelationAdded(tq::NodeID from, tq::NodeID to, tq::ENodeRelationType type);
    void nodeRelationAboutToBeRemoved(tq::NodeID from, tq::NodeID to, tq::ENodeRelationType type);
    void nodeRelationRemoved(tq::NodeID from, tq::NodeID to, tq::ENodeRelationType type);

    /** A hint is being offered to the drivers under this request id. */
    void probeStarted(int requestId, const tq::NodeHint& hint);

    /** A probe ended: `driver` was asked to make the node; a null handle means that nobody wanted
     * the hint. */
    void probeDecided(int requestId, tqm::smart<INodeDriverComponent> driver);

private:
    NodeDB();
    void createNodeFactory();
    void takeOver(const NodeHint& hint, const QString& id);
    void initialise();

    static NodeDB* m_nodeDB;
    std::unique_ptr<NodeDBPrivate> d;
};

} // namespace tq
