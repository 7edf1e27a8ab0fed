// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "devices/nasdevicenode.h"
#include "discovery/inodescanner.h"
#include "discovery/nodehintipdevice.h"
#include "persistence/storefactory.h"
#include "shared/calllogdestination.h"
#include "shared/databasefixture.h"
#include "shared/rows.h"
#include "simulated/sightings_p.h"

#include "platform/pluginloader.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QUuid>

using namespace tq;
using plugin::Loader;
using tst::text;

namespace {

constexpr int k_fast = 1000000; ///< percent: an hour in a third of a second
constexpr int k_patience = 60000; // ms

constexpr int k_many = 10000;

/** At 9.25 s a camera of the depot is lost. */
const QString k_lastOfTheHarbour = text("lost mac:064b57b98f51");

QString option()
{
    return text("simulated/site");
}

QString shipped(const char* name)
{
    return QStringLiteral(SITE_FOLDER "/") + QLatin1String(name);
}

tqm::smart<INodeScanner> scanner()
{
    return Loader::instance().listComponents("INodeScanner").value(0);
}

/** What a database tells of its discovery, in order: "WHAT ID", or "WHAT NAME" without a node. */
struct Story : QObject
{
    explicit Story(NodeDB* db)
    {
        const auto tell = [this](const char* what, const QString& whom) {
            events.append(QLatin1String(what) + QLatin1Char(' ') + whom);
        };
        connect(db, &NodeDB::nodeInserted, this, [=](const auto& id) { tell("new", id); });
        connect(db, &NodeDB::nodeUpdated, this, [=](const auto& id) { tell("changed", id); });
        connect(db, &NodeDB::nodeLost, this, [=](const auto& id) { tell("lost", id); });
        connect(db, &NodeDB::duplicateNodeHint, this,
            [=](const NodeHint&, const auto& id) { tell("known", id); });
        connect(db, &NodeDB::unhandledNodeHint, this,
            [=](const NodeHint& hint) { tell("unhandled", hint.name()); });
        connect(db, &NodeDB::probeDecided, this, [=](int, const auto& driver) {
            if (driver.null())
                tell("refused", QString());
        });
    }

    QStringList events;
};

tqm::smart<INodeDriverComponent> driver()
{
    return Loader::instance().listComponents("tq::INodeDriverComponent").value(0);
}

/** Asks the driver about every hint of the scanner, without a database. */
class Crowd : public QObject
{
    Q_OBJECT

public:
    Crowd()
    {
        tq::connect(scanner()->newHintSignal(), this, SLOT(meet(const tq::NodeHint&)));
        tq::connect(driver()->probeFinishedSignal(), this,
            SLOT(hear(int, tqm::smart<INodeDriverComponent>, int)));
    }

    int reports = 0;
    QHash<int, int> answers; ///< by request

private slots:
    void meet(const tq::NodeHint& hint)
    {
        const int answer = driver()->probe(++reports, hint);
        if (answer != 0)
            answers.insert(reports, answer);
    }
    void hear(int request, tqm::smart<INodeDriverComponent>, int answer)
    {
        answers.insert(request, answer);
    }
};

/** A site that is being simulated, and the database that is told of it. */
struct Scan
{
    explicit Scan(const QString& path, int percent = k_fast)
    {
        Loader::instance().setOption(option(), path);
        fixture.db->startScanners("simulated", 0, percent);
    }

    tst::Database fixture;
    NodeDB* const db = fixture.db;
    const Story story{ db };
};

} // namespace

/** The simulation as it is shipped: loaded from its folder, asked through a database. */
class TestSimulated : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void asksAndAnswersAsTheSiteSays_data();
    void asksAndAnswersAsTheSiteSays();
    void devicesAppearAsEveryScannerReportsThem_data();
    void devicesAppearAsEveryScannerReportsThem();
    void aDeviceIsMetMovesAndIsLost();
    void foldersAndStrangersHaveTypedHints();
    void storagesHoldTheirShares();
    void badSitesCostOneLine_data();
    void badSitesCostOneLine();
    void nothingComesAfterStop();
    void oneSeedTellsOneStory();
    void theHarbourIsFoundWithinTenSeconds();
    void shippedDriversLoadWhatIsSaved();
    void carriesTenThousandDevices();

private:
    QString site(const QByteArray& devices, int seed = 1);
    QStringList storyOf(const QString& path, const QString& last, int percent = k_fast);

    QTemporaryDir m_folder;
    int m_files = 0;
};

void TestSimulated::init()
{
    Loader::instance().addFolder(QStringLiteral(SIMULATED_FOLDER));
}

void TestSimulated::cleanup()
{
    NodeDB::freeDB();
    Loader::instance().clear();
}

/** Writes a site file and returns its path. */
QString TestSimulated::site(const QByteArray& devices, int seed)
{
    const QString path = m_folder.filePath(text("%1.json").arg(++m_files));
    QFile file(path);
    const QByteArray json =
        "{\"seed\": " + QByteArray::number(seed) + ", \"devices\": [" + devices + "]}";
    if (!file.open(QIODevice::WriteOnly) || file.write(json) != json.size())
        qFatal("no site file");
    return path;
}

/** Scans a site until an event happens, and returns all events. */
QStringList TestSimulated::storyOf(const QString& path, const QString& last, int percent)
{
    const Scan scan(path, percent);
    [&] { QTRY_VERIFY_WITH_TIMEOUT(scan.story.events.contains(last), k_patience); }();
    scan.db->stopScanners("simulated");
    return scan.story.events;
}

void TestSimulated::asksAndAnswersAsTheSiteSays_data()
{
    const QString gate = text("new mac:020000000001");
    const QString clock = text("new mac:020000000002");
    const tst::Rows<QByteArray, QStringList> row("probe", "events");
    row("at once", "at once", QStringList{ gate, clock });
    row("late", "late", QStringList{ clock, gate });
    row("twice", "twice", QStringList{ gate, clock });
    row("never", "never", QStringList{ clock });
    row("refused", "refused", QStringList{ text("refused "), clock });
}

void TestSimulated::asksAndAnswersAsTheSiteSays()
{
    QFETCH(const QByteArray, probe);
    QFETCH(QStringList, events);
    const QString path = site(R"(
        {"name": "gate", "address": "10.77.0.2", "mac": "02:00:00:00:00:01",
         "appears": {"at": 0}, "probe": ")"
        + probe + R"(", "probeDelay": 2},
        {"name": "clock", "address": "10.77.0.3", "mac": "02:00:00:00:00:02", "appears": {"at": 1}},
        {"name": "end", "address": "10.77.0.4", "mac": "02:00:00:00:00:03", "appears": {"at": 9}})");
    Loader::instance().setOption(option(), path);
    const QtSignal answered = driver()->probeFinishedSignal();
    QSignalSpy later(answered.sender(), answered.signature());
    const QString end = text("new mac:020000000003");
    QCOMPARE(storyOf(path, end), events << end);
    QCOMPARE(later.size(), probe == "late" || probe == "twice" ? 1 : 0);
}

void TestSimulated::devicesAppearAsEveryScannerReportsThem_data()
{
    const tst::Rows<QByteArray, int> row("by", "service");
    row("neighbours", "arp", eARPService);
    row("records", "dnssd", eDNSSDService);
    row("answers", "wsdiscovery", eWSDiscoveryService);
    row("by hand", "ipdevice", eManualService);
}

void TestSimulated::devicesAppearAsEveryScannerReportsThem()
{
    QFETCH(const QByteArray, by);
    QFETCH(const int, service);
    const Scan scan(site(R"({"name": "gate", "address": "10.77.0.2",
        "mac": "02:00:00:00:00:01", "answers": "https", "title": "Harbour gate",
        "onvif": {"manufacturer": "Saltmarsh Works", "model": "Heron 4", "firmware": "2.4.0"},
        "appears": {"by": ")"
        + by + "\"}}"));
    QTRY_COMPARE_WITH_TIMEOUT(scan.db->nodeIdList().size(), 1, k_patience);
    const auto node = scan.db->node(text("mac:020000000001"));
    QVERIFY(!node.null());
    QCOMPARE(int(node->creationService()), service);
    QCOMPARE(node->type(), eIPCameraNode);
    QCOMPARE(node->name(), text("Harbour gate"));
    QCOMPARE(node->modelInfo(), text("Saltmarsh Works Heron 4"));
    QCOMPARE(node->softwareVersion(), text("2.4.0"));
    const tqm::smart<const IPDeviceNode> device = node;
    QCOMPARE(device->hostAddress(), text("10.77.0.2"));
    QCOMPARE(device->port(), 443);
    QVERIFY(device->ssl());
}

void TestSimulated::aDeviceIsMetMovesAndIsLost()
{
    const QString id = text(" mac:020000000001");
    const QString path = site(R"({"name": "gate", "address": "10.77.0.2",
        "mac": "02:00:00:00:00:01", "appears": {"at": 1, "times": 9}, "vanishes": 4, "changes":
        [{"at": 0.5, "address": "10.77.0.7"}, {"at": 2.5, "address": "10.77.0.8"},
         {"at": 5, "address": "10.77.0.9"}]})");
    // The first change is before anybody saw it, the last and six reports after it has gone.
    const QStringList expected{ text("new"), text("known"), text("changed"), text("known"),
        text("lost") };
    QStringList events = storyOf(path, text("lost") + id);
    QCOMPARE(events.replaceInStrings(id, QString()), expected);

    const Scan scan(path);
    QSignalSpy moved(scan.db, &NodeDB::nodeUpdated);
    QVERIFY(moved.wait(k_patience));
    const tqm::smart<const IPDeviceNode> device = scan.db->node(id.trimmed());
    QCOMPARE(device->hostAddress(), text("10.77.0.8"));
}

void TestSimulated::foldersAndStrangersHaveTypedHints()
{
    const QString path = site(R"(
        {"name": "tapes", "kind": "recording", "address": "10.77.0.2", "mac": "02:00:00:00:00:01",
         "title": "Tapes", "appears": {"at": 0}},
        {"name": "mast", "kind": "other", "address": "10.77.0.3", "title": "Mast",
         "appears": {"by": "ipdevice", "at": 1}})");
    const Scan scan(path);
    const QStringList expected{ text("new rec:mac:020000000001"), text("unhandled Mast") };
    QTRY_COMPARE_WITH_TIMEOUT(scan.story.events, expected, k_patience);
    const auto folder = scan.db->node(text("rec:mac:020000000001"));
    QCOMPARE(folder->stringProperty(text("Path"), QString()), text("/recordings/tapes"));

    // A device that the site does not know is nobody's, unless somebody says what it is.
    NodeHintIPDevice hint;
    hint.setHostAddress(text("10.77.0.99"));
    scan.db->newNodeHint(hint);
    QCOMPARE(scan.story.events.last(), text("refused "));
    hint.setNodeType(eIPCameraNode);
    scan.db->newNodeHint(hint);
    const QUuid id = QUuid::createUuidV5(QUuid(), text("10.77.0.99"));
    QCOMPARE(scan.story.events.last(), text("new uuid:") + id.toString(QUuid::WithoutBraces));
}

void TestSimulated::storagesHoldTheirShares()
{
    const Scan scan(shipped("small.json"));
    const QString id = text("mac:02a4c0000020");
    QTRY_VERIFY_WITH_TIMEOUT(!scan.db->node(id).null(), k_patience);
    const tqm::smart<const NASDeviceNode> storage = scan.db->node(id);
    QVERIFY(!storage.null());
    QCOMPARE(storage->type(), eNetworkStorageNode);
    QCOMPARE(storage->modelInfo(), text("Ark 4"));
    const QString records = text("records");
    QCOMPARE(storage->shareNames(), QStringList({ records, text("archive") }));
    QCOMPARE(storage->usersWithFullAccess(records).value(0).user, text("anna"));
    QCOMPARE(storage->usersWithReadOnlyAccess(records).value(0).user, text("ben"));
    QCOMPARE(storage->shareUrl(records), text("smb://10.77.0.20/records"));
}

void TestSimulated::badSitesCostOneLine_data()
{
    const tst::Rows<QString, QString> row("path", "sentence");
    row("no option", {}, "the option simulated/site names no site file");
    row("no file", m_folder.filePath(text("none")), "site file ");
    row("no address", site(R"({"name": "a"})"), "device 1: \"address\" is missing");
}

void TestSimulated::badSitesCostOneLine()
{
    QFETCH(const QString, path);
    QFETCH(const QString, sentence);
    const Scan scan(path, 0);
    QVERIFY(!scanner()->isRunning());
    const QStringList lines = scan.fixture.log.linesWith(text("2 "));
    QCOMPARE(lines.size(), 1);
    QVERIFY2(lines.first().contains(sentence), qPrintable(lines.first()));
}

void TestSimulated::nothingComesAfterStop()
{
    Loader::instance().setOption(option(), shipped("large.json"));
    const tst::Database fixture;
    const Story story(fixture.db);
    const QtSignal reported = scanner()->newHintSignal();
    QSignalSpy reports(reported.sender(), reported.signature());
    // Stopped by whom it reports to.
    const auto stop = connect(fixture.db, &NodeDB::nodeInserted, this, [] { scanner()->stop(); });
    fixture.db->startScanners("simulated", 0, k_fast);
    QTRY_VERIFY_WITH_TIMEOUT(!scanner()->isRunning(), k_patience);
    disconnect(stop);
    const qsizetype before = reports.size();

    // Another site is all that is reported from here on.
    const QString path = site(R"({"name": "gate", "address": "10.77.9.2",
        "mac": "02:00:00:00:00:01", "appears": {"at": 60}})");
    Loader::instance().setOption(option(), path);
    fixture.db->startScanners("simulated", 0, k_fast);
    QTRY_VERIFY_WITH_TIMEOUT(story.events.contains(text("new mac:020000000001")), k_patience);
    QCOMPARE(reports.size(), before + 1);
}

void TestSimulated::oneSeedTellsOneStory()
{
    QFile file(shipped("large.json"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QStringList story = storyOf(file.fileName(), k_lastOfTheHarbour);
    const auto count = [&](const char* what) { return story.filter(text(what)).size(); };
    QCOMPARE(count("new "), 60);
    QCOMPARE(count("known "), 3);
    QCOMPARE(count("changed "), 2);
    QCOMPARE(count("lost "), 2);
    QCOMPARE(count("unhandled "), 1);
    QCOMPARE(story.size(), 68);
    // However fast time goes, late answers and new devices keep their order.
    QCOMPARE(storyOf(file.fileName(), k_lastOfTheHarbour, k_fast / 20), story);

    const QByteArray seed = "\"seed\": 20,";
    QByteArray json = file.readAll();
    QVERIFY(json.contains(seed));
    QFile other(m_folder.filePath(text("other.json")));
    QVERIFY(other.open(QIODevice::WriteOnly));
    other.write(json.replace(seed, "\"seed\": 21,"));
    other.close();
    QStringList otherStory = storyOf(other.fileName(), k_lastOfTheHarbour);
    QVERIFY(otherStory != story);
    otherStory.sort();
    QStringList sorted = story;
    sorted.sort();
    QCOMPARE(otherStory, sorted);
}

void TestSimulated::theHarbourIsFoundWithinTenSeconds()
{
    const site::Site site = site::readSite(shipped("large.json"));
    QCOMPARE(site.error, QString());
    for (const Sighting& sighting : sightingsOf(site)) {
        const site::DeviceSpec& device = site.devices.at(sighting.device);
        const bool isLate = device.probe == site::ProbeLate;
        const qint64 known = sighting.at + (isLate ? device.probeDelay : 0);
        QVERIFY2(known <= 10000, qPrintable(device.name));
    }
}

void TestSimulated::shippedDriversLoadWhatIsSaved()
{
    const auto use = [](const char* folder) {
        NodeDB::freeDB();
        Loader::instance().clear();
        Loader::instance().addFolder(QString::fromLatin1(folder));
    };
    const auto reload = [](IPersistDestination* from, IPersistDestination* to) {
        const tst::Database fixture;
        fixture.db->load(from);
        fixture.db->save(to, false);
        return fixture.db->nodeIdList().size();
    };
    use(PLUGIN_FOLDER);
    QList<ENodeType> types; // not every build has every driver
    for (const auto& [type, name] : NodeDB::getDB()->readableNodeTypeNames())
        types.append(type);
    QVERIFY(types.contains(eIPCameraNode) && types.contains(eRecordingFolderNode));

    use(SIMULATED_FOLDER);
    const auto store = openStore(text("memory:"));
    tst::CallLogDestination simulated;
    {
        const Scan scan(shipped("small.json"));
        QTRY_COMPARE_WITH_TIMEOUT(scan.story.events.filter(text("lost ")).size(), 1, k_patience);
        for (const QString& id : scan.db->nodeIdList(&types, true))
            scan.db->removeNode(id);
        scan.db->save(store.get(), false);
        scan.db->save(&simulated, false);
    }
    use(PLUGIN_FOLDER);
    const auto back = openStore(text("memory:"));
    const qsizetype nodes = reload(store.get(), back.get());
    QVERIFY(nodes >= 5);
    use(SIMULATED_FOLDER);
    tst::CallLogDestination again;
    QCOMPARE(reload(back.get(), &again), nodes);
    QCOMPARE(again.calls(), simulated.calls());
}

void TestSimulated::carriesTenThousandDevices()
{
    constexpr int k_hosts = 250; // of one segment
    QByteArrayList devices;
    for (int i = 0; i < k_many; ++i)
        devices.append("{\"name\": \"d" + QByteArray::number(i) + "\", \"address\": \"10.77."
            + QByteArray::number(i / k_hosts) + '.' + QByteArray::number(2 + i % k_hosts)
            + "\", \"probe\": \"" + (i % 2 ? "late" : "at once") + "\"}");
    Loader::instance().setOption(option(), site(devices.join(",\n")));
    Crowd crowd;
    scanner()->start(0, k_fast);
    QTRY_COMPARE_WITH_TIMEOUT(crowd.answers.size(), k_many, k_patience);
    QCOMPARE(crowd.reports, k_many);
    QCOMPARE(crowd.answers.values().count(20), k_many);
    scanner()->stop();
}

QTEST_GUILESS_MAIN(TestSimulated)

#include "tst_simulated.moc"
