// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "parts/devicehints.h"
#include "parts/nasnode.h"
#include "parts/probequeue.h"

#include "discovery/nodehintfromarp.h"
#include "discovery/nodehintfrombonjour.h"
#include "discovery/nodehintipdevice.h"
#include "shared/databasefixture.h"

#include <QTest>

using namespace tq;
using tst::DeviceNode;
using tst::text;

namespace {

const QString k_mac = QStringLiteral("02:00:00:00:00:11");

SServiceInfo service(const char* address, const char* type = "_http._tcp", quint16 port = 8080)
{
    SServiceInfo record;
    record.serviceName = text("cam");
    record.fullName = text("cam.") + text(type) + text(".local");
    record.serviceType = text(type);
    record.address = text(address);
    record.ipVersion = record.address.contains(QLatin1Char(':')) ? 6 : 4;
    record.port = port;
    record.isAvailable = 1;
    record.isResolved = 1;
    return record;
}

NodeHintIPDevice probed(const char* address, const char* endpoint)
{
    NodeHintIPDevice hint;
    hint.setHostAddress(text(address));
    hint.setSecondText(text(endpoint));
    hint.setThirdText(text("http://") + text(address) + text(":8080/onvif/device_service"));
    hint.setPort(8080);
    hint.setFurtherValue(eWSDiscoveryService);
    return hint;
}

/** A device that its own node class recognises by the shared rules. */
class HintedDevice : public DeviceNode
{
public:
    explicit HintedDevice(const QString& id) : DeviceNode(id) { }
    bool isIdentical(const NodeHint& hint) const override { return isDeviceOf(*this, hint); }
    void updateFromHint(const NodeHint& hint) override { takeOver(*this, hint); }
    Node* clone() const override
    {
        auto* const copy = new HintedDevice(id());
        deepCopy(copy);
        return copy;
    }
};

} // namespace

class TestDeviceHints : public QObject
{
    Q_OBJECT

private slots:
    void recognisesByMacElseAddressElseService();
    void followsAServiceToAnotherAddress();
    void otherServicesLeaveTheWebPort();
    void theFirstServiceNamesTheDevice();
    void scannersThatMeetADeviceAtOnceMakeOneNode();
    void idsAndNames();
    void aLoginThatIsNotStoredIsNoStoredLocalUser();
    void probesWaitForTheirTurnButNotWithoutEnd();
};

void TestDeviceHints::recognisesByMacElseAddressElseService()
{
    tst::Database f;
    HintedDevice node(text("n"));
    node.setHostAddress(text("10.0.0.1"));
    node.setFullName(text("cam._http._tcp.local"));
    QVERIFY(isDeviceOf(node, NodeHintFromARP(text("10.0.0.1"), MACAddress(k_mac))));
    QVERIFY(isDeviceOf(node, NodeHintFromBonjour(service("10.0.0.2"))));
    QVERIFY(!isDeviceOf(node, NodeHintFromBonjour(service("10.0.0.2", "_rtsp._tcp"))));
    SServiceInfo both = service("fe80::1", "_rtsp._tcp");
    both.secondAddress = text("10.0.0.1");
    QVERIFY(isDeviceOf(node, NodeHintFromBonjour(both)));
    QVERIFY(!isDeviceOf(node, NodeHintFromBonjour(SServiceInfo())));

    // Two known MACs decide, whatever else is the same.
    node.setMac(MACAddress(k_mac));
    QVERIFY(isDeviceOf(node, NodeHintFromARP(text("10.0.0.9"), MACAddress(k_mac))));
    SServiceInfo other = service("10.0.0.1");
    other.mac = MACAddress(text("02:00:00:00:00:12"));
    QVERIFY(!isDeviceOf(node, NodeHintFromBonjour(other)));
}

void TestDeviceHints::followsAServiceToAnotherAddress()
{
    tst::Database f;
    auto node = std::make_unique<HintedDevice>(text("n"));
    describe(*node, probed("10.0.0.1", "urn:uuid:1"), { 8080, false });
    QCOMPARE(insertDevice(std::move(node), probed("10.0.0.1", "urn:uuid:1")), text("n"));
    const auto address = [&] {
        return tqm::smart<const IPDeviceNode>(f.db->node(text("n")))->hostAddress();
    };
    QCOMPARE(f.db->lookupHint(probed("10.0.0.2", "urn:uuid:2")), QString());
    f.db->nodeHintChanged(probed("10.0.0.2", "urn:uuid:1"));
    QCOMPARE(address(), text("10.0.0.2"));

    // What a person entered is never overwritten.
    Node* const entered = f.db->beginUpdateNode(text("n"), 0);
    entered->setCreationService(eManualService);
    f.db->endUpdateNode(entered);
    f.db->nodeHintChanged(probed("10.0.0.3", "urn:uuid:1"));
    QCOMPARE(address(), text("10.0.0.2"));
}

void TestDeviceHints::otherServicesLeaveTheWebPort()
{
    tst::Database f;
    HintedDevice node(text("n"));
    takeOver(node, NodeHintFromBonjour(service("10.0.0.1", "_http._tcp", 8081)));
    QCOMPARE(node.port(), 8081);
    takeOver(node, NodeHintFromBonjour(service("10.0.0.1", "_rtsp._tcp", 554)));
    QCOMPARE(node.port(), 8081);
    QVERIFY(!node.ssl());
    takeOver(node, NodeHintFromBonjour(service("10.0.0.1", "_https._tcp", 8443)));
    QCOMPARE(node.port(), 8443);
    QVERIFY(node.ssl());
}

void TestDeviceHints::theFirstServiceNamesTheDevice()
{
    tst::Database f;
    HintedDevice node(text("n"));
    takeOver(node, probed("10.0.0.1", "urn:uuid:1"));
    QCOMPARE(node.fullName(), text("urn:uuid:1"));
    SServiceInfo record = service("fe80::1", "_rtsp._tcp");
    record.serviceName = text("first");
    takeOver(node, NodeHintFromBonjour(record));
    takeOver(node, NodeHintFromBonjour(service("fe80::1")));
    takeOver(node, probed("fe80::1", "urn:uuid:1"));
    QCOMPARE(node.fullName(), record.fullName);
    QCOMPARE(node.serviceName(), text("first"));
    QCOMPARE(node.name(), text("first"));

    // IPv4 comes late, and stays.
    record.secondAddress = text("fe80::1");
    record.address = text("10.0.0.1");
    record.ipVersion = 4;
    takeOver(node, NodeHintFromBonjour(record));
    QCOMPARE(node.hostAddress(), text("10.0.0.1"));
    std::swap(record.address, record.secondAddress);
    record.ipVersion = 6;
    takeOver(node, NodeHintFromBonjour(record));
    QCOMPARE(node.hostAddress(), text("10.0.0.1"));
}

void TestDeviceHints::scannersThatMeetADeviceAtOnceMakeOneNode()
{
    tst::Database f;
    const NodeHintFromBonjour announced(service("10.0.0.1"));
    const NodeHintFromARP seen(text("10.0.0.1"), MACAddress(k_mac));
    const auto make = [](const NodeHint& hint) {
        auto node = std::make_unique<HintedDevice>(deviceId(factsOf(hint), 8080));
        describe(*node, hint, { 8080, false });
        return insertDevice(std::move(node), hint);
    };
    const QString id = make(announced);
    QCOMPARE(id, text("ip:10.0.0.1:8080"));
    QCOMPARE(make(seen), id);
    QCOMPARE(f.db->nodeIdList(), QStringList(id));
    // The one that stays knows what both said.
    const tqm::smart<const IPDeviceNode> node = f.db->node(id);
    QCOMPARE(node->mac(), MACAddress(k_mac));
    QCOMPARE(node->serviceName(), text("cam"));
}

void TestDeviceHints::idsAndNames()
{
    const HintFacts seen = factsOf(NodeHintFromARP(text("10.0.0.1"), MACAddress(k_mac)));
    QCOMPARE(deviceId(seen, 80), text("mac:020000000011"));
    QCOMPARE(deviceName(seen, QString()), text("10.0.0.1"));
    QCOMPARE(deviceName(seen, text("Gate")), text("Gate"));
    NodeHintIPDevice hint;
    hint.setHostAddress(text(" Camera.Test "));
    hint.setName(text("Mine"));
    QCOMPARE(deviceId(factsOf(hint), 443), text("ip:camera.test:443"));
    QCOMPARE(deviceName(factsOf(hint), text("Gate")), text("Mine"));
    hint.setFurtherValue(eWSDiscoveryService);
    QCOMPARE(deviceName(factsOf(hint), text("Gate")), text("Gate"));
}

void TestDeviceHints::aLoginThatIsNotStoredIsNoStoredLocalUser()
{
    tst::Database f;
    NASNode node(text("nas"));
    node.setUser(text("anna"), text("secret"));
    node.addLocalUser(text("anna"), text("secret"), true);
    node.addLocalUser(text("ben"), text("other"), true);
    node.setBoolProperty(text("SavePassword"), false);
    QVERIFY(!node.localUser(text("anna")).savePassword);
    QVERIFY(node.localUser(text("ben")).savePassword);
    QCOMPARE(node.localUser(text("anna")).password, text("secret"));
    node.localUser(text("anna")).savePassword = true;
    node.setSavePassword(false);
    QVERIFY(!node.localUser(text("anna")).savePassword);
}

void TestDeviceHints::probesWaitForTheirTurnButNotWithoutEnd()
{
    const tst::LogCapture log;
    ProbeQueue queue;
    int started = 0;
    const int most = ProbeQueue::k_mostOpen + int(ProbeQueue::k_mostWaiting);
    for (int i = 0; i < most; ++i)
        QVERIFY(queue.add([&] { ++started; }));
    QCOMPARE(started, ProbeQueue::k_mostOpen);
    for (int i = 0; i < 3; ++i)
        QVERIFY(!queue.add([&] { QFAIL("was refused"); }));
    QCOMPARE(log.lines().size(), 1);
    for (int i = 0; i < most; ++i)
        queue.ended();
    QCOMPARE(started, most);
}

QTEST_GUILESS_MAIN(TestDeviceHints)
#include "tst_devicehints.moc"
