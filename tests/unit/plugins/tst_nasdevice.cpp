// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "discovery/nodehintfromarp.h"
#include "discovery/nodehintfrombonjour.h"
#include "discovery/nodehintipdevice.h"
#include "drivers/nasdevice/sharereading_p.h"
#include "drivers/nasdevice/smbnegotiation_p.h"
#include "environments/environments.h"
#include "parts/nasnode.h"
#include "plugins/drivertest.h"
#include "shared/servicerecord.h"

#include "persistence/memorydestination.h"

#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>

using namespace tq;
using tst::text;

namespace {

/** Listens on loopback and says the same to everybody who said something; nothing if it is empty.
 */
class Peer : public QTcpServer
{
public:
    explicit Peer(
        const QByteArray& answer, const QString& address = text("127.0.0.1"), bool hangsUp = false)
    {
        listen(QHostAddress(address));
        QObject::connect(this, &QTcpServer::newConnection, this, [this, answer, hangsUp] {
            QTcpSocket* const visitor = nextPendingConnection();
            ++visits;
            QObject::connect(
                visitor, &QTcpSocket::readyRead, this, [this, visitor, answer, hangsUp] {
                    heard += visitor->readAll();
                    visitor->write(answer);
                    if (hangsUp)
                        visitor->disconnectFromHost();
                });
            QObject::connect(visitor, &QTcpSocket::disconnected, this, [this] { ++gone; });
        });
    }

    int visits = 0;
    int gone = 0;
    QByteArray heard;
};

/** Returns a server's choice of dialect 3.0.2, with `changed` in the place of what stands at `at`.
 */
QByteArray choice(qsizetype at = 0, const QByteArray& changed = QByteArray())
{
    QByteArray answer(4 + 64 + 64, '\0');
    answer[3] = char(64 + 64);
    answer.replace(4, 6, QByteArrayLiteral("\xfeSMB\x40\x00"));
    answer[4 + 16] = 1; // from the server
    answer.replace(4 + 64, 2, QByteArrayLiteral("\x41\x00"));
    answer.replace(4 + 68, 2, QByteArrayLiteral("\x02\x03"));
    return answer.replace(at, changed.size(), changed);
}

NodeHintIPDevice entered(int port)
{
    NodeHintIPDevice hint;
    hint.setHostAddress(text("127.0.0.1"));
    hint.setPort(port);
    return hint;
}

SServiceInfo record(const char* type, quint16 port)
{
    SServiceInfo info = tst::serviceRecord(text("192.0.2.20"), type, port, "Barn");
    info.serviceKind = 2;
    return info;
}

} // namespace

class TestNASDevice : public tst::DriverTest
{
    Q_OBJECT

public:
    TestNASDevice() : DriverTest(eNetworkStorageNode) { }

private slots:
    void ranksServers_data();
    void ranksServers();
    void sendsNoLogin();
    void probesManyAtATime();
    void diesWithProbesOpen();
    void makesNodesOfAnnouncements();
    void knowsThePortOfItsServer();
    void tellsWhereItsSharesAre_data();
    void tellsWhereItsSharesAre();
    void keepsItselfInAStore();
    void refusesToReadWhatItCannot();
    void choosesShares();
    void countsFileSystemsOnce();
    void takesTheNewerPassword();
    void takesBackWhatIsWithdrawn();
    void sendsNoLoginAfterAMove_data();
    void sendsNoLoginAfterAMove();

private:
    void setLogin(const NodeID& id);
    void storeAndLoad();

    /** Returns whether a read ends that was asked for, or begins by itself when `isBegun`. */
    bool reads(const NodeID& id, bool isBegun = false);
};

void TestNASDevice::setLogin(const NodeID& id)
{
    edit<NASDeviceNode>(id, [](auto& node) { node.setUser(text("anna"), text("secret")); });
}

void TestNASDevice::storeAndLoad()
{
    MemoryDestination store;
    m_fixture->db->save(&store, false);
    cleanup();
    init();
    m_fixture->db->load(&store);
}

bool TestNASDevice::reads(const NodeID& id, bool isBegun)
{
    m_ended->clear();
    if (!isBegun && !m_reader->readDevice(id).isEmpty())
        return false;
    while (m_ended->isEmpty() || m_ended->last().first().toString() != id) {
        if (!m_ended->wait(k_bound))
            return false;
    }
    return true;
}

void TestNASDevice::ranksServers_data()
{
    const tst::Rows<QByteArray, int> row("answer", "rank");
    row("a server", choice(), 30);
    row("and more of its answer", choice(3, "\xc0") + QByteArray(64, 'x'), 30);
    row("silence", {}, -1);
    row("half an answer", choice().left(100), -1);
    row("an older protocol", choice(4, "\xff"), -1);
    row("an error", choice(4 + 8, "\xbb"), -1);
    row("another command", choice(4 + 12, "\x01"), -1);
    row("an echo of the request", smbnegotiation::request(), -1);
    row("no choice", choice(4 + 64, "\x24"), -1);
    row("a dialect nobody offered", choice(4 + 68, "\x11"), -1);
    row("too long", choice(1, "\x7f"), -1);
    row("too short", choice(3, "\x7f"), -1);
    row("a web server", "HTTP/1.1 400 Bad Request\r\n\r\n", -1);
    row("zeros", QByteArray(100000, '\0'), -1);
}

void TestNASDevice::ranksServers()
{
    QFETCH(QByteArray, answer);
    const Peer peer(answer);
    QTEST(rankOf(entered(peer.serverPort())), "rank");
    QTRY_COMPARE(peer.gone, 1);
}

void TestNASDevice::sendsNoLogin()
{
    const Peer peer(choice());
    NodeHintIPDevice hint = entered(peer.serverPort());
    hint.setUser(text("anna"));
    hint.setPassword(text("secret"));
    QCOMPARE(rankOf(hint), 30);
    QTRY_COMPARE(peer.gone, 1);
    QCOMPARE(peer.heard, smbnegotiation::request());
    hint.setNodeType(eIPCameraNode);
    QCOMPARE(m_driver->probe(1, hint), -1);
    hint.setNodeType(eAnyNodeType);
    hint.setHostAddress(text("a/b"));
    QCOMPARE(m_driver->probe(1, hint), -1);
}

void TestNASDevice::probesManyAtATime()
{
    const Peer peer(choice());
    probeMany(entered(peer.serverPort()), 30);
}

void TestNASDevice::diesWithProbesOpen()
{
    const Peer peer{ QByteArray() };
    m_fixture->db->newNodeHint(entered(peer.serverPort()));
    QTRY_VERIFY(!peer.heard.isEmpty());
    const QPointer<QObject> root = m_driver->probeFinishedSignal().sender();
    cleanup();
    QVERIFY(!root);
    QTRY_COMPARE(peer.gone, peer.visits);
}

void TestNASDevice::makesNodesOfAnnouncements()
{
    QSignalSpy inserted(m_fixture->db, &NodeDB::nodeInserted);
    m_fixture->db->newNodeHint(NodeHintFromBonjour(record("_smb._tcp", 445)));
    QCOMPARE(inserted.size(), 1);
    const tqm::smart<const NASDeviceNode> node =
        m_fixture->db->node(inserted.first().first().toString());
    QCOMPARE(node->type(), eNetworkStorageNode);
    QCOMPARE(node->name(), text("Barn"));
    QCOMPARE(node->hostAddress(), text("192.0.2.20"));
    QCOMPARE(node->port(), 445);
    QCOMPARE(node->serviceName(), text("Barn"));
    QVERIFY(node->shouldPersist());
    // Another service of the same device is no news of its shares.
    m_fixture->db->nodeHintChanged(NodeHintFromBonjour(record("_http._tcp", 5000)));
    QCOMPARE(tqm::smart<const NASDeviceNode>(m_fixture->db->node(node->id()))->port(), 445);
    m_fixture->db->nodeHintChanged(NodeHintFromBonjour(record("_smb._tcp", 1445)));
    QCOMPARE(tqm::smart<const NASDeviceNode>(m_fixture->db->node(node->id()))->port(), 1445);
    NodeHintIPDevice empty;
    QVERIFY(m_driver->createNodeFromHint(empty).isNull());
}

void TestNASDevice::knowsThePortOfItsServer()
{
    QCOMPARE(smbPortOf(entered(80)), 445); // as in a new hint
    QCOMPARE(smbPortOf(entered(4455)), 4455);
    QCOMPARE(smbPortOf(NodeHintFromBonjour(record("_SMB._tcp", 446))), 446);
    QCOMPARE(smbPortOf(NodeHintFromBonjour(record("_nfs._tcp", 2049))), 445);
    QCOMPARE(smbPortOf(NodeHintFromARP(text("192.0.2.1"), MACAddress())), 445);
    NodeHintIPDevice service = entered(5357);
    service.setFurtherValue(eWSDiscoveryService);
    QCOMPARE(smbPortOf(service), 445);
    const std::unique_ptr<Node> blank(m_driver->createNode(eNetworkStorageNode));
    QCOMPARE(blank->intProperty(text("Port"), 0), 445);
    QVERIFY(!m_driver->createNode(eIPCameraNode));
}

void TestNASDevice::tellsWhereItsSharesAre_data()
{
    const tst::Rows<QString, int, QString, QString> row("host", "port", "share", "url");
    row("usual", "192.0.2.9", 445, "records", "smb://192.0.2.9/records");
    row("another port", "nas.local", 4455, "records", "smb://nas.local:4455/records");
    row("IPv6", "2001:db8::9", 445, "a b%2f\u00fc#?", "smb://[2001:db8::9]/a%20b%252f%C3%BC%23%3F");
    row("no address", "", 445, "records", "");
    row("no host", "a b", 445, "records", "");
}

void TestNASDevice::tellsWhereItsSharesAre()
{
    QFETCH(QString, host);
    QFETCH(int, port);
    QFETCH(QString, share);
    NASNode node(text("n"));
    node.setHostAddress(host);
    node.setPort(port);
    node.addShare(share, QString(), QString());
    QTEST(node.shareUrl(share), "url");
    QCOMPARE(node.shareUrl(text("other")), QString());
    node.setFloatProperty(text("FreeCapacity"), 12.5F);
    QCOMPARE(node.freeSpace(), 12.5F);
}

void TestNASDevice::keepsItselfInAStore()
{
    const NodeID id = m_driver->createNodeFromHint(entered(4455));
    edit<NASDeviceNode>(id, [](auto& node) {
        node.addLocalUser(text("anna"), text("secret"), true);
        node.addShare(text("records"), QString(), text("/records"));
        node.setAccessRights(text("records"), text("anna"), NASDeviceNode::eReadOnlyAccess);
    });
    storeAndLoad();
    const tqm::smart<const NASDeviceNode> node = m_fixture->db->node(id);
    QVERIFY(!node.null());
    QCOMPARE(node->shareUrl(text("records")), text("smb://127.0.0.1:4455/records"));
    QCOMPARE(node->usersWithReadOnlyAccess(text("records")).size(), 1);
}

void TestNASDevice::refusesToReadWhatItCannot()
{
    QCOMPARE(m_reader->readDevice(text("x")), text("There is no network storage x."));
    m_fixture->insertDevice(text("camera"), text("192.0.2.1"));
    QCOMPARE(m_reader->readDevice(text("camera")), text("There is no network storage camera."));
    NodeHintIPDevice hint = entered(4455);
    hint.setName(text("Barn"));
    const NodeID id = m_driver->createNodeFromHint(hint);
    QCOMPARE(m_reader->readDevice(id), text("There is no login for Barn."));
    edit<NASDeviceNode>(id, [](auto& node) { node.setUser(text("anna"), QString()); });
    QCOMPARE(m_reader->readDevice(id), text("The password of anna on Barn is not known."));
    // At another site, the address is somebody else's for all that is known.
    NodeDB* const db = m_fixture->db;
    db->setActiveEnvironment(db->environments()->add(text("Site B")));
    setLogin(id);
    const QString refusal = m_reader->readDevice(id);
    QVERIFY2(
        refusal.contains(text("was not confirmed in the environment Site B")), qPrintable(refusal));
    QTRY_COMPARE(m_fixture->log.linesWith(refusal).size(), 1); // nor is it read by itself
}

void TestNASDevice::choosesShares()
{
    int leftOut = 0;
    const QList<QByteArray> names{ "records", "\xc3\xbc b", "print$", "a\nb",
        "a\xe2\x80\xae"
        "b",
        "", "..", "a/b", "a\\b", "\xff", QByteArray(81, 'x'), "records", QByteArray(80, 'y') };
    QCOMPARE(usableShares(names, leftOut),
        QStringList({ text("records"), text("\u00fc b"), QString(80, QLatin1Char('y')) }));
    QCOMPARE(leftOut, 9);

    QList<QByteArray> many;
    for (int i = 0; i < 10000; ++i)
        many.append("s" + QByteArray::number(i));
    leftOut = 0;
    QCOMPARE(usableShares(many, leftOut).size(), 1024);
    QCOMPARE(leftOut, 10000 - 1024);
}

void TestNASDevice::countsFileSystemsOnce()
{
    const StorageSpace disk{ 1000, 500, 0 };
    QCOMPARE(sumOf({}), std::nullopt);
    QCOMPARE(sumOf({ disk, disk }), disk);
    QCOMPARE(sumOf({ disk, { 1000, 490, 0 } }), disk); // written to meanwhile
    QCOMPARE(sumOf({ disk, { 1000, 300, 0 } }), (StorageSpace{ 2000, 800, 0 }));
    QCOMPARE(sumOf({ disk, { 2000, 500, 0 } }), (StorageSpace{ 3000, 1000, 0 }));
    QCOMPARE(sumOf({ { 1000, 500, 1 }, { 1000, 500, 2 } }), (StorageSpace{ 2000, 1000, 0 }));
}

void TestNASDevice::takesTheNewerPassword()
{
    NASNode node(text("n"));
    node.addLocalUser(text("anna"), text("old"), false);
    ShareAnswer answer;
    answer.shares = { text("records") };
    for (const char* const name : { "anna", "ben" }) {
        answer.rights = { { text("records"), text(name), NASDeviceNode::eFullAccess } };
        take(answer, { text(name), text("new"), true }, node);
    }
    QCOMPARE(node.localUser(text("anna")), UserAndPassword(text("anna"), text("new"), false));
    QCOMPARE(node.localUser(text("ben")), UserAndPassword(text("ben"), text("new"), true));
    QCOMPARE(node.usersWithFullAccess(text("records")).first().password, text("new"));
}

void TestNASDevice::takesBackWhatIsWithdrawn()
{
    NASNode node(text("n"));
    node.addLocalUser(text("ben"), text("pw"), false);
    ShareAnswer answer;
    answer.shares = { text("records") };
    const UserAndPassword login{ text("anna"), text("pw"), false };
    for (const auto access : { NASDeviceNode::eFullAccess, NASDeviceNode::eNoAccess }) {
        answer.rights = { { text("records"), text("ben"), access },
            { text("records"), text("anna"), NASDeviceNode::eFullAccess } };
        take(answer, login, node);
    }
    const auto acl = node.share(text("records")).acl;
    QCOMPARE(acl.size(), 1);
    QCOMPARE(acl.first().user, text("anna"));
}

void TestNASDevice::sendsNoLoginAfterAMove_data()
{
    // l: a login is given, v: it is tried, r: that ends, s: store and load, m: the device moves,
    // U, u: another active user comes and goes
    const tst::Rows<QByteArray> row("steps");
    row("after a read", "lrm");
    row("before a read", "lm");
    row("during a read", "lvm");
    row("from a store", "lrsm");
    row("another user's login", "UlrumU");
}

void TestNASDevice::sendsNoLoginAfterAMove()
{
    QFETCH(QByteArray, steps);
    const Peer before({}, text("127.0.0.1"), true);
    const Peer after({}, text("127.0.0.2"), true);
    const Peer other({}, text("127.0.0.1"), true);
    SServiceInfo info = record("_smb._tcp", before.serverPort());
    info.address = text("127.0.0.1");
    const NodeID id = m_driver->createNodeFromHint(NodeHintFromBonjour(info));
    info.address = text("127.0.0.2");
    info.port = after.serverPort();
    for (const char step : steps) {
        if (step == 'l')
            setLogin(id);
        else if (step == 'v')
            QTRY_VERIFY_WITH_TIMEOUT(before.visits > 0, k_bound);
        else if (step == 'r')
            QVERIFY(reads(id, true));
        else if (step == 's')
            storeAndLoad();
        else if (step == 'm')
            m_fixture->db->nodeHintChanged(NodeHintFromBonjour(info));
        else
            m_fixture->db->setActiveUser(step == 'U' ? text("clerk") : QString());
    }
    const tqm::smart<const NASDeviceNode> node = m_fixture->db->node(id);
    QCOMPARE(node->hostAddress(), info.address);
    QCOMPARE(node->user(false), text("anna"));
    const NodeID next = m_driver->createNodeFromHint(entered(other.serverPort()));
    setLogin(next);
    QVERIFY(reads(next, true));
    QVERIFY(reads(next)); // they follow each other: every earlier one is over
    QCOMPARE(after.visits, 0);
    QVERIFY(reads(id)); // asked for
    QVERIFY(after.visits > 0);
}

QTEST_GUILESS_MAIN(TestNASDevice)

#include "tst_nasdevice.moc"
