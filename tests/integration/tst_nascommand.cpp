// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "integration/programtest.h"
#include "shared/databasefixture.h"

#include <QTest>

using namespace Qt::StringLiterals;
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
        return result.join(u',');
    };
    QStringList result;
    for (const QJsonValue item : run.items())
        result.append(u"%1: %2|%3"_s.arg(
            item[text(name)].toString(), joined(item[u"Full"_s]), joined(item[u"ReadOnly"_s])));
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
        QStringList({ u"archive: ben|anna"_s, u"records: anna|"_s }));
    const QJsonObject records = nas("shares NAS").item(1);
    QCOMPARE(records[u"Volume"_s].toString(), u"v1"_s);
    QCOMPARE(records[u"Path"_s].toString(), u"/srv/r"_s);
    QCOMPARE(rights(nas("users NAS"), "User"),
        QStringList({ u"anna: records|archive"_s, u"ben: archive|"_s }));
    QCOMPARE(nas("grant NAS records anna read").code, 0);
    QCOMPARE(rights(nas("revoke NAS archive ben"), "Share"),
        QStringList({ u"archive: |anna"_s, u"records: |anna"_s }));
    QCOMPARE(rights(nas("shares NAS remove archive"), "Share"), QStringList(u"records: |anna"_s));
}

void TestNasCommand::rightsGoWithTheirUser()
{
    for (const char* call : { "users NAS add anna --no-password", "shares NAS add records",
             "grant NAS records anna full", "users NAS remove anna",
             "users NAS add anna --no-password" })
        QCOMPARE(nas(call).code, 0);
    QCOMPARE(rights(nas("shares NAS"), "Share"), QStringList(u"records: |"_s));
    QCOMPARE(rights(nas("users NAS"), "User"), QStringList(u"anna: |"_s));
}

void TestNasCommand::passwordsAreKeptOnlyWhereWanted()
{
    QCOMPARE(nas("users NAS add ben --no-save-password", k_canary).code, 0);
    QCOMPARE(nas("users NAS add eve --no-save-password --password-stdin", k_canary).code, 2);
    QVERIFY(!isInStore(k_canary));
    const Run added = nas("users NAS add anna --password-stdin", k_canary + '\n');
    QCOMPARE(added.code, 0);
    QVERIFY(isInStore(k_canary));
    const Run listed = nas("users NAS");
    QCOMPARE(listed.item(0)[u"SavePassword"_s], QJsonValue(false));
    QCOMPARE(listed.item(1)[u"SavePassword"_s], QJsonValue(true));
    const QByteArray said = added.said() + listed.said();
    QVERIFY(!said.contains(k_canary) && !said.contains(k_canary.toBase64()));
    QCOMPARE(nas("users NAS remove anna").code, 0);
    QVERIFY(!isInStore(k_canary));
}

void TestNasCommand::refusedCallsNameTheValueAndChangeNothing_data()
{
    tst::addRefusals({
        { "users nobody", 1, "nobody" },
        { "users NAS add anna", 1, "anna" },
        { "users NAS add eve", 1, "no terminal" },
        { "users NAS remove eve", 1, "eve" },
        { "users NAS drop anna", 2, "drop" },
        { "users NAS add", 2, "add NAME" },
        { "shares NAS add records", 1, "records" },
        { "shares NAS remove films", 1, "films" },
        { "grant NAS films anna read", 1, "films" },
        { "grant NAS records eve read", 1, "eve" },
        { "grant NAS records anna write", 2, "write" },
        { "revoke NAS films anna", 1, "films" },
        { "revoke NAS records eve", 1, "eve" },
        { "revoke NAS records anna", 1, "anna" },
        { "shares CAMERA", 1, "is no network storage" },
        { "read NAS", 1, "cannot read devices" },
        { "paint NAS", 2, "paint" },
    });
}

void TestNasCommand::refusedCallsNameTheValueAndChangeNothing()
{
    QCOMPARE(onStore(k_plugins + "add 192.0.2.9 --type 2").code, 0);
    QCOMPARE(nas("users NAS add anna --no-password").code, 0);
    QCOMPARE(nas("shares NAS add records").code, 0);
    verifyRefusal([this](const QByteArray& call) { return nas(call); });
}

QTEST_GUILESS_MAIN(TestNasCommand)
#include "tst_nascommand.moc"
