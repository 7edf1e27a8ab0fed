// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "recording/nodedbhelper.h"

#include "discovery/inodedrivercomponent.h"
#include "discovery/nodehintipdevice.h"
#include "nodestore/node.h"
#include "nodestore/nodedb.h"

#include "platform/logline.h"
#include "platform/plugincall.h"

#include <QPointer>

#include <algorithm>
#include <utility>

namespace tq {

namespace {

template <class... Reasons>
void logRefusal(const NodeID& deviceId, const Reasons&... why)
{
    logLine(Log::eSurvived, "No recording folder for ", deviceId, ": ", why...);
}

void logFreed(const NodeID& deviceId)
{
    logRefusal(deviceId, "the database was freed meanwhile");
}

bool isFolder(const NodeDB& database, const NodeID& id)
{
    const auto node = database.node(id);
    return !node.null() && node->type() == eRecordingFolderNode;
}

/** Acquires a node while it lives: what slots do meanwhile does not remove it. */
class Pin
{
public:
    Pin(NodeDB& database, const NodeID& id) : m_database(&database), m_id(id)
    {
        database.acquire(id);
        // The counts of a node that is inserted over this one start anew: the next release would
        // be somebody else's.
        QObject::connect(&database, &NodeDB::nodeInserted, &m_context,
            [this](const NodeID& inserted) { m_isLost = m_isLost || inserted == m_id; });
    }

    ~Pin()
    {
        if (m_database && !m_isLost)
            m_database->release(m_id);
    }

    Q_DISABLE_COPY_MOVE(Pin)

private:
    QPointer<NodeDB> m_database;
    NodeID m_id;
    bool m_isLost = false;
    QObject m_context;
};

/** Notes the nodes that this thread inserts while it lives; those of others are queued for it, and
 * dropped. */
class InsertionWatch
{
public:
    /** `folders` are the ids of the folders that are there already, ascending. */
    InsertionWatch(NodeDB& database, const NodeID& deviceId, const QStringList& folders)
        : m_database(&database), m_deviceId(deviceId), m_before(folders)
    {
        QObject::connect(&database, &NodeDB::nodeInserted, &m_context,
            [this](const NodeID& id) { m_inserted.append(id); });
    }

    Q_DISABLE_COPY_MOVE(InsertionWatch)

    /** Returns whether it is a stored folder that is neither one of those before nor stands in the
     * device's place. */
    bool isNewFolder(const NodeID& id) const
    {
        return m_database && isFolder(*m_database, id) && id != m_deviceId
            && !std::binary_search(m_before.cbegin(), m_before.cend(), id);
    }

    /** Removes the new folders but those that a slot has set up for another device meanwhile. */
    void removeNewFolders() const
    {
        const QStringList inserted = m_inserted; // removals run slots, which may insert
        for (const NodeID& id : inserted) {
            if (!isNewFolder(id))
                continue;
            QStringList owners = m_database->relatedSources(id, eDeviceToRecordingFolder);
            owners.removeAll(m_deviceId);
            if (owners.isEmpty())
                m_database->removeNode(id);
        }
    }

private:
    QPointer<NodeDB> m_database;
    NodeID m_deviceId;
    QStringList m_before; // the folders only: a list of all nodes costs as much as the rest
    QStringList m_inserted;
    QObject m_context;
};

/** Returns whether a device of that id may have a folder; if not, a line says why. */
bool mayHaveFolder(const NodeDB& database, const NodeID& deviceId)
{
    const auto device = database.node(deviceId);
    if (device.null())
        logRefusal(deviceId, "there is no such node");
    else if (device->type() == eRecordingFolderNode)
        logRefusal(deviceId, "it is one itself");
    else
        return true;
    return false;
}

QString nameOf(const NodeDB& database, const NodeID& deviceId)
{
    const auto device = database.node(deviceId);
    const QString name =
        callPlugin("name", QString(), [&] { return device.null() ? QString() : device->name(); });
    return name.isEmpty() ? deviceId : name;
}

void describe(NodeHint& hint, const NodeDB& database, const NodeID& deviceId)
{
    hint.setNodeType(eRecordingFolderNode);
    hint.setName(NodeDBHelper::tr("Recordings of %1").arg(nameOf(database, deviceId)));
    hint.setSecondText(database.globalRecordingFolderPath());
    hint.setThirdText(deviceId);
    if (auto* const withLogin = dynamic_cast<NodeHintIPDevice*>(&hint)) {
        withLogin->setUser(database.globalRecordingFolderUser());
        withLogin->setPassword(database.globalRecordingFolderPassword());
        // The global one is always stored whole: so is its copy.
        withLogin->setSavePassword(
            !withLogin->user().isEmpty() || !withLogin->password().isEmpty());
    }
}

/** Has the driver make a folder besides `folders`. Null after a line, and whatever it inserted is
 * gone then. */
NodeID makeFolder(
    const QPointer<NodeDB>& database, const NodeID& deviceId, const QStringList& folders)
{
    const auto driver = database->nodeDriver(eRecordingFolderNode);
    if (driver.null()) {
        logLine(Log::eMissing, "Node driver (RecordingFolderNode) is missing");
        return QString();
    }
    const auto hint = database->createNodeHint(eRecordingFolderNode);
    if (hint.null()) {
        logRefusal(deviceId, "the driver makes no hint");
        return QString();
    }
    describe(*hint, *database, deviceId);
    const InsertionWatch watch(*database, deviceId, folders);
    const NodeID made = callPlugin(
        "createNodeFromHint", NodeID(), [&] { return driver->createNodeFromHint(*hint); });
    if (watch.isNewFolder(made))
        return made;
    watch.removeNewFolders();
    if (database)
        logRefusal(deviceId, "the driver returned \"", made, "\", no new recording folder");
    else
        logFreed(deviceId);
    return QString();
}

void relate(const QPointer<NodeDB>& database, const NodeID& deviceId, const NodeID& folder)
{
    const Pin pin(*database, folder);
    database->addNodeRelation(deviceId, folder, eDeviceToRecordingFolder);
    if (database)
        database->addNodeRelation(folder, deviceId, eRecordingFolderToDevice);
}

/** Returns whether device and folder are still there now that slots ran; if not, a line says what
 * happened. */
bool isStanding(const QPointer<NodeDB>& database, const NodeID& deviceId, const NodeID& folder)
{
    if (!database)
        logFreed(deviceId);
    else if (database->node(deviceId).null())
        logRefusal(deviceId, "it was removed meanwhile");
    else if (!isFolder(*database, folder))
        logRefusal(deviceId, "the folder was removed meanwhile: ", folder);
    else
        return true;
    return false;
}

/** Returns the first folder that the device has a relation to, or a null string. */
NodeID relatedFolder(const NodeDB& database, const NodeID& deviceId)
{
    QStringList related = database.relatedNodes(deviceId, eDeviceToRecordingFolder);
    related.sort();
    for (const NodeID& id : std::as_const(related)) {
        if (isFolder(database, id))
            return id;
    }
    return QString();
}

/** Returns the first of the folders that names the device and is nobody's, or a null string. */
NodeID namingFolder(const NodeDB& database, const NodeID& deviceId, const QStringList& folders)
{
    if (deviceId.isEmpty())
        return QString(); // what a folder without a name has
    for (const NodeID& id : folders) {
        if (database.isDestinationOfNodeRelation(id, eDeviceToRecordingFolder))
            continue; // of another device
        NodeHintIPDevice hint; // a new one each time: nodes may fill in only what is missing
        const auto folder = database.node(id);
        if (!folder.null())
            callPlugin("fillHint", [&] { folder->fillHint(hint); });
        if (hint.thirdText() == deviceId)
            return id;
    }
    return QString();
}

} // namespace

NodeID NodeDBHelper::recordingFolder(const NodeDB& database, const NodeID& deviceId)
{
    const NodeID related = relatedFolder(database, deviceId);
    return related.isNull()
        ? namingFolder(database, deviceId, database.nodeIdList(eRecordingFolderNode))
        : related;
}

NodeID NodeDBHelper::createRecordingFolder(NodeDB& database, const NodeID& id)
{
    const NodeID deviceId = id; // may be the node's own, which slots may remove
    const QPointer<NodeDB> alive(&database);
    NodeID folder;
    bool isNew = false;
    {
        const Pin pin(database, deviceId);
        if (!mayHaveFolder(database, deviceId))
            return QString();
        folder = relatedFolder(database, deviceId);
        if (folder.isNull()) {
            const QStringList folders = database.nodeIdList(eRecordingFolderNode);
            folder = namingFolder(database, deviceId, folders);
            isNew = folder.isNull();
            if (isNew)
                folder = makeFolder(alive, deviceId, folders);
        }
        if (folder.isNull())
            return QString();
        relate(alive, deviceId, folder);
    }
    if (isStanding(alive, deviceId, folder))
        return folder;
    if (isNew && alive && isFolder(*alive, folder))
        alive->removeNode(folder);
    return QString();
}

} // namespace tq
