// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "parts/deviceidentity.h"
#include "parts/nasnode.h"
#include "parts/probequeue.h"
#include "parts/recognisingnode.h"

#include "discovery/nodehintfromarp.h"
#include "discovery/nodehintfrombonjour.h"
#include "discovery/nodehintipdevice.h"
#include "environments/environments.h"
#include "persistence/memorydestination.h"
#include "shared/databasefixture.h"
#include "shared/rows.h"
#include "shared/servicerecord.h"

using namespace tq;
using tst::serviceRecord;
using tst::text;

namespace {

const QString k_mac = QStringLiteral("02:00:00:00:00:11");

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
class HintedDevice : public RecognisingNode<IPDeviceNode>
{
public:
    explicit HintedDevice(const QString& id) : RecognisingNode(tst::k_deviceType, id) { }
    void updateFromHint(const NodeHint& hint) override { takeOver(*this, hint); }
    Node* clone() const override
    {
        auto* const copy = new HintedDevice(id());
        deepCopy(copy);
        return copy;
    }
    QString serialNumber() const override { return serial; }

    QString serial;
};

} // namespace

class TestDeviceHints : public QObject
{
    Q_OBJECT

private slots:
    void recognisesByMacElseAddressElseService();
    void macsCountMoreThanSerialNumbersAndThoseMoreThanReferences();
    void atAnotherSiteOnlyWhatTheDeviceSaysCounts_data();
    void atAnotherSiteOnlyWhatTheDeviceSaysCounts();
    void aDeviceThatIsMetAgainHasOneNode_data();
    void aDeviceThatIsMetAgainHasOneNode();
    void marksAreKeptForEachEnvironment();
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
    QVERIFY(isDeviceOf(node, NodeHintFromBonjour(serviceRecord(text("10.0.0.2")))));
    QVERIFY(!isDeviceOf(node, NodeHintFromBonjour(serviceRecord(text("10.0.0.2"), "_rtsp._tcp"))));
    SServiceInfo both = serviceRecord(text("fe80::1"), "_rtsp._tcp");
    both.secondAddress = text("10.0.0.1");
    QVERIFY(isDeviceOf(node, NodeHintFromBonjour(both)));
    QVERIFY(!isDeviceOf(node, NodeHintFromBonjour(SServiceInfo())));

    // Two known MACs decide, whatever else is the same.
    node.setMac(MACAddress(k_mac));
    QVERIFY(isDeviceOf(node, NodeHintFromARP(text("10.0.0.9"), MACAddress(k_mac))));
    SServiceInfo other = serviceRecord(text("10.0.0.1"));
    other.mac = MACAddress(text("02:00:00:00:00:12"));
    QVERIFY(!isDeviceOf(node, NodeHintFromBonjour(other)));
}

void TestDeviceHints::macsCountMoreThanSerialNumbersAndThoseMoreThanReferences()
{
    DeviceIdentity left{ MACAddress(k_mac), text("s1"), text("urn:uuid:1") };
    DeviceIdentity right{ MACAddress(k_mac), text("s2"), text("urn:uuid:1") };
    QCOMPARE(left.compare(right), DeviceIdentity::eSame);
    left.mac = MACAddress();
    QCOMPARE(left.compare(right), DeviceIdentity::eOther);
    left.serialNumber = right.serialNumber = text("S2");
    left.reference.clear();
    left.model = text("Moorlight ML-60");
    for (const auto& [model, match] : { std::pair(text("ml-60"), DeviceIdentity::eSame),
             std::pair(text("Quay 7"), DeviceIdentity::eUnknown) }) {
        right.model = model;
        QCOMPARE(left.compare(right), match);
    }
    right.model = left.model;
    right.reference = text("urn:uuid:2");
    left.reference = text("urn:uuid:1");
    QCOMPARE(left.compare(right), DeviceIdentity::eUnknown); // their maker numbers them alike
    left.reference.clear();
    left.serialNumber = right.serialNumber = text("0000");
    QCOMPARE(left.compare(right), DeviceIdentity::eUnknown);
    left.reference = right.reference;
    right.serialNumber.clear();
    QCOMPARE(left.compare(right), DeviceIdentity::eSame);
    right.reference.clear();
    QCOMPARE(left.compare(right), DeviceIdentity::eUnknown);
}

void TestDeviceHints::atAnotherSiteOnlyWhatTheDeviceSaysCounts_data()
{
    const tst::Rows<int, QString, bool, bool> row("kind", "told", "isHere", "isThere");
    enum { eMac, eService, eReference, eAddress, eSerial };
    row("an address", eAddress, {}, true, false);
    row("a name that any site may have", eService, {}, true, false);
    row("its MAC", eMac, k_mac, true, true);
    row("another's MAC", eMac, "02:00:00:00:00:12", false, false);
    row("its reference", eReference, "URN:UUID:1", true, true);
    row("its serial number", eSerial, "s1", true, true);
    row("another's serial number", eSerial, "S2", false, false);
    row("another's reference", eReference, "urn:uuid:2", false, false);
}

void TestDeviceHints::atAnotherSiteOnlyWhatTheDeviceSaysCounts()
{
    QFETCH(int, kind);
    QFETCH(QString, told);
    tst::Database f;
    HintedDevice node(text("n"));
    takeOver(node, NodeHintFromBonjour(serviceRecord(text("10.0.0.1"))));
    takeOver(node, probed("10.0.0.1", "urn:uuid:1"));
    node.setMac(MACAddress(k_mac));
    node.serial = text("S1");
    node.setModelInfo(text("Moorlight ML-60"));
    NodeHintIPDevice entered;
    entered.setHostAddress(text("10.0.0.1"));
    const NodeHintFromARP seen(text("10.0.0.1"), MACAddress(told));
    const NodeHintFromBonjour announced(serviceRecord(text("10.0.0.1")));
    const NodeHintIPDevice match = probed("10.0.0.1", told.toUtf8().constData());
    SServiceInfo record = serviceRecord(text("10.0.0.1"));
    record.serialNumber = told;
    record.model = text("ML-60");
    const NodeHintFromBonjour numbered(record);
    const QList<const NodeHint*> hints{ &seen, &announced, &match, &entered, &numbered };
    const NodeHint& hint = *hints[kind];
    QTEST(isDeviceOf(node, hint), "isHere");
    NodeHintIPDevice filled;
    node.setUser(text("joe"), text("secret"));
    f.db->setActiveEnvironment(f.db->environments()->add(text("Site B")));
    QCOMPARE(node.hostAddress(), text("10.0.0.1"));
    QTEST(isDeviceOf(node, hint), "isThere");
    node.fillHint(filled);
    QCOMPARE(filled.user(), QString());
    takeOver(node, seen);
    QVERIFY(isDeviceOf(node, entered));
}

void TestDeviceHints::aDeviceThatIsMetAgainHasOneNode_data()
{
    const tst::Rows<bool, bool, int> row("isMacKnown", "isElsewhere", "nodes");
    row("by its MAC", true, false, 1);
    row("by its reference", false, false, 1);
    // It may lie then: the other one is in this environment as well.
    row("by its MAC, at two addresses", true, true, 1);
    row("by its reference, at two addresses", false, true, 2);
}

void TestDeviceHints::aDeviceThatIsMetAgainHasOneNode()
{
    QFETCH(bool, isMacKnown);
    QFETCH(bool, isElsewhere);
    tst::Database f;
    const auto make = [&](const char* address) {
        NodeHintIPDevice hint;
        hint.setHostAddress(text(address));
        auto node = std::make_unique<HintedDevice>(deviceId({}));
        describe(*node, hint, { 8080, false });
        node->setEndpointReference(text("urn:uuid:1"));
        if (isMacKnown)
            node->setMac(MACAddress(k_mac));
        return insertDevice(std::move(node), hint);
    };
    const QString id = make("10.0.0.1");
    if (!isElsewhere)
        f.db->setActiveEnvironment(f.db->environments()->add(text("Site B")));
    QCOMPARE(make("10.0.0.2") == id, !isElsewhere);
    QTEST(int(f.db->nodeIdList().size()), "nodes");
    const tqm::smart<const IPDeviceNode> node = f.db->node(id);
    QCOMPARE(node->hostAddress(), text(isElsewhere ? "10.0.0.1" : "10.0.0.2"));
}

void TestDeviceHints::marksAreKeptForEachEnvironment()
{
    tst::Database f;
    const QString siteA = f.db->activeEnvironment();
    HintedDevice node(text("n"));
    node.setHostAddress(text("10.0.0.1"));
    const QString siteB = f.db->environments()->add(text("Site B"));
    MemoryDestination store;
    node.save(&store);
    MemoryDestination from; // an entry without marks
    node.IPDeviceNode::save(&from);
    for (MemoryDestination* const source : { &store, &from }) {
        f.db->setActiveEnvironment(siteA);
        HintedDevice loaded(text("n"));
        loaded.load(source);
        const std::unique_ptr<Node> copy(loaded.clone());
        QVERIFY(copy->boolProperty(text("AddressConfirmed"), false));
        f.db->setActiveEnvironment(siteB);
        QVERIFY(!copy->boolProperty(text("AddressConfirmed"), true));
        QCOMPARE(copy->stringProperty(text("IP"), QString()), text("10.0.0.1"));
        copy->setStringProperty(text("IP"), text("10.0.0.1"));
        QVERIFY(copy->boolProperty(text("AddressConfirmed"), false));
        static_cast<HintedDevice&>(*copy).forgetAddress(siteA);
        f.db->setActiveEnvironment(siteA);
        QCOMPARE(copy->stringProperty(text("IP"), text("x")), QString());
        QVERIFY(!copy->boolProperty(text("AddressConfirmed"), true));
    }
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
    takeOver(node, NodeHintFromBonjour(serviceRecord(text("10.0.0.1"), "_http._tcp", 8081)));
    QCOMPARE(node.port(), 8081);
    takeOver(node, NodeHintFromBonjour(serviceRecord(text("10.0.0.1"), "_rtsp._tcp", 554)));
    QCOMPARE(node.port(), 8081);
    QVERIFY(!node.ssl());
    takeOver(node, NodeHintFromBonjour(serviceRecord(text("10.0.0.1"), "_https._tcp", 8443)));
    QCOMPARE(node.port(), 8443);
    QVERIFY(node.ssl());
}

void TestDeviceHints::theFirstServiceNamesTheDevice()
{
    tst::Database f;
    HintedDevice node(text("n"));
    takeOver(node, probed("10.0.0.1", "urn:uuid:1"));
    QCOMPARE(node.fullName(), text("urn:uuid:1"));
    SServiceInfo record = serviceRecord(text("fe80::1"), "_rtsp._tcp");
    record.serviceName = text("first");
    takeOver(node, NodeHintFromBonjour(record));
    takeOver(node, NodeHintFromBonjour(serviceRecord(text("fe80::1"))));
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
    const NodeHintFromBonjour announced(serviceRecord(text("10.0.0.1")));
    const NodeHintFromARP seen(text("10.0.0.1"), MACAddress(k_mac));
    const auto make = [](const NodeHint& hint) {
        auto node = std::make_unique<HintedDevice>(deviceId(factsOf(hint).mac));
        describe(*node, hint, { 8080, false });
        return insertDevice(std::move(node), hint);
    };
    const QString id = make(announced);
    QVERIFY(id.startsWith(text("uuid:")));
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
    QCOMPARE(deviceId(seen.mac), text("mac:020000000011"));
    QVERIFY(deviceId({}) != deviceId({}));
    QCOMPARE(deviceName(seen, QString()), text("10.0.0.1"));
    QCOMPARE(deviceName(seen, text("Gate")), text("Gate"));
    NodeHintIPDevice hint;
    hint.setHostAddress(text(" Camera.Test "));
    hint.setName(text("Mine"));
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
