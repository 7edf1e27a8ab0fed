// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "integration/programtest.h"
#include "shared/databasefixture.h"

#include <QDir>
#include <QTest>

using namespace Qt::StringLiterals;
using tst::Run;
using tst::text;

class TestOutput : public tst::ProgramTest
{
    Q_OBJECT

private slots:
    void init();

    void jsonGivesNoOrdersToTerminals();
    void aFullDiskIsToldOf();
    void failuresAreToldOnce_data();
    void failuresAreToldOnce();

private:
    QByteArray m_id;
};

void TestOutput::init()
{
    begin();
    m_id = onStore("add 192.0.2.5 --type 2").id();
}

void TestOutput::jsonGivesNoOrdersToTerminals()
{
    const QString orders = u"\u009b\u202e\u2066\u2028\u200b\x7f\U000e0041"_s;
    const QString note = u"T\u00fcr\\u202e\" "_s + orders;
    QCOMPARE(inWords("set|" + m_id + "|Note=" + note.toUtf8(), '|').code, 0);
    const Run shown = onStore("show " + m_id);
    QCOMPARE(shown.item()[u"Note"_s].toString(), note);
    const QString said = QString::fromUtf8(shown.out);
    for (const QChar c : orders)
        QVERIFY2(!said.contains(c), qPrintable(QString::number(c.unicode(), 16)));
    QVERIFY(said.contains(u"T\u00fcr"_s));
}

void TestOutput::aFullDiskIsToldOf()
{
    for (const char* call : { "list", "--json list", "--help", "--version", "help set",
             "--simulate small scan --for 1 --speed 100" }) {
        QProcess process;
        process.setStandardOutputFile(u"/dev/full"_s);
        process.start(
            text(NODEDB_PROGRAM), u"--store %1 %2"_s.arg(m_store, text(call)).split(u' '));
        QVERIFY(process.waitForFinished());
        QVERIFY2(process.exitCode() == 1, call);
        QVERIFY2(process.readAllStandardError().contains("not be written: No space left"), call);
    }
}

void TestOutput::failuresAreToldOnce_data()
{
    QTest::addColumn<QByteArray>("call");
    QTest::addColumn<QByteArray>("said"); // how standard error begins
    QTest::addColumn<int>("lines"); // and how long it is
    const auto row = [](const char* name, const char* call, int lines, const char* said) {
        QTest::newRow(name) << QByteArray(call) << QByteArray(said) << lines;
    };
    row("the sentence is enough", "add 192.0.2.6 --type 21", 1,
        "nodedb: there is no driver for the node type 21\n");
    row("the reason is part of it", "--simulate bad.json scan", 2,
        "nodedb: simulating \"FOLDER/bad.json\" for 10 s; --for sets the time\n"
        "nodedb: the site \"FOLDER/bad.json\" cannot be simulated: ");
    row("warnings without time and level, each once", "--plugins empty list", 2,
        "warning: No node driver available for node type: 2 (2 times)\n"
        "warning: Stored nodes that no driver can load, kept as they are: 2\n");
    row("not too many of a kind", "--store many.ini list", 11,
        "warning: A stored node has no id and is left out, entry 0\n");
    row("the table tells it", "--plugins broken drivers", 0, "");
}

void TestOutput::failuresAreToldOnce()
{
    QFETCH(QByteArray, call);
    QFETCH(QByteArray, said);
    QFETCH(int, lines);
    QVERIFY(QDir().mkdir(path("empty")) && QDir().mkdir(path("broken")));
    tst::write(path("broken/broken.so"), "no library");
    tst::write(path("bad.json"), "{ \"devices\": [ {} ] ");
    QByteArray many = "[GlobalNodes]\nNodes\\size=20\n";
    for (int i = 1; i <= 20; ++i)
        many += "Nodes\\" + QByteArray::number(i) + "\\NodeType=2\n";
    tst::write(path("many.ini"), many);
    QCOMPARE(onStore("add 192.0.2.7 --type 2").code, 0);
    const Run ended = inWords(call);
    said.replace("FOLDER", path("").toUtf8());
    QVERIFY2(ended.error.startsWith(said), ended.error);
    QCOMPARE(ended.error.count('\n'), lines);
    QCOMPARE(ended.error.count("broken.so"), 0);
    // Who asks for log lines gets them as they are.
    const Run raw = inWords("--verbose " + call);
    QVERIFY(raw.error.contains("Z [2] "));
}

QTEST_GUILESS_MAIN(TestOutput)
#include "tst_output.moc"
