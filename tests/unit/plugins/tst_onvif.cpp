// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "discovery/nodehintfrombonjour.h"
#include "discovery/nodehintipdevice.h"
#include "persistence/memorydestination.h"
#include "plugins/drivertest.h"
#include "plugins/onvifdevice.h"

#include "platform/properties/properties.h"

#include <QPointer>

using namespace tq;
using namespace tst;

namespace {

const QString k_model = QStringLiteral("Harbour Gatekeeper 7");
const QString k_id = QStringLiteral("mac:02770a4d000b");

} // namespace

class TestOnvif : public tst::DriverTest
{
    Q_OBJECT

public:
    TestOnvif() : DriverTest(eIPCameraNode) { }

private slots:
    void winsOverTheBarePage();
    void keepsWhatIsTold();
    void asksTheServiceThatTheHintNames();
    void givesNoLoginThatWasNotGiven();
    void takesNoLoginElsewhere();
    void survivesHostileAnswers_data();
    void survivesHostileAnswers();
    void waitsForNoSilentService();
    void cleansWhatIsTold();
    void refusesTheMacOfAnother();
    void readsIntoTheNode();
    void leavesTheNodeWithoutAnswer_data();
    void leavesTheNodeWithoutAnswer();
    void leavesWhatChangedMeanwhile();
    void readsWhatAnnouncedDevicesTellAnybody();
    void diesWithExchangesOpen();

private:
    tqm::smart<const IPDeviceNode> make(const NodeHint& hint);
    /** Makes the node of what a person enters as a camera, and returns its id. */
    QString enter(NodeHintIPDevice hint);
};

/** Makes the node of a hint, and hands it out. */
tqm::smart<const IPDeviceNode> TestOnvif::make(const NodeHint& hint)
{
    return m_fixture->db->node(m_driver->createNodeFromHint(hint));
}

QString TestOnvif::enter(NodeHintIPDevice hint)
{
    hint.setNodeType(eIPCameraNode);
    return m_driver->createNodeFromHint(hint);
}

void TestOnvif::winsOverTheBarePage()
{
    const OnvifDevice device({ .page = "Network Camera" });
    const OnvifDevice secure({}, WebDevice::eTls, text("127.0.0.2"));
    QSignalSpy inserted(m_fixture->db, &NodeDB::nodeInserted);
    m_fixture->db->newNodeHint(hintFor(device));
    QVERIFY(inserted.wait(k_bound));
    QCOMPARE(inserted.first().first().toString(), k_id);
    const tqm::smart<const IPDeviceNode> node = m_fixture->db->node(k_id);
    QCOMPARE(node->name(), text("Network Camera"));
    QCOMPARE(node->modelInfo(), k_model);
    QCOMPARE(node->softwareVersion(), text("2.1.4"));
    QCOMPARE(node->stringProperty(text("SerialNumber"), QString()), text("HG-0007"));
    QCOMPARE(node->mac(), MACAddress(text("02:77:0a:4d:00:0b")));
    QCOMPARE(rankOf(hintFor(device)), 10);
    QCOMPARE(rankOf(hintFor(secure)), 10);
    QVERIFY(device.logins().isEmpty());
}

void TestOnvif::keepsWhatIsTold()
{
    const OnvifDevice device;
    NodeHintIPDevice hint = hintFor(device);
    hint.setFurtherValue(eWSDiscoveryService);
    QCOMPARE(rankOf(hint), 10);
    QVERIFY(!make(hint).null());
    // What its DNS-SD record calls it is less.
    m_fixture->db->nodeHintChanged(announcementOf(device));
    MemoryDestination store;
    m_fixture->db->node(k_id)->save(&store);
    const std::unique_ptr<Node> loaded(m_driver->createNode(eIPCameraNode));
    loaded->load(&store);
    QCOMPARE(loaded->stringProperty(text("ServiceName"), QString()), text("Front door"));
    const std::unique_ptr<Node> copy(loaded->clone());
    QCOMPARE(copy->modelInfo(), k_model);
    QCOMPARE(copy->stringProperty(text("SerialNumber"), QString()), text("HG-0007"));
}

void TestOnvif::asksTheServiceThatTheHintNames()
{
    const OnvifDevice device({ .path = "/services/device" });
    NodeHintIPDevice hint = hintFor(device);
    QCOMPARE(rankOf(hint), 50);
    hint.setFurtherValue(eWSDiscoveryService);
    hint.setThirdText(urlOf(device, "/services/device"));
    QCOMPARE(rankOf(hint), 10);

    // Of another host it is none of this device's, which has its own in the usual place.
    const OnvifDevice usual;
    const OnvifDevice other({}, WebDevice::ePlain, text("127.0.0.2"));
    NodeHintIPDevice lying = hintFor(usual);
    lying.setFurtherValue(eWSDiscoveryService);
    lying.setThirdText(urlOf(other, "/onvif/device_service"));
    QCOMPARE(rankOf(lying), 10);
    QVERIFY(!other.isVisited());

    // A page is not needed for it.
    hint.setPort(closedPort());
    QCOMPARE(rankOf(hint), 10);
    QCOMPARE(make(hint)->port(), int(device.serverPort()));
}

void TestOnvif::givesNoLoginThatWasNotGiven()
{
    const OnvifDevice device(locked());
    m_fixture->db->setGlobalAuthentication(text("root"), text("secret"));
    QCOMPARE(rankOf(hintFor(device)), 10);
    NodeHintIPDevice found = hintWithLogin(device);
    found.setFurtherValue(eWSDiscoveryService);
    found.setThirdText(urlOf(device, "/onvif/device_service"));
    QCOMPARE(rankOf(found), 10);
    const auto node = make(hintFor(device));
    QCOMPARE(node->softwareVersion(), QString());
    QCOMPARE(node->modelInfo(), text("TinyWeb/1.0, Harbour gate"));
    QCOMPARE(read(node->id()), text("The device asks for a login."));
    // Of a typed hint the login is kept, not used.
    NodeHintIPDevice typed = hintWithLogin(device);
    typed.setNodeType(eIPCameraNode);
    m_fixture->db->removeNode(node->id());
    m_fixture->db->newNodeHint(typed);
    QCOMPARE(m_fixture->db->nodeIdList().size(), 1);
    QCOMPARE(device.logins(), QList<QByteArray>());
    QVERIFY(!device.requests().contains("secret"));
}

void TestOnvif::takesNoLoginElsewhere()
{
    // The questions are redirected, to another host and within this one.
    const OnvifDevice other(locked(), WebDevice::ePlain, text("127.0.0.2"));
    const OnvifDevice near(locked());
    for (const OnvifDevice* const target : { &other, &near }) {
        OnvifManner manner = locked();
        manner.redirect = urlOf(*target, "/onvif/device_service").toLatin1();
        const OnvifDevice device(manner);
        QCOMPARE(rankOf(hintWithLogin(device)), 50);
        QVERIFY(!read(make(hintWithLogin(device))->id()).isEmpty());
        QVERIFY(!target->isVisited());
        m_fixture->db->removeAllNodes();
    }
    // The page is: another port is another device's for all we know.
    const QByteArray there = urlOf(near, "/").toLatin1();
    const WebDevice front("HTTP/1.1 302 There\r\nLocation: " + there + "\r\n\r\n");
    QCOMPARE(rankOf(hintWithLogin(front)), 10);
    QVERIFY(near.questions() > 1);
    QCOMPARE(near.logins(), QList<QByteArray>());
    QVERIFY(!front.requests().contains("Authorization"));
}

void TestOnvif::survivesHostileAnswers_data()
{
    const Rows<QByteArray, int, int> rows("answer", "rank", "manner");
    const QByteArray right = dateAndTime();
    const QByteArray size = QByteArray::number(right.size(), 16);
    const auto row = [&](const char* name, const QByteArray& answer, int rank,
                         WebDevice::EManner manner = WebDevice::ePlain) {
        rows(name, answer, rank, manner);
    };
    row("in chunks",
        soapAnswer("6;x=y\r\n" + right.left(6) + "\r\n" + QByteArray::number(right.size() - 6, 16)
                + "\r\n" + right.mid(6) + "\r\n0\r\n\r\n",
            "Transfer-Encoding: chunked\r\n"),
        10);
    row("after another head", "HTTP/1.1 100 Continue\r\n\r\n" + soapAnswer(right), 10);
    row("half closed", soapAnswer(right), 10, WebDevice::eHalfClosed);
    row("open, of known length",
        soapAnswer(right, "Content-Length: " + QByteArray::number(right.size()) + "\r\n"), 10,
        WebDevice::eDripping);
    row("half closed too early", soapAnswer(right.left(200)), 50, WebDevice::eHalfClosed);
    row("in chunks without end",
        soapAnswer(size + "\r\n" + right + "\r\n7fffffff\r\n", "Transfer-Encoding: chunked\r\n"),
        50, WebDevice::eEndless);
    row("drop by drop", soapAnswer("<"), 50, WebDevice::eDripping);
    row("a body without end", soapAnswer(right), 50, WebDevice::eEndless);
    row("a head without end", "HTTP/1.1 200 OK\r\nX: ", -1, WebDevice::eEndless);
    row("a page", soapAnswer("<!DOCTYPE html><html><body>Gate</body></html>"), 50);
    row("right but a page",
        QByteArray(soapAnswer(right)).replace("application/soap+xml", "text/html"), 50);
    row("right but an error", QByteArray(soapAnswer(right)).replace("200 OK", "500 No"), 50);
    row("a fault",
        soapAnswer(envelope("<e:Fault><e:Reason><e:Text>no</e:Text></e:Reason></e:Fault>")), 50);
    row("another's response", soapAnswer(QByteArray(right).replace("ver10/device", "ver10/media")),
        50);
    row("no content", soapAnswer(envelope(QByteArray())), 50);
}

void TestOnvif::survivesHostileAnswers()
{
    QFETCH(QByteArray, answer);
    QFETCH(int, manner);
    QFETCH(int, rank);
    const WebDevice device(answer, WebDevice::EManner(manner));
    QCOMPARE(rankOf(hintFor(device)), rank);
    QTRY_VERIFY(device.isLeft());
}

void TestOnvif::waitsForNoSilentService()
{
    const OnvifDevice device({ .isSilent = true });
    QCOMPARE(rankOf(hintFor(device)), 50);
    QCOMPARE(make(hintFor(device))->name(), text("Harbour gate"));
    QTRY_VERIFY(device.isLeft());
}

void TestOnvif::cleansWhatIsTold()
{
    OnvifManner manner;
    manner.manufacturer = "a&#10;\xe2\x80\xae" + QByteArray(5000, 'm');
    manner.model = "b\x7f  c";
    manner.mac = "ff:ff:ff:ff:ff:ff";
    const OnvifDevice device(manner);
    QCOMPARE(rankOf(hintFor(device)), 10);
    const auto node = make(hintFor(device));
    QCOMPARE(node->modelInfo(), text("a ") + QString(78, QLatin1Char('m')) + text(" b c"));
    // A group's address is no device's; one interface is left, and it may be reached by a detour.
    QCOMPARE(node->mac(), MACAddress(text("02:77:0a:4d:00:ff")));
}

void TestOnvif::refusesTheMacOfAnother()
{
    const OnvifDevice device;
    const OnvifDevice second({}, WebDevice::ePlain, text("127.0.0.2"));
    QCOMPARE(rankOf(hintFor(device)), 10);
    QCOMPARE(rankOf(hintFor(second)), 10);
    QVERIFY(!make(hintFor(device)).null());
    QVERIFY(make(hintFor(second)).null());
    QCOMPARE(m_fixture->log.linesWith(k_id).filter(text("127.0.0.2")).size(), 1);
    // Nor does a read bring it in, through a node that is there already.
    const QString id = enter(hintFor(second));
    QCOMPARE(read(id), QString());
    const tqm::smart<const IPDeviceNode> node = m_fixture->db->node(id);
    QCOMPARE(node->modelInfo(), k_model);
    QVERIFY(node->mac().isEmpty());
}

void TestOnvif::readsIntoTheNode()
{
    OnvifManner manner = locked();
    manner.staleNonces = 1;
    const OnvifDevice device(manner);
    const QString id = enter(hintWithLogin(device));
    QSignalSpy updated(m_fixture->db, &NodeDB::nodeUpdated);
    QCOMPARE(m_reader->readDevice(id), QString());
    QCOMPARE(read(id), QString()); // joins
    QCOMPARE(updated.size(), 1);
    const tqm::smart<const IPDeviceNode> node = m_fixture->db->node(id);
    QCOMPARE(node->modelInfo(), k_model);
    QCOMPARE(node->softwareVersion(), text("2.1.4"));
    QCOMPARE(node->stringProperty(text("SerialNumber"), QString()), text("HG-0007"));
    QCOMPARE(node->mac(), MACAddress(text("02:77:0a:4d:00:0b")));
    QCOMPARE(node->user(false), text("root"));
    // The first was too old, the second right, and its nonce good for the other question.
    QCOMPARE(device.logins().size(), 3);
    QCOMPARE(read(id), QString());
}

void TestOnvif::leavesTheNodeWithoutAnswer_data()
{
    const Rows<QByteArray, QString, int> row("challenges", "error", "logins");
    row("wrong login", {}, "The device refused the login of root.", 1);
    const QString otherWay = text("The device asks for a login in a way that is not answered.");
    row("Basic", "WWW-Authenticate: Basic realm=\"a\"\r\n", otherWay, 0);
    row("none", "X: y\r\n", otherWay, 0);
    row("stale for ever", "WWW-Authenticate: Digest nonce=\"a\", stale=true\r\n",
        "The device refused the login of root.", 2);
}

void TestOnvif::leavesTheNodeWithoutAnswer()
{
    QFETCH(QByteArray, challenges);
    QFETCH(QString, error);
    OnvifManner manner = locked();
    manner.challenges = challenges;
    const OnvifDevice device(manner);
    const QString id = enter(hintWithLogin(device, "canary"));
    const auto before = m_fixture->db->node(id);
    QCOMPARE(read(id), error);
    QVERIFY(m_fixture->db->node(id) == before);
    QCOMPARE(m_fixture->log.linesWith(error).size(), 1);
    QTEST(int(device.logins().size()), "logins");
    QCOMPARE(m_fixture->log.linesWith(text("canary")), QStringList());
    QVERIFY(!device.requests().contains("canary"));
    QVERIFY(!device.requests().contains("Basic"));
}

void TestOnvif::leavesWhatChangedMeanwhile()
{
    NodeDB* const db = m_fixture->db;
    const OnvifDevice device;
    const QString id = enter(hintFor(device));
    const auto errorAfter = [&](const std::function<void()>& change) {
        const QString refusal = m_reader->readDevice(id);
        change();
        return refusal.isEmpty() && m_ended->wait(k_bound) ? nextError() : QString();
    };
    Node* open = nullptr;
    QVERIFY(!errorAfter([&] { open = db->beginUpdateNode(id, -1); }).isEmpty());
    static_cast<IPDeviceNode*>(open)->setHostAddress(text("127.0.0.9"));
    QVERIFY(!errorAfter([&] { db->endUpdateNode(open); }).isEmpty());
    QCOMPARE(db->node(id)->softwareVersion(), QString());
    QVERIFY(!errorAfter([&] { db->removeNode(id); }).isEmpty());
    QVERIFY(!m_reader->readDevice(id).isEmpty());
}

void TestOnvif::readsWhatAnnouncedDevicesTellAnybody()
{
    const OnvifDevice device;
    const OnvifDevice closed(locked(), WebDevice::ePlain, text("127.0.0.2"));
    m_fixture->db->setGlobalAuthentication(text("root"), text("secret"));
    QSignalSpy updated(m_fixture->db, &NodeDB::nodeUpdated);
    m_fixture->db->newNodeHint(announcementOf(device));
    m_fixture->db->newNodeHint(announcementOf(closed));
    // A login that the program knows at once is still nobody's wish to use it.
    const auto at = [this](const char* address) {
        const tqgen::StringProperty wanted(text("IP"), QString(), text(address));
        return m_fixture->db->search(wanted, eIPCameraNode).value(0);
    };
    const QString other = at("127.0.0.2");
    edit(other, [](auto& node) { node.setUser(text("root"), text("secret")); });
    const QString id = at("127.0.0.1");
    QCOMPARE(m_fixture->db->node(id)->modelInfo(), text("X1"));
    QTRY_COMPARE_WITH_TIMEOUT(updated.size(), 2, k_bound);
    QCOMPARE(m_fixture->db->node(id)->modelInfo(), k_model);
    QTRY_VERIFY(closed.isLeft());
    QVERIFY(closed.logins().isEmpty());
    QVERIFY(m_ended->isEmpty());
}

void TestOnvif::diesWithExchangesOpen()
{
    const OnvifDevice device({ .isSilent = true });
    const QString id = enter(hintFor(device));
    QCOMPARE(m_driver->probe(1, hintFor(device)), 0);
    QCOMPARE(m_reader->readDevice(id), QString());
    QTRY_COMPARE_WITH_TIMEOUT(device.questions(), 2, k_bound);
    const QPointer<QObject> root = m_driver->probeFinishedSignal().sender();
    cleanup();
    QVERIFY(!root);
    QTRY_VERIFY(device.isLeft());

    // And in the answer to a read, which is the program's own doing.
    init();
    const OnvifDevice other;
    const QString otherId = enter(hintFor(other));
    const QtSignal signal = m_reader->readFinishedSignal();
    const QPointer<QObject> driver = signal.sender();
    QVERIFY(tq::connect(signal, this, SLOT(cleanup())));
    QCOMPARE(m_reader->readDevice(otherId), QString());
    QTRY_VERIFY_WITH_TIMEOUT(!driver, k_bound);
}

QTEST_GUILESS_MAIN(TestOnvif)

#include "tst_onvif.moc"
