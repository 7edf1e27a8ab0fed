// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "integration/programtest.h"
#include "shared/databasefixture.h"

#include <QDir>
#include <QTest>

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
    QString m_id;
};

void TestOutput::init()
{
    begin();
    m_id = onStore("add 192.0.2.5 --type 2").item()[text("ID")].toString();
}

void TestOutput::jsonGivesNoOrdersToTerminals()
{
    const QString orders = text("\u009b\u202e\u2066\u2028\u200b\x7f\U000e0041");
    const QString note = text("T\u00fcr\\u202e\" ") + orders;
    QCOMPARE(run({ text("--store"), m_store, text("set"), m_id, text("Note=") + note }).code, 0);
    const Run shown = onStore("show " + m_id.toUtf8());
    QCOMPARE(shown.item()[text("Note")].toString(), note);
    const QString said = QString::fromUtf8(shown.out);
    for (const QChar c : orders)
        QVERIFY2(!said.contains(c), qPrintable(QString::number(c.unicode(), 16)));
    QVERIFY(said.contains(text("T\u00fcr")));
}

void TestOutput::aFullDiskIsToldOf()
{
    for (const char* call : { "list", "--json list", "--help", "--version", "help set",
             "--simulate small scan --for 1 --speed 100" }) {
        QProcess process;
        process.setStandardOutputFile(text("/dev/full"));
        process.start(text(NODEDB_PROGRAM),
            text("--store %1 %2").arg(m_store, text(call)).split(QLatin1Char(' ')));
        QVERIFY(process.waitForFinished());
        QVERIFY2(process.exitCode() == 1, call);
        QVERIFY2(process.readAllStandardError().contains("not be written: No space left"), call);
    }
}

void TestOutput::failuresAreToldOnce_data()
{
    QTest::addColumn<QString>("call");
    QTest::addColumn<QByteArray>("said"); // how standard error begins
    QTest::addColumn<int>("lines"); // and how long it is
    QTest::newRow("the sentence is enough")
        << text("add 192.0.2.6 --type 21")
        << QByteArray("nodedb: there is no driver for the node type 21\n") << 1;
    QTest::newRow("the reason is part of it")
        << text("--simulate bad.json scan")
        << QByteArray("nodedb: simulating \"FOLDER/bad.json\" for 10 s; --for sets the time\n"
                      "nodedb: the site \"FOLDER/bad.json\" cannot be simulated: ")
        << 2;
    QTest::newRow("warnings without time and level, each once")
        << text("--plugins empty list")
        << QByteArray("warning: No node driver available for node type: 2 (2 times)\n"
                      "warning: Stored nodes that no driver can load, kept as they are: 2\n")
        << 2;
    QTest::newRow("not too many of a kind")
        << text("--store many.ini list")
        << QByteArray("warning: A stored node has no id and is left out, entry 0\n") << 11;
    QTest::newRow("the table tells it") << text("--plugins broken drivers") << QByteArray() << 0;
}

void TestOutput::failuresAreToldOnce()
{
    QFETCH(QString, call);
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
    const auto globals = QStringList{ text("--store"), m_store };
    const Run ended = run(globals + call.split(QLatin1Char(' ')));
    said.replace("FOLDER", path("").toUtf8());
    QVERIFY2(ended.error.startsWith(said), ended.error);
    QCOMPARE(ended.error.count('\n'), lines);
    QCOMPARE(ended.error.count("broken.so"), 0);
    // Who asks for log lines gets them as they are.
    const Run raw = run(globals + QStringList(text("--verbose")) + call.split(QLatin1Char(' ')));
    QVERIFY(raw.error.contains("Z [2] "));
}

QTEST_GUILESS_MAIN(TestOutput)
#include "tst_output.moc"
