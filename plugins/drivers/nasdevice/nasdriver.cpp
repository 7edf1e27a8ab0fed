// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "drivers/nasdevice/nasdriver.h"

#include "drivers/nasdevice/givenlogins_p.h"
#include "drivers/nasdevice/smbprobe_p.h"
#include "drivers/nasdevice/storagereads_p.h"
#include "parts/devicehints.h"
#include "parts/nasnode.h"
#include "parts/probequeue.h"
#include "parts/proberejections.h"

#include "discovery/nodehintipdevice.h"
#include "nodestore/nodedb.h"

#include "platform/logline.h"
#include "platform/pluginloader.h"

#include <QHash>
#include <QPointer>
#include <QThread>
#include <QUrl>

#include <algorithm>
#include <utility>

namespace tq {

namespace {

constexpr int k_priority = 10;
constexpr int k_rank = 30;
constexpr int k_notOurs = -1;
constexpr int k_longestRead = 10; ///< s
constexpr int k_second = 1000; ///< ms

bool isUsable(const QString& host)
{
    QUrl url;
    url.setHost(host);
    return !url.host().isEmpty();
}

/** Returns the local users whose password is known, and the login; its password is the newer one.
 */
QList<UserAndPassword> knownUsers(const NASDeviceNode& node, const UserAndPassword& login)
{
    QList<UserAndPassword> users;
    for (const QString& name : node.userNames()) {
        const UserAndPassword user = name == login.user ? login : node.localUser(name);
        if (!user.password.isEmpty())
            users.append(user);
    }
    if (!node.existsLocalUser(login.user))
        users.append(login);
    return users;
}

StorageRead readOf(const NASDeviceNode& node)
{
    const auto& options = plugin::Loader::instance();
    const UserAndPassword login = loginOf(node);
    ShareQuestion question{ login, knownUsers(node, login) };
    question.mayCreate =
        options.option(QStringLiteral("nasdevice/writeTest")) == QLatin1String("create");
    return { node.id(), node.hostAddress(), quint16(node.port()), question };
}

int patience()
{
    bool isSet = false;
    const auto& options = plugin::Loader::instance();
    const int seconds = options.option(QStringLiteral("nasdevice/timeout")).toInt(&isSet);
    return (isSet ? std::clamp(seconds, 1, k_longestRead) : k_longestRead) * k_second;
}

} // namespace

struct NASDriver::Private
{
    explicit Private(NASDriver* driver)
        : self(driver, [](INodeDriverComponent*) {}), reads(new StorageReads(driver))
    {
    }

    /** What was read and is not in its node yet. */
    struct Read
    {
        ShareAnswer answer;
        UserAndPassword login;
    };

    // What answers carry: the signal's form asks for a handle. It owns nothing, or the driver would
    // keep itself alive.
    tqm::smart<INodeDriverComponent> self;
    ProbeQueue probes;
    ProbeRejections rejections;
    StorageReads* reads; ///< a child
    QPointer<NodeDB> db;
    QHash<NodeID, QByteArray> reading; ///< how each was reached when its read was asked for
    QHash<NodeID, Read> done;
    GivenLogins logins;
};

NASDriver::NASDriver() : d(std::make_unique<Private>(this))
{
    QObject::connect(d->reads, &StorageReads::finished, this, &NASDriver::takeRead);
}

NASDriver::~NASDriver() = default;

bool NASDriver::supportsNodeType(ENodeType type, int* priority)
{
    if (type != eNetworkStorageNode)
        return false;
    *priority = k_priority;
    return true;
}

QString NASDriver::readableNodeTypeName(ENodeType)
{
    return tr("Network storage");
}

Node* NASDriver::createNode(ENodeType type)
{
    if (type != eNetworkStorageNode)
        return nullptr;
    watch(NodeDB::getDB());
    auto node = std::make_unique<NASNode>(QString());
    node->setPort(k_smbPort);
    return node.release();
}

QString NASDriver::driverName() const
{
    return QStringLiteral("nasdevice");
}

tqm::smart<NodeHint> NASDriver::createNodeHint(ENodeType type)
{
    tqm::smart<NodeHint> hint(new NodeHintIPDevice);
    hint->setNodeType(type);
    return hint;
}

QtSignal NASDriver::probeFinishedSignal()
{
    return QtSignal(this, SIGNAL(probeFinished(int, tqm::smart<INodeDriverComponent>, int)));
}

QtSignal NASDriver::readFinishedSignal()
{
    return QtSignal(this, SIGNAL(readFinished(tq::NodeID, QString)));
}

int NASDriver::probe(int requestId, const NodeHint& hint)
{
    const QString host = factsOf(hint).address;
    const bool isOther = hint.nodeType() != eAnyNodeType && hint.nodeType() != eNetworkStorageNode;
    if (isOther || !isUsable(host)) {
        d->rejections.note(requestId, EProbeRejection::eNotAsked);
        return k_notOurs;
    }
    const auto start = [this, requestId, host, port = quint16(smbPortOf(hint))] {
        auto* const probe = new SmbProbe(host, port, this);
        const auto end = [this, probe, requestId](bool isServer) {
            probe->deleteLater();
            d->probes.ended();
            if (!isServer)
                d->rejections.note(requestId, probe->rejection());
            emit probeFinished(requestId, d->self, isServer ? k_rank : k_notOurs);
        };
        // Queued: a slot of ours may end this driver, and no socket may stand in its signal then.
        QObject::connect(probe, &SmbProbe::finished, this, end, Qt::QueuedConnection);
        probe->start();
    };
    if (d->probes.add(start))
        return 0;
    d->rejections.note(requestId, EProbeRejection::eTooMany);
    return k_notOurs;
}

EProbeRejection NASDriver::rejection(int requestId) const
{
    return d->rejections.of(requestId);
}

NodeID NASDriver::createNodeFromHint(const NodeHint& hint)
{
    const HintFacts facts = factsOf(hint);
    if (facts.address.isEmpty()) {
        logLine(Log::eSurvived, "Hint without an address, no storage made: ", facts.name);
        return QString();
    }
    watch(NodeDB::getDB());
    const Endpoint endpoint{ smbPortOf(hint), false };
    auto node = std::make_unique<NASNode>(deviceId(facts.mac));
    describe(*node, hint, endpoint);
    node->setName(deviceName(facts, QString()));
    node->setModelInfo(facts.model);
    const NodeID own = node->id();
    const QByteArray reach = reachOf(*node);
    const bool isNew = NodeDB::getDB()->node(own).null();
    const NodeID id = insertDevice(std::move(node), hint);
    if (isNew && id == own)
        d->logins.give(id, reach); // the hint's, which a person entered
    readLater(id);
    return id;
}

void NASDriver::watch(NodeDB* db)
{
    if (!db || d->db == db || QThread::currentThread() != thread())
        return;
    d->db = db;
    // At once, or the device may have moved since.
    QObject::connect(db, &NodeDB::beginUpdatingNode, this, &NASDriver::see);
    QObject::connect(db, &NodeDB::nodeUpdated, this, &NASDriver::see);
    const auto seeAnew = [this](const NodeID& id) {
        d->logins.forget(id);
        see(id);
    };
    QObject::connect(db, &NodeDB::nodeInserted, this, seeAnew);
    QObject::connect(db, &NodeDB::nodeRemoved, this, seeAnew);
    // Queued: a change is announced from inside the update that made it.
    QObject::connect(db, &NodeDB::nodeUpdated, this, &NASDriver::putIntoNode, Qt::QueuedConnection);
    QObject::connect(db, &NodeDB::nodeRemoved, this, &NASDriver::putIntoNode, Qt::QueuedConnection);
    const auto end = [this] {
        d->reads->clear();
        d->done.clear();
        d->logins.clear();
        for (const NodeID& id : std::exchange(d->reading, {}).keys()) {
            const auto tell = [this, id] { emit readFinished(id, tr("The database was closed.")); };
            QMetaObject::invokeMethod(this, tell, Qt::QueuedConnection);
        }
    };
    QObject::connect(db, &QObject::destroyed, this, end);
}

void NASDriver::see(const NodeID& id)
{
    const tqm::smart<const NASDeviceNode> node = d->db ? d->db->node(id) : tqm::smart<const Node>();
    if (!node.null() && d->logins.see(*node, d->db->activeUser()))
        readLater(id);
}

QString NASDriver::readDevice(const NodeID& id)
{
    watch(NodeDB::getDB());
    if (d->reading.contains(id))
        return QString();
    const tqm::smart<const NASDeviceNode> node = d->db ? d->db->node(id) : tqm::smart<const Node>();
    if (node.null())
        return tr("There is no network storage %1.").arg(id);
    if (!isUsable(node->hostAddress()))
        return tr("%1 has no address.").arg(node->name());
    if (node->user(false).isEmpty())
        return tr("There is no login for %1.").arg(node->name());
    if (node->password(false).isEmpty())
        return tr("The password of %1 on %2 is not known.").arg(node->user(false), node->name());
    if (!isAddressConfirmed(*node)) // SMB tells nothing without a login that another might not
        return unconfirmedAddress(*node);
    d->reading.insert(id, reachOf(*node));
    d->logins.use(*node); // by this read
    d->reads->add(readOf(*node), patience());
    return QString();
}

/** Reads a storage that was given a login, unless it moved since. Later: whoever called holds the
 * list of open probes, or updates the node. */
void NASDriver::readLater(const NodeID& id)
{
    const auto read = [this, id] {
        const tqm::smart<const NASDeviceNode> node =
            d->db ? d->db->node(id) : tqm::smart<const Node>();
        // The end of an open read comes back to this.
        if (node.null() || d->reading.contains(id) || !d->logins.use(*node))
            return;
        const QString refusal = readDevice(id);
        if (!refusal.isEmpty())
            logLine(Log::eSurvived, "Shares are not read: ", refusal);
    };
    QMetaObject::invokeMethod(this, read, Qt::QueuedConnection);
}

void NASDriver::takeRead(const StorageRead& read, const ShareAnswer& answer, const QString& error)
{
    if (!error.isEmpty())
        return endRead(read.id, error);
    for (const QString& user : answer.refusedUsers)
        logLine(Log::eSurvived, "Rights are not read: ", read.host, " refused the login of ", user);
    if (answer.unknown > 0)
        logLine(Log::eSurvived, "Rights on shares of ", read.host,
            " that could not be found out: ", answer.unknown);
    if (answer.leftOut > 0)
        logLine(Log::eSurvived, "Shares of ", read.host,
            " that are too many or have impossible names: ", answer.leftOut);
    d->done.insert(read.id, { answer, read.question.login });
    putIntoNode(read.id);
}

/** Puts what was read into the node, if that is still about the device and the login that were
 * asked. */
void NASDriver::putIntoNode(const NodeID& id)
{
    if (!d->done.contains(id) || !d->db)
        return;
    const QPointer<NASDriver> self(this);
    const QPointer<NodeDB> db = d->db;
    Node* const copy = db->beginUpdateNode(id, 0);
    if (!self || !db)
        return;
    if (!copy) { // somebody edits it: then it is tried again when that ends
        if (db->node(id).null())
            endRead(id, tr("The node is gone."));
        return;
    }
    const Private::Read read = d->done.take(id);
    auto* const node = dynamic_cast<NASDeviceNode*>(copy);
    const bool isSame = node && reachOf(*node) == d->reading.value(id);
    if (isSame)
        take(read.answer, read.login, *node);
    db->endUpdateNode(copy);
    if (self)
        endRead(id, isSame ? QString() : tr("The storage's address or login changed meanwhile."));
}

void NASDriver::endRead(const NodeID& id, const QString& error)
{
    d->done.remove(id);
    if (d->reading.remove(id) == 0)
        return; // the database ended meanwhile
    if (!error.isEmpty())
        logLine(Log::eSurvived, "Shares are not read: ", error);
    readLater(id);
    emit readFinished(id, error);
}

} // namespace tq
