// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "integration/programtest.h"
#include "shared/databasefixture.h"

#include <QTest>

using tst::Run;
using tst::text;

namespace {

/** Drivers of every type, which ask no device. */
const QByteArray k_plugins = "--plugins " SIMULATED_FOLDER " ";
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

private:
    /** "NAS" stands for the id of the storage, "CAMERA" for that of a camera. */
    Run nas(QByteArray arguments, const QByteArray& input = QByteArray()) const
    {
        arguments.replace("NAS", tst::simulatedId("192.0.2.20"));
        arguments.replace("CAMERA", tst::simulatedId("192.0.2.9"));
        return onStore(k_plugins + "nas " + arguments, input);
    }
};

void TestNasCommand::init()
{
    begin();
    QCOMPARE(onStore(k_plugins + "add 192.0.2.20 --type 4").code, 0);
}

void TestNasCommand::usersSharesAndRightsAreEdited()
{
    for (const char* call : { "users NAS add anna --no-password", "users NAS add ben --no-password",
             "shares NAS add archive", "shares NAS add records --volume v1 --path /srv/r",
             "grant NAS records anna full", "grant NAS archive anna read",
             "grant NAS archive ben full" })
        QCOMPARE(nas(call).code, 0);
    QCOMPARE(rights(nas("shares NAS"), "Share"),
        QStringList({ text("archive: ben|anna"), text("records: anna|") }));
    const QJsonObject records = nas("shares NAS").item(1);
    QCOMPARE(records[text("Volume")].toString(), text("v1"));
    QCOMPARE(records[text("Path")].toString(), text("/srv/r"));
    QCOMPARE(rights(nas("users NAS"), "User"),
        QStringList({ text("anna: records|archive"), text("ben: archive|") }));
    QCOMPARE(nas("grant NAS records anna read").code, 0);
    QCOMPARE(rights(nas("revoke NAS archive ben"), "Share"),
        QStringList({ text("archive: |anna"), text("records: |anna") }));
    QCOMPARE(
        rights(nas("shares NAS remove archive"), "Share"), QStringList(text("records: |anna")));
}

void TestNasCommand::rightsGoWithTheirUser()
{
    for (const char* call : { "users NAS add anna --no-password", "shares NAS add records",
             "grant NAS records anna full", "users NAS remove anna",
             "users NAS add anna --no-password" })
        QCOMPARE(nas(call).code, 0);
    QCOMPARE(rights(nas("shares NAS"), "Share"), QStringList(text("records: |")));
    QCOMPARE(rights(nas("users NAS"), "User"), QStringList(text("anna: |")));
}

void TestNasCommand::passwordsAreKeptOnlyWhereWanted()
{
    const auto isInStore = [&] {
        const QByteArray content = tst::contentOf(m_store);
        return content.contains(k_canary.toBase64()) || content.contains(k_canary);
    };
    QCOMPARE(nas("users NAS add ben --no-save-password", k_canary).code, 0);
    QCOMPARE(nas("users NAS add eve --no-save-password --password-stdin", k_canary).code, 2);
    QVERIFY(!isInStore());
    const Run added = nas("users NAS add anna --password-stdin", k_canary + '\n');
    QCOMPARE(added.code, 0);
    QVERIFY(isInStore());
    const Run listed = nas("users NAS");
    QCOMPARE(listed.item(0)[text("SavePassword")], QJsonValue(false));
    QCOMPARE(listed.item(1)[text("SavePassword")], QJsonValue(true));
    const QByteArray said = added.out + added.error + listed.out + listed.error;
    QVERIFY(!said.contains(k_canary) && !said.contains(k_canary.toBase64()));
    QCOMPARE(nas("users NAS remove anna").code, 0);
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
    row("users NAS add anna", 1, "anna");
    row("users NAS add eve", 1, "no terminal");
    row("users NAS remove eve", 1, "eve");
    row("users NAS drop anna", 2, "drop");
    row("users NAS add", 2, "add NAME");
    row("shares NAS add records", 1, "records");
    row("shares NAS remove films", 1, "films");
    row("grant NAS films anna read", 1, "films");
    row("grant NAS records eve read", 1, "eve");
    row("grant NAS records anna write", 2, "write");
    row("revoke NAS films anna", 1, "films");
    row("revoke NAS records eve", 1, "eve");
    row("revoke NAS records anna", 1, "anna");
    row("shares CAMERA", 1, "is no network storage");
    row("read NAS", 1, "cannot read devices");
    row("paint NAS", 2, "paint");
}

void TestNasCommand::refusedCallsNameTheValueAndChangeNothing()
{
    QFETCH(QByteArray, call);
    QFETCH(int, code);
    QFETCH(QByteArray, named);
    QCOMPARE(onStore(k_plugins + "add 192.0.2.9 --type 2").code, 0);
    QCOMPARE(nas("users NAS add anna --no-password").code, 0);
    QCOMPARE(nas("shares NAS add records").code, 0);
    const auto before = hashes();
    const Run run = nas(call);
    QCOMPARE(run.code, code);
    QVERIFY2(run.error.contains(named), run.error);
    QCOMPARE(hashes(), before);
}

QTEST_GUILESS_MAIN(TestNasCommand)
#include "tst_nascommand.moc"
