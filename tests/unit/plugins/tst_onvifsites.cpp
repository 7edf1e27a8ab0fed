// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "discovery/idevicereader.h"
#include "discovery/nodehintfrombonjour.h"
#include "discovery/nodehintipdevice.h"
#include "environments/environments.h"
#include "plugins/onvifdevice.h"
#include "shared/databasefixture.h"

#include "platform/pluginloader.h"

#include <QSignalSpy>
#include <QTest>

using namespace tq;
using plugin::Loader;
using namespace tst;

namespace {

constexpr int k_bound = 20000; ///< ms; far more than anything may take

} // namespace

/** Cameras of several sites that use the same private addresses. */
class TestOnvifSites : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void asksWhoIsThereBeforeALoginIsSent_data();
    void asksWhoIsThereBeforeALoginIsSent();
    void anAnnouncedDeviceOfAnotherSiteIsAskedFirst();

private:
    /** Reads a device and returns the error. */
    QString read(const QString& id);

    std::unique_ptr<Database> m_fixture;
    tqm::smart<INodeDriverComponent> m_driver;
};

void TestOnvifSites::init()
{
    Loader::instance().addFolder(QStringLiteral(PLUGIN_FOLDER));
    m_fixture = std::make_unique<Database>();
    m_driver = m_fixture->db->nodeDriver(eIPCameraNode);
    QVERIFY(!m_driver.null());
}

void TestOnvifSites::cleanup()
{
    m_driver.reset();
    m_fixture.reset();
    Loader::instance().clear();
}

QString TestOnvifSites::read(const QString& id)
{
    const tqm::smart<IDeviceReader> reader(m_driver);
    const QtSignal signal = reader->readFinishedSignal();
    QSignalSpy spy(signal.sender(), signal.signature().constData());
    const QString refusal = reader->readDevice(id);
    if (!refusal.isEmpty())
        return refusal;
    return spy.wait(k_bound) ? spy.first().at(1).toString() : text("late");
}

void TestOnvifSites::asksWhoIsThereBeforeALoginIsSent_data()
{
    QTest::addColumn<QByteArray>("reference");
    QTest::addColumn<bool>("isOpen"); // and has another MAC
    QTest::addColumn<QString>("said");
    QTest::newRow("itself") << QByteArray("URN:uuid:a") << false << QString();
    QTest::newRow("another by reference")
        << QByteArray("urn:uuid:b") << false << text("another device");
    QTest::newRow("another by MAC, which counts more")
        << QByteArray("urn:uuid:a") << true << text("another device");
    QTest::newRow("it does not tell") << QByteArray() << false << text("was not confirmed in");
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
