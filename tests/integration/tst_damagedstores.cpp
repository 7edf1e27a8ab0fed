// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "integration/programtest.h"
#include "shared/databasefixture.h"

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTest>

using tst::contentOf;
using tst::Run;
using tst::text;
using tst::write;

namespace {

/** Runs statements on a store behind the program's back. */
void change(const QString& path, const QString& statement)
{
    {
        auto database = QSqlDatabase::addDatabase(text("QSQLITE"), text("change"));
        database.setDatabaseName(path);
        QVERIFY(database.open() && QSqlQuery(database).exec(statement));
    }
    QSqlDatabase::removeDatabase(text("change"));
}

} // namespace

/** What the program says and does when one value of its store is not what it wrote. */
class TestDamagedStores : public tst::ProgramTest
{
    Q_OBJECT

private slots:
    void init();
    void damageIsSaidOnceAndCostsNothing_data();
    void damageIsSaidOnceAndCostsNothing();
    void storesOfQSettingsAreSound();

private:
    QByteArrayList answers();

    QByteArray m_id;
};

void TestDamagedStores::init()
{
    begin();
    for (const char* call : { "add 127.0.0.5 --type 2", "environment add Second" })
        QCOMPARE(onStore(call).code, 0);
    m_id = onStore("add 127.0.0.6 --type 2").item()[text("ID")].toString().toUtf8();
}

/** Returns what the store holds, as the program lists it. */
QByteArrayList TestDamagedStores::answers()
{
    QByteArrayList result;
    for (const QByteArray& call : QByteArrayList{ "list", "environment list", "show " + m_id })
        result += onStore(call).out;
    return result;
}

void TestDamagedStores::damageIsSaidOnceAndCostsNothing_data()
{
    QTest::addColumn<QString>("statement");
    QTest::addColumn<QByteArrayList>("lines");
    QTest::addColumn<QByteArray>("said");
    QTest::addColumn<bool>("isRefused");
    const auto sql = [](const char* name, const char* statement, const char* said, bool isRefused) {
        QTest::newRow(name) << text(statement) << QByteArrayList() << QByteArray(said) << isRefused;
    };
    const auto ini = [](const char* line, const char* damaged, const char* said, bool isRefused) {
        QTest::newRow(damaged) << QString() << QByteArrayList{ line, damaged } << QByteArray(said)
                               << isRefused;
    };
    sql("an index too high",
        "UPDATE rows SET id = id | (1 << 31) WHERE id = (SELECT max(id) FROM rows)", "no array",
        true);
    sql("a row far away",
        "UPDATE rows SET id = id + (1 << 30) WHERE id = (SELECT max(id) FROM rows)", "Nodes", true);
    sql("a setting away",
        "UPDATE rows SET id = id + 512 WHERE id = (SELECT id << 32 FROM containers "
        "WHERE path = '/Environment/Environments') + 2",
        "announces 514 entries, but has 2", true);
    sql("a container too high",
        "UPDATE containers SET id = 2147483647 WHERE path = '/GlobalAuthentication'", "2147483647",
        true);
    sql("a container moved", "UPDATE containers SET id = id + 1000 WHERE path LIKE '%Nodes'",
        "damaged: the row", true);
    sql("a name too high", "UPDATE names SET id = 2147483647 WHERE name = 'Port'", "2147483647",
        true);
    sql("a name moved", "UPDATE names SET id = id + 1000 WHERE name = 'Port'", "/GlobalNodes/Nodes",
        true);
    sql("the highest container", "INSERT INTO containers VALUES (2147483646, '/x')", "", false);
    sql("the highest name", "INSERT INTO names VALUES (2147483646, 'x')", "", false);
    ini("Environments\\size=2", "Environments\\size=999",
        "Environment/Environments: the size 999, but the last entry is 2", false);
    ini("Nodes\\size=2", "Nodes\\size=2000000000", "GlobalNodes/Nodes: the size 2000000000", false);
    ini("Nodes\\size=2", "Nodes\\size=1", "GlobalNodes/Nodes: the size 1", true);
    ini("Nodes\\2\\ID", "Nodes\\3\\ID", "GlobalNodes/Nodes: the size 2", true);
    ini("Nodes\\2\\Port\\Environment\\size", "Nodes\\2\\Port\\Environment\\sIze",
        "GlobalNodes/Nodes/2/Port/Environment: an array without", true);
}

void TestDamagedStores::damageIsSaidOnceAndCostsNothing()
{
    QFETCH(QString, statement);
    QFETCH(QByteArrayList, lines);
    QFETCH(QByteArray, said);
    QFETCH(bool, isRefused);
    const QByteArrayList sound = answers();
    if (statement.isEmpty()) {
        const QString other = path("devices.ini");
        QCOMPARE(run({ text("convert"), m_store, other }).code, 0);
        m_store = other;
        write(m_store, contentOf(m_store).replace('\n' + lines[0], '\n' + lines[1]));
        QVERIFY(contentOf(m_store).contains(lines[1]));
    } else {
        change(m_store, statement);
    }
    const auto before = hashes();
    // A call that does not come to an end has no code.
    QByteArray errors;
    const QByteArray set = "set " + m_id + " Name=";
    for (const QByteArray& call :
        { QByteArray("list"), set + "x", QByteArray("list"), set + "127.0.0.6" }) {
        const Run run = onStore(call);
        QCOMPARE(run.code, isRefused ? 1 : 0);
        QVERIFY2(!isRefused || run.error.contains(said), run.error);
        errors += run.error;
    }
    // Once by the first list and once by the change that then mends it.
    if (!isRefused)
        QCOMPARE(errors.count(said), said.isEmpty() ? errors.size() + 1 : 2);
    if (isRefused)
        QCOMPARE(hashes(), before);
    else
        QCOMPARE(answers(), sound);
}

void TestDamagedStores::storesOfQSettingsAreSound()
{
    m_store = path("foreign.ini");
    write(m_store, "[NodeRelations]\nRelations\\size=0\n");
    QCOMPARE(onStore("list").code, 0);
    QCOMPARE(onStore("add 127.0.0.5 --type 2").code, 0);
    QCOMPARE(onStore("list").items().size(), 1);
}

QTEST_GUILESS_MAIN(TestDamagedStores)

#include "tst_damagedstores.moc"
