// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "discovery/nodehintfrombonjour.h"
#include "environments/environments.h"
#include "plugins/drivertest.h"
#include "plugins/onvifdevice.h"

using namespace tq;
using namespace tst;

/** Cameras of several sites that use the same private addresses. */
class TestOnvifSites : public tst::DriverTest
{
    Q_OBJECT

public:
    TestOnvifSites() : DriverTest(eIPCameraNode) { }

private slots:
    void asksWhoIsThereBeforeALoginIsSent_data();
    void asksWhoIsThereBeforeALoginIsSent();
    void anAnnouncedDeviceOfAnotherSiteIsAskedFirst();
};

void TestOnvifSites::asksWhoIsThereBeforeALoginIsSent_data()
{
    // isOpen: and has another MAC
    const Rows<QByteArray, bool, QString> row("reference", "isOpen", "said");
    row("itself", "URN:uuid:a", false, {});
    row("another by reference", "urn:uuid:b", false, "another device");
    row("another by MAC, which counts more", "urn:uuid:a", true, "another device");
    row("it does not tell", {}, false, "was not confirmed in");
}

void TestOnvifSites::asksWhoIsThereBeforeALoginIsSent()
{
    QFETCH(QByteArray, reference);
    QFETCH(bool, isOpen);
    QFETCH(QString, said);
    NodeDB* const db = m_fixture->db;
    OnvifManner manner = locked();
    manner.reference = "urn:uuid:a";
    OnvifDevice device(manner);
    NodeHintIPDevice hint = hintWithLogin(device);
    hint.setNodeType(eIPCameraNode);
    const QString id = m_driver->createNodeFromHint(hint);
    QCOMPARE(read(id), QString());
    db->setActiveEnvironment(db->environments()->add(text("Site B")));
    const auto logins = device.logins().size();
    device.manner.reference = reference;
    if (isOpen) {
        device.manner.user.clear();
        device.manner.mac = "02:77:0A:4D:00:0C";
    }
    const QString error = read(id);
    if (!said.isEmpty()) {
        QVERIFY2(error.contains(said), qPrintable(error));
        QCOMPARE(device.logins().size(), logins);
        QVERIFY(!db->node(id)->boolProperty(text("AddressConfirmed"), true));
        QCOMPARE(m_driver->createNodeFromHint(hintFor(device)) == id, false);
        return;
    }
    QCOMPARE(error, QString());
    QVERIFY(device.logins().size() > logins);
    QVERIFY(db->node(id)->boolProperty(text("AddressConfirmed"), false));
}

void TestOnvifSites::anAnnouncedDeviceOfAnotherSiteIsAskedFirst()
{
    NodeDB* const db = m_fixture->db;
    OnvifDevice device;
    db->newNodeHint(announcementOf(device));
    const QString id = db->nodeIdList().value(0);
    QTRY_VERIFY_WITH_TIMEOUT(!db->node(id)->softwareVersion().isEmpty(), k_bound);
    // The same device, then another one, at the same address.
    db->setActiveEnvironment(db->environments()->add(text("Site B")));
    db->newNodeHint(announcementOf(device));
    QTRY_VERIFY_WITH_TIMEOUT(db->node(id)->boolProperty(text("AddressConfirmed"), false), k_bound);
    QCOMPARE(db->nodeIdList().size(), 1);
    db->setActiveEnvironment(db->environments()->add(text("Site C")));
    device.manner.mac = "02:77:0A:4D:00:0C";
    db->newNodeHint(announcementOf(device));
    QTRY_COMPARE_WITH_TIMEOUT(db->nodeIdList().size(), 2, k_bound);
    QVERIFY(db->nodeIdList().contains(text("mac:02770a4d000c")));
    QVERIFY(!db->node(id)->boolProperty(text("AddressConfirmed"), true));
}

QTEST_GUILESS_MAIN(TestOnvifSites)

#include "tst_onvifsites.moc"
