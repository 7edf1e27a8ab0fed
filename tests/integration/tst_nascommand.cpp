// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "integration/programtest.h"
#include "shared/databasefixture.h"

#include <QTest>

using tst::Run;
using tst::text;

namespace {

const QByteArray k_canary = "Kanari\xc3\xa4-7261";

/** "name: full | read only" of each share or user, by the name of that member. */
QStringList rights(const Run& run, const char* name)
{
    const auto joined = [](const QJsonValue& names) {
        QStringList result;
        for (const QJsonValue each : names.toArray())
            result.append(each.toString());
        return result.join(QLatin1Char(','));
    };
    QStringList result;
    for (const QJsonValue item : run.items())
        result.append(text("%1: %2|%3")
                          .arg(item[text(name)].toString(), joined(item[text("Full")]),
                              joined(item[text("ReadOnly")])));
    return result;
}

} // namespace

class TestNasCommand : public tst::ProgramTest
{
    Q_OBJECT

private slots:
    void init();

    void usersSharesAndRightsAreEdited();
    void rightsGoWithTheirUser();
    void passwordsAreKeptOnlyWhereWanted();
    void refusedCallsNameTheValueAndChangeNothing_data();
    void refusedCallsNameTheValueAndChangeNothing();
    void aDeviceIsReadNow();

private:
    Run nas(const QByteArray& arguments, const QByteArray& input = QByteArray()) const
    {
        return onStore("--plugins " STORAGE_PLUGINS " nas " + arguments, input);
    }
    void add(const char* address) const
    {
        const QByteArray call = "--plugins " STORAGE_PLUGINS " add --type 4 ";
        QCOMPARE(onStore(call + address).code, 0);
    }
};

void TestNasCommand::init()
{
    begin();
    add("192.0.2.20");
}

void TestNasCommand::usersSharesAndRightsAreEdited()
{
    for (const char* call :
        { "users 192.0.2.20 add anna", "users 192.0.2.20 add ben", "shares 192.0.2.20 add archive",
            "shares 192.0.2.20 add records --volume v1 --path /srv/r",
            "grant 192.0.2.20 records anna full", "grant 192.0.2.20 archive anna read",
            "grant 192.0.2.20 archive ben full" })
        QCOMPARE(nas(call).code, 0);
    QCOMPARE(rights(nas("shares 192.0.2.20"), "Share"),
        QStringList({ text("archive: ben|anna"), text("records: anna|") }));
    const QJsonObject records = nas("shares 192.0.2.20").item(1);
    QCOMPARE(records[text("Volume")].toString(), text("v1"));
    QCOMPARE(records[text("Path")].toString(), text("/srv/r"));
    QCOMPARE(rights(nas("users 192.0.2.20"), "User"),
        QStringList({ text("anna: records|archive"), text("ben: archive|") }));
    QCOMPARE(nas("grant 192.0.2.20 records anna read").code, 0);
    QCOMPARE(rights(nas("revoke 192.0.2.20 archive ben"), "Share"),
        QStringList({ text("archive: |anna"), text("records: |anna") }));
    QCOMPARE(rights(nas("shares 192.0.2.20 remove archive"), "Share"),
        QStringList(text("records: |anna")));
}

void TestNasCommand::rightsGoWithTheirUser()
{
    for (const char* call : { "users 192.0.2.20 add anna", "shares 192.0.2.20 add records",
             "grant 192.0.2.20 records anna full", "users 192.0.2.20 remove anna",
             "users 192.0.2.20 add anna" })
        QCOMPARE(nas(call).code, 0);
    QCOMPARE(rights(nas("shares 192.0.2.20"), "Share"), QStringList(text("records: |")));
    QCOMPARE(rights(nas("users 192.0.2.20"), "User"), QStringList(text("anna: |")));
}

void TestNasCommand::passwordsAreKeptOnlyWhereWanted()
{
    const auto isInStore = [&] {
        const QByteArray content = tst::contentOf(m_store);
        return content.contains(k_canary.toBase64()) || content.contains(k_canary);
    };
    QCOMPARE(nas("users 192.0.2.20 add ben --no-save-password", k_canary).code, 0);
    QCOMPARE(nas("users 192.0.2.20 add eve --no-save-password --password-stdin", k_canary).code, 2);
    QVERIFY(!isInStore());
    const Run added = nas("users 192.0.2.20 add anna --password-stdin", k_canary + '\n');
    QCOMPARE(added.code, 0);
    QVERIFY(isInStore());
    const Run listed = nas("users 192.0.2.20");
    QCOMPARE(listed.item(0)[text("SavePassword")], QJsonValue(false));
    QCOMPARE(listed.item(1)[text("SavePassword")], QJsonValue(true));
    const QByteArray said = added.out + added.error + listed.out + listed.error;
    QVERIFY(!said.contains(k_canary) && !said.contains(k_canary.toBase64()));
    QCOMPARE(nas("users 192.0.2.20 remove anna").code, 0);
    QVERIFY(!isInStore());
}

void TestNasCommand::refusedCallsNameTheValueAndChangeNothing_data()
{
    QTest::addColumn<QByteArray>("call");
    QTest::addColumn<int>("code");
    QTest::addColumn<QByteArray>("named");
    const auto row = [](const char* call, int code, const char* named) {
        QTest::newRow(call) << QByteArray(call) << code << QByteArray(named);
    };
    row("users nobody", 1, "nobody");
    row("users 192.0.2.20 add anna", 1, "anna");
    row("users 192.0.2.20 remove eve", 1, "eve");
    row("users 192.0.2.20 drop anna", 2, "drop");
    row("users 192.0.2.20 add", 2, "add NAME");
    row("shares 192.0.2.20 add records", 1, "records");
    row("shares 192.0.2.20 remove films", 1, "films");
    row("grant 192.0.2.20 films anna read", 1, "films");
    row("grant 192.0.2.20 records eve read", 1, "eve");
    row("grant 192.0.2.20 records anna write", 2, "write");
    row("revoke 192.0.2.20 films anna", 1, "films");
    row("revoke 192.0.2.20 records eve", 1, "eve");
    row("revoke 192.0.2.20 records anna", 1, "anna");
    row("read 192.0.2.21", 1, "the login was refused");
    row("read 192.0.2.22", 1, "there is no login");
    row("paint 192.0.2.20", 2, "paint");
}

void TestNasCommand::refusedCallsNameTheValueAndChangeNothing()
{
    QFETCH(QByteArray, call);
    QFETCH(int, code);
    QFETCH(QByteArray, named);
    add("192.0.2.21");
    add("192.0.2.22");
    QCOMPARE(nas("users 192.0.2.20 add anna").code, 0);
    QCOMPARE(nas("shares 192.0.2.20 add records").code, 0);
    const auto before = hashes();
    const Run run = nas(call);
    QCOMPARE(run.code, code);
    QVERIFY2(run.error.contains(named), run.error);
    QCOMPARE(hashes(), before);
}

void TestNasCommand::aDeviceIsReadNow()
{
    const Run run = nas("read 192.0.2.20");
    QCOMPARE(run.code, 0);
    QCOMPARE(rights(run, "Share"), QStringList(text("records: anna|")));
    QCOMPARE(rights(nas("users 192.0.2.20"), "User"), QStringList(text("anna: records|")));

    // Neither a camera nor a driver that cannot read.
    begin();
    QCOMPARE(onStore("add 192.0.2.9 --type 2").code, 0);
    const Run camera = onStore("nas shares ip:192.0.2.9:80");
    QCOMPARE(camera.code, 1);
    QVERIFY(camera.error.contains("is no network storage"));
}

QTEST_GUILESS_MAIN(TestNasCommand)
#include "tst_nascommand.moc"
