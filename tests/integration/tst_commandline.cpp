// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "environments/environments.h"
#include "environments/globalnetworkproxy.h"
#include "integration/programtest.h"
#include "persistence/storefactory.h"
#include "persistence/storelock.h"
#include "session/databasesession.h"
#include "shared/databasefixture.h"

#include <QDir>
#include <QTest>

#include <csignal>
#include <sys/resource.h>

using namespace tq;
using tst::contentOf;
using tst::Run;
using tst::text;
using tst::write;

namespace {

const QByteArray k_canary = "Kanari\xc3\xa4-7261";

/** A driver and a session that follow each other's life as in a program. */
struct Session
{
    explicit Session(const QMap<int, int>& types) : driver(text("fake"), types), session({}) { }

    NodeDB& db() { return session.database(); }
    QString open(const QString& store) { return session.open(store, OpenMode::Create); }

    tst::FakeDriver driver;
    DatabaseSession session;
};

void saveNodesOfTwoDrivers(const QString& store)
{
    Session all({ { 7, 1 }, { 8, 1 } });
    QCOMPARE(all.open(store), QString());
    all.db().insertNode(new tst::PlainNode(text("plain")));
    all.db().insertNode(new tst::DeviceNode(text("device"), text("192.0.2.5")));
    all.db().addNodeRelation(text("device"), text("plain"), eDeviceToRecordingFolder);
    all.db().addNodeRelation(text("plain"), text("device"), eRecordingFolderToDevice);
    QCOMPARE(all.session.save(), QString());
}

} // namespace

class TestCommandLine : public tst::ProgramTest
{
    Q_OBJECT

private slots:
    void init() { begin(); }

    void aNodeGoesFromAddToRemove();
    void refusedCallsNameTheValueAndChangeNothing_data();
    void refusedCallsNameTheValueAndChangeNothing();
    void storesThatCannotBeReadAreLeftAlone_data();
    void storesThatCannotBeReadAreLeftAlone();
    void readingChangesAndCreatesNothing();
    void environmentsAndSettingsAreKept();
    void convertingKeepsEverything();
    void passwordsAreNeitherShownNorTakenFromTheCommandLine();
    void brokenPluginsAreReportedAndPassedOver();
    void aSecondWriterIsRefused();

    void entriesOfMissingDriversSurvive();
    void keptEntriesFollowTheDatabase_data();
    void keptEntriesFollowTheDatabase();
    void savingWhileLoadingIsRefused();
    void aSaveThatFailsLeavesStoreAndChanges();
    void settingsCountAsUnsavedChanges();
};

void TestCommandLine::aNodeGoesFromAddToRemove()
{
    const Run added = onStore("add 192.0.2.5 --type 2 --port 8080 --name Gate");
    QCOMPARE(added.code, 0);
    const QString id = added.item()[text("ID")].toString();
    QVERIFY(!id.isEmpty());
    QCOMPARE(onStore("add 192.0.2.6 --type 2").code, 0);
    QCOMPARE(onStore("list").items().size(), 2);
    const QJsonArray found = onStore("list --type 2 --where Port=8080 --where SSL=off").items();
    QCOMPARE(found.size(), 1);
    QCOMPARE(found[0].toObject()[text("Name")].toString(), text("Gate"));

    const QByteArray set = "set " + id.toUtf8() + " MAC=0-1a-2b-3c-4d-5e UseProxy=on Port=81 Note=";
    QCOMPARE(onStore(set).code, 0);
    const QJsonObject shown = onStore("show " + id.toUtf8()).item();
    QCOMPARE(shown[text("MAC")].toString(), text("00:1a:2b:3c:4d:5e"));
    QCOMPARE(shown[text("Port")].toInt(), 81);
    QCOMPARE(shown[text("UseProxy")].toBool(), true);
    QCOMPARE(shown[text("IP")].toString(), text("192.0.2.5"));

    const QString other = onStore("list --where IP=192.0.2.6").item()[text("ID")].toString();
    const QByteArray relation = (id + text(" 1 ") + other).toUtf8();
    QCOMPARE(onStore("relate " + relation).code, 0);
    QCOMPARE(onStore("relations " + other.toUtf8()).item()[text("NodeFrom")].toString(), id);
    QCOMPARE(onStore("unrelate " + relation).code, 0);
    QCOMPARE(onStore("relations " + id.toUtf8()).items().size(), 0);
    QCOMPARE(onStore((text("remove ") + id + QLatin1Char(' ') + other).toUtf8()).code, 0);
    QCOMPARE(onStore("list").items().size(), 0);
}

void TestCommandLine::refusedCallsNameTheValueAndChangeNothing_data()
{
    QTest::addColumn<QByteArray>("call");
    QTest::addColumn<int>("code");
    QTest::addColumn<QByteArray>("named");
    const auto row = [](const char* call, int code, const char* named) {
        QTest::newRow(call) << QByteArray(call) << code << QByteArray(named);
    };
    row("show nobody", 1, "nobody");
    row("set ID Port=81 Nmae=x", 1, "Nmae");
    row("set ID Name=x Port=65536", 1, "65536");
    row("set ID Name=x SSL=maybe", 1, "maybe");
    row("set ID Name=x NodeType=4", 1, "NodeType");
    row("add 192.0.2.5 --type 2", 1, "192.0.2.5");
    row("add 192.0.2.7 --type 21", 1, "21");
    row("environment remove Default", 1, "Default");
    row("settings set Bandwidth fast", 1, "fast");
    row("convert devices.db devices.db", 1, "devices.db");
    row("convert devices.db new.txt", 1, "new.txt");
    row("scan --for 0", 2, "\"0\"");
    row("scan --for 1 --scanner sonar", 1, "sonar");
    row("set ID Port", 2, "Port");
    row("show", 2, "show ID");
    row("paint", 2, "paint");
}

void TestCommandLine::refusedCallsNameTheValueAndChangeNothing()
{
    QFETCH(QByteArray, call);
    QFETCH(int, code);
    QFETCH(QByteArray, named);
    const Run added = onStore("add 192.0.2.5 --type 2");
    call.replace("ID", added.item()[text("ID")].toString().toUtf8());
    const auto before = hashes();
    const Run run = onStore(call);
    QCOMPARE(run.code, code);
    QVERIFY2(run.error.contains(named), run.error);
    const QJsonObject document = run.document();
    QCOMPARE(document[text("ok")], QJsonValue(false));
    QVERIFY(document[text("error")].toString().toUtf8().contains(named));
    QCOMPARE(hashes(), before);
}

void TestCommandLine::storesThatCannotBeReadAreLeftAlone_data()
{
    QTest::addColumn<QString>("store");
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("cut off") << text("cut.db") << QByteArray();
    QTest::newRow("noise") << text("noise.db") << QByteArray("\x7f\x03noise", 7).repeated(99);
    QTest::newRow("announces fewer than no nodes")
        << text("hostile.ini") << QByteArray("[GlobalNodes]\nNodes\\1\\ID=x\nNodes\\size=-1\n");
    QTest::newRow("no such folder") << text("nowhere/devices.db") << QByteArray();
}

void TestCommandLine::storesThatCannotBeReadAreLeftAlone()
{
    QFETCH(QString, store);
    QFETCH(QByteArray, content);
    QCOMPARE(onStore("add 192.0.2.5 --type 2").code, 0);
    if (store == text("cut.db"))
        content = contentOf(m_store).left(9000);
    m_store = path(qPrintable(store));
    if (!content.isEmpty())
        write(m_store, content);
    const auto before = hashes();
    for (const char* call : { "list", "settings set GlobalUser joe", "add 192.0.2.6 --type 2" }) {
        const Run run = onStore(call);
        QCOMPARE(run.code, 1);
        QVERIFY2(run.error.contains(store.toUtf8()), run.error);
    }
    QCOMPARE(hashes(), before);
}

void TestCommandLine::readingChangesAndCreatesNothing()
{
    const QList<QByteArray> calls{ "list", "environment list", "settings list",
        "settings get Bandwidth" };
    for (const QByteArray& call : calls) {
        const Run run = onStore(call);
        QCOMPARE(run.code, 1);
        QVERIFY(run.error.contains("devices.db"));
    }
    QVERIFY(hashes().isEmpty());

    QCOMPARE(onStore("add 192.0.2.5 --type 2").code, 0);
    const auto before = hashes();
    QCOMPARE(before.size(), 1);
    for (const QByteArray& call : calls)
        QCOMPARE(onStore(call).code, 0);
    QCOMPARE(hashes(), before);
}

void TestCommandLine::environmentsAndSettingsAreKept()
{
    QCOMPARE(onStore("environment add Office").code, 0);
    QCOMPARE(onStore("environment use Office").code, 0);
    QCOMPARE(onStore("environment rename Default Home").code, 0);
    QCOMPARE(onStore("settings set Exceptions 10\\..* cam.+").code, 0);
    QCOMPARE(onStore("settings set Bandwidth 5").code, 0);
    const QJsonArray environments = onStore("environment list").items();
    QCOMPARE(environments[0].toObject()[text("Name")].toString(), text("Home"));
    QCOMPARE(environments[1].toObject()[text("Active")].toBool(), true);
    QMap<QString, QJsonValue> settings;
    for (const QJsonValue item : onStore("settings list").items())
        settings[item[text("Name")].toString()] = item[text("Value")];
    QCOMPARE(settings[text("Exceptions")], QJsonArray({ text("10\\..*"), text("cam.+") }));
    QCOMPARE(settings[text("Bandwidth")].toInt(), 5);
    QCOMPARE(onStore("environment use Home").code, 0);
    QCOMPARE(onStore("settings get Exceptions").item()[text("Value")].toArray().size(), 0);
}

void TestCommandLine::convertingKeepsEverything()
{
    QCOMPARE(onStore("add 192.0.2.5 --type 2 --name T\xc3\xbcr/1").code, 0);
    QCOMPARE(onStore("settings set Exceptions a,b %20").code, 0);
    QCOMPARE(onStore("convert devices.db copy.ini").code, 0);
    QCOMPARE(onStore("convert ini:copy.ini sqlite:again.db").code, 0);
    const auto treeOf = [&](const char* name) {
        QString error;
        const auto store = openStore(path(name), &error, OpenMode::ReadOnly);
        return store ? store->tree() : StoreNode();
    };
    QVERIFY(treeOf("copy.ini") == treeOf("devices.db"));
    QVERIFY(treeOf("again.db") == treeOf("devices.db"));

    QCOMPARE(onStore("add 192.0.2.6 --type 2").code, 0);
    QCOMPARE(onStore("convert devices.db copy.ini").code, 1);
    QVERIFY(treeOf("copy.ini") == treeOf("again.db"));
    QVERIFY(QFile::link(path("devices.db"), path("link.db")));
    auto lock = StoreLock::take(path("link.db")); // what another program has open
    for (const char* call : { "convert again.db devices.db --force", "remove ip:192.0.2.6:80" }) {
        const Run refused = onStore(call);
        QCOMPARE(refused.code, 1);
        QVERIFY2(refused.out.contains("is being changed by process "), refused.out.constData());
    }
    lock.reset();
    QCOMPARE(onStore("convert again.db devices.db --force").code, 0);
    QVERIFY(treeOf("copy.ini") == treeOf("devices.db"));
}

void TestCommandLine::passwordsAreNeitherShownNorTakenFromTheCommandLine()
{
    write(path("secret"), k_canary + '\n');
    const Run added =
        onStore("add 192.0.2.5 --type 2 --user joe --password-file secret --unchecked --verbose");
    QCOMPARE(added.code, 0);
    QVERIFY(contentOf(m_store).contains(k_canary.toBase64()));
    const QByteArray id = added.item()[text("ID")].toString().toUtf8();
    QByteArray said = added.out + added.error;
    const auto call = [&](const QByteArray& arguments, int code) {
        const Run ended = onStore(arguments, k_canary);
        said += ended.out + ended.error;
        QCOMPARE(ended.code, code);
    };
    call("show " + id, 0);
    call("set " + id + " Password --password-stdin --verbose", 0);
    call("settings set GlobalPassword --password-stdin", 0);
    call("settings list", 0);
    call("list --where Password=" + k_canary, 1);
    call("set " + id + " --password-stdin Password=" + k_canary, 1);
    call("settings set GlobalPassword " + k_canary, 1);
    call("set " + id + " Password", 1); // no terminal to ask on
    const auto before = hashes();
    call("set " + id + " SavePassword=no Password --password-stdin", 1); // would be lost
    QCOMPARE(hashes(), before);
    QVERIFY(!said.contains(k_canary) && !said.contains(k_canary.toBase64()));
}

void TestCommandLine::brokenPluginsAreReportedAndPassedOver()
{
    QVERIFY(QDir().mkdir(path("plugins")));
    write(path("plugins/broken.so"), "no library");
    const Run ended = onStore("--plugins plugins drivers");
    QCOMPARE(ended.code, 0);
    QCOMPARE(ended.items().size(), 1);
    QVERIFY(ended.item()[text("Library")].toString().endsWith(text("broken.so")));
    QCOMPARE(onStore("--plugins plugins settings set GlobalUser joe").code, 0);
}

void TestCommandLine::aSecondWriterIsRefused()
{
    Session first({ { 7, 1 } });
    QCOMPARE(first.open(m_store), QString());
    first.db().insertNode(new tst::PlainNode(text("a")));
    QCOMPARE(first.session.save(), QString());
    const Run ended = onStore("settings set GlobalUser joe");
    QCOMPARE(ended.code, 1);
    QVERIFY(ended.error.contains(QByteArray::number(QCoreApplication::applicationPid())));
    QCOMPARE(onStore("settings get GlobalUser").item()[text("Value")].toString(), text("admin"));
}

void TestCommandLine::entriesOfMissingDriversSurvive()
{
    saveNodesOfTwoDrivers(m_store);
    for (int i = 0; i < 2; ++i) {
        Session some({ { 7, 1 } });
        const tst::LogCapture log;
        QCOMPARE(some.open(m_store), QString());
        QCOMPARE(some.db().nodeIdList().value(0), i == 0 ? text("plain") : text("new0"));
        some.db().insertNode(new tst::PlainNode(text("new%1").arg(i)));
        QCOMPARE(some.session.save(), QString());
        QCOMPARE(some.session.save(), QString());
    }
    Session all({ { 7, 1 }, { 8, 1 } });
    QCOMPARE(all.open(m_store), QString());
    QCOMPARE(all.db().nodeIdList(),
        QStringList({ text("device"), text("new0"), text("new1"), text("plain") }));
    const auto device = all.db().node(text("device"));
    QCOMPARE(device->stringProperty(text("IP"), QString()), text("192.0.2.5"));
    QCOMPARE(all.db().relatedNodes(text("device"), eDeviceToRecordingFolder),
        QStringList(text("plain")));
    QCOMPARE(all.db().relatedNodes(text("plain"), eRecordingFolderToDevice),
        QStringList(text("device")));
}

void TestCommandLine::keptEntriesFollowTheDatabase_data()
{
    QTest::addColumn<bool>("isReplaced");
    QTest::newRow("relations end with the other node") << false;
    QTest::newRow("a new node takes the id") << true;
}

void TestCommandLine::keptEntriesFollowTheDatabase()
{
    QFETCH(bool, isReplaced);
    saveNodesOfTwoDrivers(m_store);
    {
        Session some({ { 7, 1 } });
        const tst::LogCapture log;
        QCOMPARE(some.open(m_store), QString());
        some.db().removeNode(text("plain"));
        if (isReplaced)
            some.db().insertNode(new tst::PlainNode(text("device")));
        QCOMPARE(some.session.save(), QString());
    }
    Session all({ { 7, 1 }, { 8, 1 } });
    QCOMPARE(all.open(m_store), QString());
    QCOMPARE(all.db().nodeIdList(), QStringList(text("device")));
    QCOMPARE(
        all.db().node(text("device"))->type(), isReplaced ? tst::k_plainType : tst::k_deviceType);
    QVERIFY(all.session.relationTypes().isEmpty());
}

void TestCommandLine::savingWhileLoadingIsRefused()
{
    {
        Session first({ { 7, 1 } });
        QCOMPARE(first.open(m_store), QString());
        for (const char* id : { "a", "b", "c" })
            first.db().insertNode(new tst::PlainNode(text(id)));
        QCOMPARE(first.session.save(), QString());
    }
    const auto before = hashes();
    Session second({ { 7, 1 } });
    QStringList errors;
    connect(
        &second.db(), &NodeDB::nodeInserted, this, [&] { errors.append(second.session.save()); });
    QCOMPARE(second.open(m_store), QString());
    QCOMPARE(errors.size(), 3);
    QVERIFY(!errors.contains(QString()));
    QCOMPARE(hashes()[text("devices.db")], before[text("devices.db")]);
    QVERIFY(!second.session.hasUnsavedChanges());
}

void TestCommandLine::aSaveThatFailsLeavesStoreAndChanges()
{
    Session session({ { 7, 1 } });
    QCOMPARE(session.open(m_store), QString());
    session.db().insertNode(new tst::PlainNode(text("a")));
    QCOMPARE(session.session.save(), QString());
    const QByteArray before = contentOf(m_store);
    const tst::LogCapture log;
    session.db().insertNode(new tst::PlainNode(text("b")));
    const auto failsAsItShould = [&] {
        return session.session.save().contains(text("devices.db"))
            && session.session.hasUnsavedChanges() && contentOf(m_store) == before;
    };
    const auto limitFiles = [](rlim_t bytes) {
        const rlimit limit{ bytes, RLIM_INFINITY };
        return ::setrlimit(RLIMIT_FSIZE, &limit) == 0;
    };
    const auto onTooBig = std::signal(SIGXFSZ, SIG_IGN);
    QVERIFY(limitFiles(1024));
    const bool hasFailed = failsAsItShould();
    QVERIFY(limitFiles(RLIM_INFINITY));
    std::signal(SIGXFSZ, onTooBig);
    QVERIFY(hasFailed);
    QCOMPARE(session.session.save(), QString());
    QVERIFY(!session.session.hasUnsavedChanges());
}

void TestCommandLine::settingsCountAsUnsavedChanges()
{
    Session session({});
    QCOMPARE(session.open(m_store), QString());
    NodeDB& db = session.db();
    const auto isNoticed = [&](auto change) {
        const bool wasClean =
            session.session.save().isEmpty() && !session.session.hasUnsavedChanges();
        change();
        return wasClean && session.session.hasUnsavedChanges();
    };
    QString id;
    QVERIFY(isNoticed([&] { id = db.environments()->add(text("Office")); }));
    QVERIFY(isNoticed([&] { db.setActiveEnvironment(id); }));
    QVERIFY(isNoticed([&] { db.setGlobalAuthentication(text("a"), text("b")); }));
    QVERIFY(isNoticed([&] { db.setGlobalRecordingFolderPath(text("/rec")); }));
    QVERIFY(isNoticed([&] { db.globalProxy()->addException(text("a")); }));
    QVERIFY(isNoticed([&] { db.globalProxy()->setUseProxy(true); }));
}

QTEST_GUILESS_MAIN(TestCommandLine)
#include "tst_commandline.moc"
