// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "integration/programtest.h"
#include "persistence/storefactory.h"
#include "persistence/storelock.h"
#include "shared/databasefixture.h"

#include <QDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace tq;
using tst::contentOf;
using tst::Run;
using tst::text;
using tst::write;

namespace {

const QByteArray k_canary = "Kanari\xc3\xa4-7261";

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
};

void TestCommandLine::aNodeGoesFromAddToRemove()
{
    const Run added = onStore("add 192.0.2.5 --type 2 --port 8080 --name Gate");
    QCOMPARE(added.code, 0);
    const QByteArray id = added.id();
    QVERIFY(!id.isEmpty());
    QCOMPARE(onStore("add 192.0.2.6 --type 2").code, 0);
    QCOMPARE(onStore("list").items().size(), 2);
    const QJsonArray found = onStore("list --type 2 --where Port=8080 --where SSL=off").items();
    QCOMPARE(found.size(), 1);
    QCOMPARE(found[0].toObject()[u"Name"_s].toString(), u"Gate"_s);

    const QByteArray set = "set " + id + " MAC=0-1a-2b-3c-4d-5e UseProxy=on Port=81 Note=";
    QCOMPARE(onStore(set).code, 0);
    const QJsonObject shown = onStore("show " + id).item();
    QCOMPARE(shown[u"MAC"_s].toString(), u"00:1a:2b:3c:4d:5e"_s);
    QCOMPARE(shown[u"Port"_s].toInt(), 81);
    QCOMPARE(shown[u"UseProxy"_s].toBool(), true);
    QCOMPARE(shown[u"IP"_s].toString(), u"192.0.2.5"_s);

    const QByteArray other = onStore("list --where IP=192.0.2.6").id();
    const QByteArray relation = id + " 1 " + other;
    QCOMPARE(onStore("relate " + relation).code, 0);
    QCOMPARE(onStore("relations " + other).item()[u"NodeFrom"_s].toString().toUtf8(), id);
    QCOMPARE(onStore("unrelate " + relation).code, 0);
    QCOMPARE(onStore("relations " + id).items().size(), 0);
    QCOMPARE(onStore("remove " + id + ' ' + other).code, 0);
    QCOMPARE(onStore("list").items().size(), 0);
}

void TestCommandLine::refusedCallsNameTheValueAndChangeNothing_data()
{
    tst::addRefusals({
        { "show nobody", 1, "nobody" },
        { "set ID Port=81 Nmae=x", 1, "Nmae" },
        { "set ID Name=x Port=65536", 1, "65536" },
        { "set ID Name=x SSL=maybe", 1, "maybe" },
        { "set ID Name=x NodeType=4", 1, "NodeType" },
        { "add 192.0.2.5 --type 2", 1, "192.0.2.5" },
        { "add 192.0.2.7 --type 21", 1, "21" },
        { "environment remove Default", 1, "Default" },
        { "settings set Bandwidth fast", 1, "fast" },
        { "convert devices.db devices.db", 1, "devices.db" },
        { "convert devices.db new.txt", 1, "new.txt" },
        { "scan --for 0", 2, "\"0\"" },
        { "scan --for 1 --scanner sonar", 1, "sonar" },
        { "set ID Port", 2, "Port" },
        { "show", 2, "show ID" },
        { "paint", 2, "paint" },
        { "--simulate nowhere scan", 1, "nowhere" },
        { "--simulate broken.json scan", 1, "broken.json" },
        { "--simulate small --plugins . scan", 2, "--plugins" },
        { "scan --speed 2", 2, "--simulate" },
        { "--simulate small scan --speed 0", 2, "\"0\"" },
        { "--option speed=1 scan", 2, "speed=1" },
        { "--option a/b scan", 2, "a/b" },
    });
}

void TestCommandLine::refusedCallsNameTheValueAndChangeNothing()
{
    write(path("broken.json"), "{ \"devices\": [ {} ] ");
    const QByteArray id = onStore("add 192.0.2.5 --type 2").id();
    verifyRefusal([&](QByteArray call) { return onStore(call.replace("ID", id)); });
}

void TestCommandLine::storesThatCannotBeReadAreLeftAlone_data()
{
    QTest::addColumn<QString>("store");
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("cut off") << u"cut.db"_s << QByteArray();
    QTest::newRow("noise") << u"noise.db"_s << QByteArray("\x7f\x03noise", 7).repeated(99);
    QTest::newRow("announces fewer than no nodes")
        << u"hostile.ini"_s << "[GlobalNodes]\nNodes\\1\\ID=x\nNodes\\size=-1\n"_ba;
    QTest::newRow("no such folder") << u"nowhere/devices.db"_s << QByteArray();
}

void TestCommandLine::storesThatCannotBeReadAreLeftAlone()
{
    QFETCH(QString, store);
    QFETCH(QByteArray, content);
    QCOMPARE(onStore("add 192.0.2.5 --type 2").code, 0);
    if (store == u"cut.db"_s)
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
    QCOMPARE(environments[0].toObject()[u"Name"_s].toString(), u"Home"_s);
    QCOMPARE(environments[1].toObject()[u"Active"_s].toBool(), true);
    QMap<QString, QJsonValue> settings;
    for (const QJsonValue item : onStore("settings list").items())
        settings[item[u"Name"_s].toString()] = item[u"Value"_s];
    QCOMPARE(settings[u"Exceptions"_s], QJsonArray({ u"10\\..*"_s, u"cam.+"_s }));
    QCOMPARE(settings[u"Bandwidth"_s].toInt(), 5);
    QCOMPARE(onStore("environment use Home").code, 0);
    QCOMPARE(onStore("settings get Exceptions").item()[u"Value"_s].toArray().size(), 0);
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
    const QByteArray pid = QByteArray::number(QCoreApplication::applicationPid());
    for (const char* call :
        { "convert again.db devices.db --force", "settings set GlobalUser joe" }) {
        const Run refused = onStore(call);
        QCOMPARE(refused.code, 1);
        QVERIFY2(refused.error.contains("is being changed by process " + pid), refused.error);
    }
    QCOMPARE(onStore("list").items().size(), 2);
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
    QVERIFY(isInStore(k_canary));
    const QByteArray id = added.id();
    QByteArray said = added.said();
    const auto call = [&](const QByteArray& arguments, int code) {
        const Run ended = onStore(arguments, k_canary);
        said += ended.said();
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
    QVERIFY(ended.item()[u"Library"_s].toString().endsWith(u"broken.so"_s));
    QCOMPARE(onStore("--plugins plugins settings set GlobalUser joe").code, 0);
}

QTEST_GUILESS_MAIN(TestCommandLine)
#include "tst_commandline.moc"
