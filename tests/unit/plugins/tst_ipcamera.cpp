// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "discovery/iprobeexplainer.h"
#include "discovery/nodehintfromarp.h"
#include "discovery/nodehintfrombonjour.h"
#include "discovery/nodehintipdevice.h"
#include "plugins/drivertest.h"
#include "plugins/webdevice.h"
#include "shared/servicerecord.h"

#include <QPointer>

using namespace tq;
using tst::serviceRecord;
using tst::text;
using tst::WebDevice;

namespace {

QByteArray page(const QByteArray& title, const QByteArray& server = "TinyWeb/1.0")
{
    return "HTTP/1.1 200 OK\r\nServer: " + server + "\r\nConnection: close\r\n\r\n<html><head>"
        + "<TITLE>" + title + "</TITLE></head><body>";
}

} // namespace

class TestIPCamera : public tst::DriverTest
{
    Q_OBJECT

public:
    TestIPCamera() : DriverTest(eIPCameraNode) { }

private slots:
    void ranksWhatAnswers_data();
    void ranksWhatAnswers();
    void sendsNoCredentials();
    void followsRedirectionsOnTheSameHostOnly();
    void endsWithDevicesThatNeverEnd_data();
    void endsWithDevicesThatNeverEnd();
    void triesTheSecurePortAfterTheOther();
    void refusesWhatIsNoAddress();
    void probesManyAtATime();
    void diesWithProbesOpen();
    void diesInItsOwnAnswer();
    void makesNodesOfEnteredDevices();
    void makesNodesOfTypedHints();
    void recognisesItsDevice_data();
    void recognisesItsDevice();
    void takesOverChanges();
};

void TestIPCamera::ranksWhatAnswers_data()
{
    const tst::Rows<QByteArray, bool, int, QString, QString> row(
        "answer", "secure", "rank", "name", "model");

    row("a web server", page("Router"), false, 50, "Router", "TinyWeb/1.0, Router");
    row("a camera by its title", page("\n  Dome Camera &amp;amp;  7\t"), false, 20,
        "Dome Camera &amp; 7", "TinyWeb/1.0, Dome Camera &amp; 7");
    row("a camera by its server, locked",
        "HTTP/1.0 401 No\r\nServer: IPCam httpd\r\nWWW-Authenticate: Basic "
        "realm=\"x\"\r\nContent-Length: 0\r\n\r\n",
        false, 20, "127.0.0.1", "IPCam httpd");
    row("over TLS, a certificate of its own", page("Vault"), true, 50, "Vault",
        "TinyWeb/1.0, Vault");
    row("not UTF-8", page("Kamera T\xfcr"), false, 50, "Kamera Tür", "TinyWeb/1.0, Kamera Tür");
    row("a title that would forge",
        page("a\x1b[2J\xe2\x80\xae"
             "b\x07\r\n2 c"),
        false, 50, "a [2J b 2 c", "TinyWeb/1.0, a [2J b 2 c");
    row("endless texts", page(QByteArray(5000, 't'), QByteArray(3000, 's')), false, 50,
        QString(80, QLatin1Char('t')),
        QString(80, QLatin1Char('s')) + text(", ") + QString(80, QLatin1Char('t')));
    row("no web server", "SSH-2.0-OpenSSH_9\r\n", false, -1, {}, {});
    row("closes at once", {}, false, -1, {}, {});
}

void TestIPCamera::ranksWhatAnswers()
{
    QFETCH(QByteArray, answer);
    QFETCH(bool, secure);
    QFETCH(int, rank);
    const WebDevice device(answer, secure ? WebDevice::eTls : WebDevice::ePlain);
    const NodeHintIPDevice hint = hintFor(device);
    QCOMPARE(rankOf(hint), rank);
    if (rank == -1)
        return;
    const QString id = m_driver->createNodeFromHint(hint);
    const auto node = m_fixture->db->node(id);
    QVERIFY(!node.null());
    QTEST(node->name(), "name");
    QTEST(node->modelInfo(), "model");
}

void TestIPCamera::sendsNoCredentials()
{
    const WebDevice device("HTTP/1.1 401 No\r\nSet-Cookie: a=b\r\nWWW-Authenticate: Basic "
                           "realm=\"x\"\r\nContent-Length: 0\r\n\r\n");
    const NodeHintIPDevice hint = hintWithLogin(device);
    m_fixture->db->setGlobalAuthentication(text("root"), text("secret"));
    QCOMPARE(rankOf(hint), 50);
    QCOMPARE(rankOf(hint), 50);
    QVERIFY(device.requests().startsWith("GET / HTTP/1.1\r\n"));
    for (const char* const word : { "authorization", "cookie", "secret", "cm9vd" })
        QVERIFY2(!device.requests().toLower().contains(QByteArray(word)), word);
}

void TestIPCamera::followsRedirectionsOnTheSameHostOnly()
{
    const WebDevice target(page("Network Camera"), WebDevice::eTls);
    const QByteArray there = "https://user:pw@127.0.0.1:" + QByteArray::number(target.serverPort());
    const QByteArray head = "HTTP/1.1 302 Found\r\nContent-Length: 0\r\nLocation: ";
    const WebDevice near(head + there + "/view\r\n\r\n");
    QCOMPARE(rankOf(hintFor(near)), 20);
    QVERIFY(target.requests().startsWith("GET /view "));
    QVERIFY(!target.requests().toLower().contains("authorization"));
    const auto node = m_fixture->db->node(m_driver->createNodeFromHint(hintFor(near)));
    QCOMPARE(node->intProperty(text("Port"), 0), int(target.serverPort()));
    QVERIFY(node->boolProperty(text("SSL"), false));

    const WebDevice other(page("Network Camera"), WebDevice::ePlain, text("127.0.0.2"));
    const WebDevice away(
        head + "http://127.0.0.2:" + QByteArray::number(other.serverPort()) + "/\r\n\r\n");
    QCOMPARE(rankOf(hintFor(away)), 50);
    QVERIFY(other.requests().isEmpty());

    const WebDevice circle(head + "/again\r\n\r\n");
    QCOMPARE(rankOf(hintFor(circle)), 50);
    QCOMPARE(circle.requests().count("GET "), 4);
}

void TestIPCamera::endsWithDevicesThatNeverEnd_data()
{
    const tst::Rows<int, QByteArray, int> row("manner", "answer", "rank");
    row("silence", WebDevice::eSilent, {}, -1);
    row("a body drop by drop", WebDevice::eDripping, "HTTP/1.1 200 OK\r\nServer: Camera\r\n\r\n",
        20);
    row("a body without end", WebDevice::eEndless, "HTTP/1.1 200 OK\r\n\r\n", 50);
    row("a head without end", WebDevice::eEndless, "HTTP/1.1 200 OK\r\nX: ", -1);
}

void TestIPCamera::endsWithDevicesThatNeverEnd()
{
    QFETCH(int, manner);
    QFETCH(QByteArray, answer);
    QFETCH(int, rank);
    const WebDevice device(answer, WebDevice::EManner(manner));
    QCOMPARE(rankOf(hintFor(device)), rank);
    QTRY_VERIFY(device.isLeft());
}

void TestIPCamera::triesTheSecurePortAfterTheOther()
{
    const WebDevice device(page("Vault"), WebDevice::eTls);
    SServiceInfo record =
        serviceRecord(text("127.0.0.1"), "_http._tcp", tst::closedPort(), "Front door");
    record.securePort = device.serverPort();
    const NodeHintFromBonjour hint(record);
    QCOMPARE(rankOf(hint), 50);
    const auto node = m_fixture->db->node(m_driver->createNodeFromHint(hint));
    QVERIFY(node->boolProperty(text("SSL"), false));
    QCOMPARE(node->intProperty(text("Port"), 0), int(device.serverPort()));
    QCOMPARE(node->stringProperty(text("ServiceName"), QString()), text("Front door"));
    QCOMPARE(node->creationService(), eDNSSDService);
}

void TestIPCamera::refusesWhatIsNoAddress()
{
    NodeHintIPDevice hint;
    for (const char* const host : { "", "a/b", "user@host", "1.2.3.4:80", "a b", "[::1" }) {
        hint.setHostAddress(text(host));
        QVERIFY2(m_driver->probe(1, hint) == -1, host);
    }
    hint.setHostAddress(text("127.0.0.1"));
    hint.setNodeType(eNetworkStorageNode);
    QCOMPARE(m_driver->probe(1, hint), -1);
    const auto& explainer = dynamic_cast<const IProbeExplainer&>(*m_driver);
    QVERIFY(explainer.rejection(1) == EProbeRejection::eNotAsked);
    hint.setNodeType(eAnyNodeType);
    hint.setPort(tst::closedPort());
    const WebDevice proxy("HTTP/1.1 403 No\r\nContent-Length: 0\r\n\r\n");
    hint.proxy().setProxyAddress(text("127.0.0.1"), proxy.serverPort());
    for (const bool isProxied : { true, false }) {
        hint.proxy().setUseProxy(isProxied);
        QCOMPARE(rankOf(hint), -1);
        QVERIFY(explainer.rejection(4711)
            == (isProxied ? EProbeRejection::eNoProxy : EProbeRejection::eRefused));
    }
}

void TestIPCamera::probesManyAtATime()
{
    const WebDevice device(page("Camera"));
    probeMany(hintFor(device), 20);
}

void TestIPCamera::diesWithProbesOpen()
{
    const WebDevice device(QByteArray(), WebDevice::eSilent);
    m_fixture->db->newNodeHint(hintFor(device));
    QTRY_VERIFY(device.isVisited());
    const QPointer<QObject> root = m_driver->probeFinishedSignal().sender();
    cleanup();
    QVERIFY(!root);
    QTRY_VERIFY(device.isLeft());
}

void TestIPCamera::diesInItsOwnAnswer()
{
    const WebDevice silent(QByteArray(), WebDevice::eSilent);
    const WebDevice device(page("Camera"));
    const QtSignal signal = m_driver->probeFinishedSignal();
    const QPointer<QObject> root = signal.sender();
    QVERIFY(tq::connect(signal, this, SLOT(cleanup())));
    QCOMPARE(m_driver->probe(1, hintFor(silent)), 0);
    QCOMPARE(m_driver->probe(2, hintFor(device)), 0);
    QTRY_VERIFY_WITH_TIMEOUT(!root, k_bound);
    QTRY_VERIFY(device.isLeft() && silent.isLeft());
}

void TestIPCamera::makesNodesOfEnteredDevices()
{
    NodeDB* const db = m_fixture->db;
    const WebDevice device(page("Camera"));
    NodeHintIPDevice hint = hintWithLogin(device);
    hint.setName(text("Hall"));
    hint.setSavePassword(true);
    db->setActiveUser(text("ann"));
    QSignalSpy inserted(db, &NodeDB::nodeInserted);
    db->newNodeHint(hint);
    QVERIFY(inserted.wait(k_bound));
    const QString id = inserted.first().first().toString();
    QVERIFY(id.startsWith(text("uuid:")));
    const tqm::smart<const IPDeviceNode> node = db->node(id);
    QCOMPARE(node->name(), text("Hall"));
    QCOMPARE(node->user(false), text("root"));
    QCOMPARE(node->password(false), text("secret"));
    QVERIFY(node->savePassword());
    QVERIFY(node->shouldPersist());
    QCOMPARE(node->creationService(), eManualService);

    QSignalSpy known(db, &NodeDB::duplicateNodeHint);
    db->newNodeHint(hint);
    QCOMPARE(known.size(), 1);
    // Another scanner may have been quicker: then there is a node already.
    QCOMPARE(m_driver->createNodeFromHint(hint), id);
    QCOMPARE(inserted.size(), 1);
    const NodeHintFromARP other(text("127.0.0.2"), MACAddress(text("02:00:00:00:00:11")));
    db->insertNode(new tst::DeviceNode(text("mac:020000000011")));
    QVERIFY(m_driver->createNodeFromHint(other).isNull());
    QCOMPARE(m_fixture->log.linesWith(text("mac:020000000011")).size(), 1);
    QCOMPARE(m_fixture->log.linesWith(text("secret")), QStringList());

    // A hint that the node fills makes an equal device elsewhere.
    NodeHintIPDevice copy;
    node->fillHint(copy);
    QCOMPARE(copy.hostAddress(), text("127.0.0.1"));
    QCOMPARE(copy.port(), int(device.serverPort()));
    QCOMPARE(copy.password(), text("secret"));
}

void TestIPCamera::makesNodesOfTypedHints()
{
    NodeHintFromARP hint(text("192.0.2.9"), MACAddress(text("00:11:22:AA:BB:CC")));
    hint.setNodeType(eIPCameraNode);
    m_fixture->db->newNodeHint(hint);
    const tqm::smart<const IPDeviceNode> node = m_fixture->db->node(text("mac:001122aabbcc"));
    QVERIFY(!node.null());
    QCOMPARE(node->hostAddress(), text("192.0.2.9"));
    QCOMPARE(node->port(), 80);
    QCOMPARE(node->name(), text("192.0.2.9"));
    QCOMPARE(node->mac(), hint.mac());
    QCOMPARE(node->creationService(), eARPService);
    NodeHintFromARP empty;
    QVERIFY(m_driver->createNodeFromHint(empty).isNull());
}

void TestIPCamera::recognisesItsDevice_data()
{
    const tst::Rows<QString, QString, QString, QString, bool> row(
        "nodeMac", "nodeHost", "hintMac", "hintHost", "identical");
    const QString a = text("02:00:00:00:00:0a");
    const QString b = text("02:00:00:00:00:0b");
    row("MAC, moved", a, "192.0.2.1", a, "192.0.2.2", true);
    row("other MAC, same address", a, "192.0.2.1", b, "192.0.2.1", false);
    row("no MAC in the node", "", "192.0.2.1", b, "192.0.2.1", true);
    row("no MAC in the hint", a, "192.0.2.1", "", "192.0.2.1", true);
    row("no MAC, other address", "", "192.0.2.1", "", "192.0.2.2", false);
    row("no MAC, no address", "", "", "", "", false);
    row("IPv6 in two forms", "", "2001:db8::1", "", "2001:DB8:0::1", true);
    row("names in two cases", "", "cam.local", "", "CAM.local", true);
}

void TestIPCamera::recognisesItsDevice()
{
    QFETCH(QString, nodeMac);
    QFETCH(QString, nodeHost);
    QFETCH(QString, hintMac);
    QFETCH(QString, hintHost);
    const std::unique_ptr<Node> node(m_driver->createNode(eIPCameraNode));
    auto* const device = dynamic_cast<IPDeviceNode*>(node.get());
    device->setMac(MACAddress(nodeMac));
    device->setHostAddress(nodeHost);
    QTEST(device->isIdentical(NodeHintFromARP(hintHost, MACAddress(hintMac))), "identical");
    SServiceInfo record;
    record.address = hintHost;
    record.mac = MACAddress(hintMac);
    QTEST(device->isIdentical(NodeHintFromBonjour(record)), "identical");
    if (hintMac.isEmpty()) {
        NodeHintIPDevice entered;
        entered.setHostAddress(hintHost);
        QTEST(device->isIdentical(entered), "identical");
    }
}

void TestIPCamera::takesOverChanges()
{
    NodeDB* const db = m_fixture->db;
    const MACAddress mac(text("02:00:00:00:00:0a"));
    NodeHintFromARP hint(text("192.0.2.9"), mac);
    hint.setNodeType(eIPCameraNode);
    db->newNodeHint(hint);
    const QString id = text("mac:02000000000a");
    QSignalSpy connection(db, &NodeDB::connectionDataChanged);
    db->nodeHintChanged(NodeHintFromARP(text("192.0.2.10"), mac));
    QTRY_COMPARE(connection.size(), 1);
    const auto device = [&] { return tqm::smart<const IPDeviceNode>(db->node(id)); };
    QCOMPARE(device()->hostAddress(), text("192.0.2.10"));

    SServiceInfo record = serviceRecord(text("2001:db8::1"));
    record.mac = mac;
    record.secondAddress = text("192.0.2.10");
    record.model = text("X1");
    db->nodeHintChanged(NodeHintFromBonjour(record));
    QCOMPARE(device()->hostAddress(), text("192.0.2.10"));
    QCOMPARE(device()->port(), 8080);
    QCOMPARE(device()->modelInfo(), text("X1"));
    QVERIFY(device()->bonjourAvailable());
    QCOMPARE(device()->mac(), mac);
}

QTEST_GUILESS_MAIN(TestIPCamera)

#include "tst_ipcamera.moc"
