// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "discovery/inodescanner.h"
#include "discovery/nodehintipdevice.h"
#include "recording/nodedbhelper.h"
#include "shared/databasefixture.h"
#include "shared/ownnetwork.h"

#include "platform/pluginloader.h"

#include <QSignalSpy>
#include <QTest>

using namespace tq;
using plugin::Loader;

/** The plug-ins as they are shipped, found and driven as programs do it. */
class TestPlugins : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void everyFolderLoadsWhole();
    void everyTypeFindsItsDriver();
    void scannersAnnounceSignalsThatConnect();
    void theExamplesWorkTogether();
    void recordingFoldersAreMadeOncePerDevice();
    void recordingFoldersFindBackToTheirDevices();
};

void TestPlugins::init()
{
    Loader::instance().addFolder(QStringLiteral(PLUGIN_FOLDER));
    Loader::instance().addFolder(QStringLiteral(EXAMPLE_FOLDER));
}

void TestPlugins::cleanup()
{
    NodeDB::freeDB();
    Loader::instance().clear();
}

void TestPlugins::everyFolderLoadsWhole()
{
    const auto drivers = Loader::instance().listComponents("tq::INodeDriverComponent");
    const auto scanners = Loader::instance().listComponents("INodeScanner");
    for (const auto& error : Loader::instance().loadErrors())
        QFAIL(qPrintable(error.path + QStringLiteral(": ") + error.reason));
    QCOMPARE(drivers.size() + scanners.size(), Loader::instance().components().size());
    for (const tqm::smart<INodeDriverComponent> driver : drivers)
        QVERIFY(!driver.null());
    for (const tqm::smart<INodeScanner> scanner : scanners)
        QVERIFY(!scanner.null());
}

void TestPlugins::everyTypeFindsItsDriver()
{
    const tst::Database fixture;
    for (const int type : { 0, 2, 20 }) {
        const std::unique_ptr<Node> node(fixture.db->createNodeFromType(ENodeType(type)));
        QVERIFY2(node, qPrintable(QString::number(type)));
        QCOMPARE(int(node->type()), type);
        QVERIFY(!fixture.db->readableNodeTypeName(ENodeType(type)).isEmpty());
        QVERIFY(!fixture.db->createNodeHint(ENodeType(type)).null());
    }
    // A refused connect would be a line.
    QCOMPARE(fixture.log.linesWith(QStringLiteral("2 ")), QStringList());
}

void TestPlugins::scannersAnnounceSignalsThatConnect()
{
    if (!tst::hasOwnNetwork())
        QSKIP("this machine allows no network namespace: scanners would ask its own network");
    const tst::Database fixture;
    for (const tqm::smart<INodeScanner> scanner :
        Loader::instance().listComponents("INodeScanner")) {
        const QtSignal signals_[] = { scanner->newHintSignal(), scanner->hintChangedSignal(),
            scanner->hintGoneSignal() };
        for (const QtSignal& signal : signals_)
            QVERIFY2(tq::connect(signal, fixture.db, SLOT(newNodeHint(const tq::NodeHint&))),
                qPrintable(scanner->scannerName()));
        scanner->start(0, 0);
        QVERIFY2(scanner->isRunning(), qPrintable(scanner->scannerName()));
        scanner->stop();
        QVERIFY(!scanner->isRunning());
    }
}

void TestPlugins::theExamplesWorkTogether()
{
    if (!tst::hasOwnNetwork())
        QSKIP("this machine allows no network namespace: drivers would ask 192.0.2.1");
    const tst::Database fixture;
    QSignalSpy inserted(fixture.db, &NodeDB::nodeInserted);
    QSignalSpy known(fixture.db, &NodeDB::duplicateNodeHint);
    fixture.db->startScanners("example", 0, 0);
    QVERIFY(inserted.wait());
    QCOMPARE(inserted.first().first().toString(), QStringLiteral("example:192.0.2.1"));
    fixture.db->stopScanners("example");
    fixture.db->startScanners("example", 0, 0);
    QVERIFY(known.wait());
    QCOMPARE(fixture.db->nodeIdList().size(), 1);
}

void TestPlugins::recordingFoldersAreMadeOncePerDevice()
{
    const tst::Database fixture;
    fixture.db->setGlobalRecordingFolderPath(QStringLiteral("/srv/recordings/"));
    const auto driver = fixture.db->nodeDriver(eRecordingFolderNode);
    const auto hint = fixture.db->createNodeHint(eRecordingFolderNode);
    QVERIFY(driver->createNodeFromHint(*hint).isNull());
    hint->setThirdText(QStringLiteral("mac:020000000001"));
    const QString id = driver->createNodeFromHint(*hint);
    QCOMPARE(id, QStringLiteral("rec:mac:020000000001"));
    const auto folder = fixture.db->node(id);
    QCOMPARE(folder->properties().names().mid(11).join(QLatin1Char(' ')),
        QStringLiteral("Note User Path"));
    QCOMPARE(folder->stringProperty(QStringLiteral("Path"), QString()),
        QStringLiteral("/srv/recordings"));
    QVERIFY(driver->createNodeFromHint(*hint).isNull());
    QCOMPARE(fixture.db->nodeIdList(eRecordingFolderNode), QStringList(id));

    // An edit reaches the stored node, and the copy keeps what was not edited.
    Node* const copy = fixture.db->beginUpdateNode(id, -1);
    copy->setNote(QStringLiteral("kept"));
    copy->setStringProperty(QStringLiteral("Path"), QStringLiteral("/mnt"));
    fixture.db->endUpdateNode(copy);
    const auto hintOfFolder = fixture.db->createNodeHint(eRecordingFolderNode);
    fixture.db->node(id)->fillHint(*hintOfFolder);
    QCOMPARE(hintOfFolder->secondText(), QStringLiteral("/mnt"));
    QCOMPARE(hintOfFolder->thirdText(), QStringLiteral("mac:020000000001"));
}

void TestPlugins::recordingFoldersFindBackToTheirDevices()
{
    const tst::Database fixture;
    fixture.db->setGlobalRecordingFolderUserAndPassword(
        QStringLiteral("anna"), tst::text("gehäim"));
    NodeHintIPDevice camera;
    camera.setNodeType(eIPCameraNode);
    camera.setHostAddress(QStringLiteral("192.0.2.7"));
    fixture.db->newNodeHint(camera);
    const QString device = fixture.db->nodeIdList(eIPCameraNode).value(0);
    const QString folder = NodeDBHelper::createRecordingFolder(*fixture.db, device);
    QCOMPARE(folder, QStringLiteral("rec:") + device);
    const auto node = fixture.db->node(folder);
    UserAndPassword login;
    login.fromVariant(node->properties().find(QStringLiteral("User"))->value());
    QCOMPARE(login, UserAndPassword(QStringLiteral("anna"), tst::text("gehäim"), true));
    NodeHintIPDevice told;
    node->fillHint(told);
    QCOMPARE(told.user() + told.password(), QString());

    fixture.db->removeAllNodeRelations(folder);
    QCOMPARE(NodeDBHelper::createRecordingFolder(*fixture.db, device), folder);
    QCOMPARE(fixture.db->relatedNodes(device, eDeviceToRecordingFolder), QStringList(folder));
    QCOMPARE(fixture.db->relatedNodes(folder, eRecordingFolderToDevice), QStringList(device));
}

int main(int argc, char** argv)
{
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent"); // not the machine's Avahi either
    return tst::runInOwnNetwork<TestPlugins>(argc, argv);
}

#include "tst_plugins.moc"
