// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "discovery/iprobeexplainer.h"
#include "discovery/nodehintfromarp.h"
#include "discovery/nodehintfrombonjour.h"
#include "discovery/nodehintipdevice.h"
#include "plugins/webdevice.h"
#include "shared/databasefixture.h"

#include "platform/pluginloader.h"

#include <QPointer>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>

using namespace tq;
using plugin::Loader;
using tst::text;
using tst::WebDevice;

namespace {

constexpr int k_bound = 10000; ///< ms; far more than a probe may take

NodeHintIPDevice hintFor(const WebDevice& device)
{
    NodeHintIPDevice hint;
    hint.setHostAddress(device.serverAddress().toString());
    hint.setPort(device.serverPort());
    hint.setSsl(device.isSecure());
    return hint;
}

QByteArray page(const QByteArray& title, const QByteArray& server = "TinyWeb/1.0")
{
    return "HTTP/1.1 200 OK\r\nServer: " + server + "\r\nConnection: close\r\n\r\n<html><head>"
        + "<TITLE>" + title + "</TITLE></head><body>";
}

} // namespace

class TestIPCamera : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
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

private:
    /** Probes one hint by itself and returns the answer; 0 when none came. */
    int rankOf(const NodeHint& hint);

    std::unique_ptr<tst::Database> m_fixture;
    tqm::smart<INodeDriverComponent> m_driver;
};

void TestIPCamera::init()
{
    Loader::instance().addFolder(QStringLiteral(PLUGIN_FOLDER));
    m_fixture = std::make_unique<tst::Database>();
    m_driver = m_fixture->db->nodeDriver(eIPCameraNode);
    QVERIFY(!m_driver.null());
}

void TestIPCamera::cleanup()
{
    m_driver.reset();
    m_fixture.reset();
    Loader::instance().clear();
}

int TestIPCamera::rankOf(const NodeHint& hint)
{
    const QtSignal signal = m_driver->probeFinishedSignal();
    QSignalSpy spy(signal.sender(), signal.signature().constData());
    const int now = m_driver->probe(4711, hint);
    if (now != 0)
        return now;
    if (spy.isEmpty() && !spy.wait(k_bound))
        return 0;
    const auto driver = spy.first().at(1).value<tqm::smart<INodeDriverComponent>>();
    const bool isOurs = spy.size() == 1 && spy.first().at(0).toInt() == 4711 && driver == m_driver;
    return isOurs ? spy.first().at(2).toInt() : 0;
}

void TestIPCamera::ranksWhatAnswers_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<bool>("secure");
    QTest::addColumn<int>("rank");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("model");

    QTest::newRow("a web server") << page("Router") << false << 50 << text("Router")
                                  << text("TinyWeb/1.0, Router");
    QTest::newRow("a camera by its title")
        << page("\n  Dome Camera &amp;amp;  7\t") << false << 20 << text("Dome Camera &amp; 7")
        << text("TinyWeb/1.0, Dome Camera &amp; 7");
    QTest::newRow("a camera by its server, locked")
        << QByteArray("HTTP/1.0 401 No\r\nServer: IPCam httpd\r\nWWW-Authenticate: Basic "
                      "realm=\"x\"\r\nContent-Length: 0\r\n\r\n")
        << false << 20 << text("127.0.0.1") << text("IPCam httpd");
    QTest::newRow("over TLS, a certificate of its own")
        << page("Vault") << true << 50 << text("Vault") << text("TinyWeb/1.0, Vault");
    QTest::newRow("not UTF-8") << page("Kamera T\xfcr") << false << 50 << text("Kamera Tür")
                               << text("TinyWeb/1.0, Kamera Tür");
    QTest::newRow("a title that would forge")
        << page("a\x1b[2J\xe2\x80\xae"
                "b\x07\r\n2 c")
        << false << 50 << text("a [2J b 2 c") << text("TinyWeb/1.0, a [2J b 2 c");
    QTest::newRow("endless texts")
        << page(QByteArray(5000, 't'), QByteArray(3000, 's')) << false << 50
        << QString(80, QLatin1Char('t'))
        << QString(80, QLatin1Char('s')) + text(", ") + QString(80, QLatin1Char('t'));
    QTest::newRow("no web server")
        << QByteArray("SSH-2.0-OpenSSH_9\r\n") << false << -1 << QString() << QString();
    QTest::newRow("closes at once") << QByteArray() << false << -1 << QString() << QString();
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
    NodeHintIPDevice hint = hintFor(device);
    hint.setUser(text("root"));
    hint.setPassword(text("secret"));
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
    QTest::addColumn<int>("manner");
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<int>("rank");
    QTest::newRow("silence") << int(WebDevice::eSilent) << QByteArray() << -1;
    QTest::newRow("a body drop by drop")
        << int(WebDevice::eDripping) << QByteArray("HTTP/1.1 200 OK\r\nServer: Camera\r\n\r\n")
        << 20;
    QTest::newRow("a body without end")
        << int(WebDevice::eEndless) << QByteArray("HTTP/1.1 200 OK\r\n\r\n") << 50;
    QTest::newRow("a head without end")
        << int(WebDevice::eEndless) << QByteArray("HTTP/1.1 200 OK\r\nX: ") << -1;
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
    SServiceInfo record;
    record.address = device.serverAddress().toString();
    record.serviceType = text("_http._tcp");
    record.serviceName = text("Front door");
    record.isResolved = 1;
    record.port = tst::closedPort();
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
    const QtSignal signal = m_driver->probeFinishedSignal();
    QSignalSpy spy(signal.sender(), signal.signature().constData());
    QList<int> ids;
    for (int id = 100; id < 300; ++id) {
        QCOMPARE(m_driver->probe(id, hintFor(device)), 0);
        ids.append(id);
    }
    QTRY_COMPARE_WITH_TIMEOUT(spy.size(), ids.size(), k_bound);
    QList<int> answered;
    for (const auto& answer : spy) {
        answered.append(answer.at(0).toInt());
        QCOMPARE(answer.at(2).toInt(), 20);
    }
    std::sort(answered.begin(), answered.end());
    QCOMPARE(answered, ids);
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
    NodeHintIPDevice hint = hintFor(device);
    hint.setName(text("Hall"));
    hint.setUser(text("root"));
    hint.setPassword(text("secret"));
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
    QTest::addColumn<QString>("nodeMac");
    QTest::addColumn<QString>("nodeHost");
    QTest::addColumn<QString>("hintMac");
    QTest::addColumn<QString>("hintHost");
    QTest::addColumn<bool>("identical");
    const QString a = text("02:00:00:00:00:0a");
    const QString b = text("02:00:00:00:00:0b");
    QTest::newRow("MAC, moved") << a << "192.0.2.1" << a << "192.0.2.2" << true;
    QTest::newRow("other MAC, same address") << a << "192.0.2.1" << b << "192.0.2.1" << false;
    QTest::newRow("no MAC in the node") << ""
                                        << "192.0.2.1" << b << "192.0.2.1" << true;
    QTest::newRow("no MAC in the hint") << a << "192.0.2.1"
                                        << ""
                                        << "192.0.2.1" << true;
    QTest::newRow("no MAC, other address") << ""
                                           << "192.0.2.1"
                                           << ""
                                           << "192.0.2.2" << false;
    QTest::newRow("no MAC, no address") << ""
                                        << ""
                                        << ""
                                        << "" << false;
    QTest::newRow("IPv6 in two forms") << ""
                                       << "2001:db8::1"
                                       << ""
                                       << "2001:DB8:0::1" << true;
    QTest::newRow("names in two cases") << ""
                                        << "cam.local"
                                        << ""
                                        << "CAM.local" << true;
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

    SServiceInfo record;
    record.mac = mac;
    record.ipVersion = 6;
    record.address = text("2001:db8::1");
    record.secondAddress = text("192.0.2.10");
    record.isResolved = record.isAvailable = 1;
    record.serviceType = text("_http._tcp");
    record.port = 8080;
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
