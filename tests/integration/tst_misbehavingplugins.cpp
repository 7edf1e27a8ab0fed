// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include <QCryptographicHash>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace {

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

QByteArray hashOf(const QString& path)
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && hash.addData(&file) ? hash.result() : QByteArray();
}

} // namespace

class TestMisbehavingPlugins : public QObject
{
    Q_OBJECT

private slots:
    void aBrokenDriverIsNamedAndHarmsNothing_data();
    void aBrokenDriverIsNamedAndHarmsNothing();

private:
    int run(const QString& plugins, const QStringList& arguments);

    QTemporaryDir m_folder;
    QByteArray m_error;
};

int TestMisbehavingPlugins::run(const QString& plugins, const QStringList& arguments)
{
    QProcess program;
    program.start(text(NODEDB_PROGRAM),
        QStringList{
            text("--plugins"), plugins, text("--store"), m_folder.filePath(text("devices.db")) }
            + arguments);
    program.waitForFinished();
    m_error = program.readAllStandardError();
    return program.exitStatus() == QProcess::NormalExit ? program.exitCode() : -1;
}

void TestMisbehavingPlugins::aBrokenDriverIsNamedAndHarmsNothing_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("sentence");
    QTest::addColumn<QByteArray>("line");
    const QStringList add{ text("add"), text("192.0.2.9") };
    const QByteArray broke = ": the driver broke down";
    QTest::newRow("throws when it makes a node")
        << add + QStringList{ text("--type"), text("15") }
        << QByteArray("no driver made a node of \"192.0.2.9\"") << "createNodeFromHint" + broke;
    QTest::newRow("makes nothing") << add + QStringList{ text("--type"), text("16") }
                                   << QByteArray("no driver made a node of \"192.0.2.9\"")
                                   << QByteArray("Later answers of this driver will not be heard: "
                                                 "misbehaving");
    QTest::newRow("throws when it probes")
        << add << QByteArray("no driver recognises \"192.0.2.9\"") << "probe" + broke;
}

void TestMisbehavingPlugins::aBrokenDriverIsNamedAndHarmsNothing()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, sentence);
    QFETCH(QByteArray, line);
    const QString store = m_folder.filePath(text("devices.db"));
    if (!QFile::exists(store))
        QCOMPARE(
            run(text(GOOD_PLUGINS), { text("add"), text("192.0.2.1"), text("--type"), text("2") }),
            0);
    const QByteArray before = hashOf(store);
    QVERIFY(!before.isEmpty());
    QCOMPARE(run(text(BROKEN_PLUGINS), arguments), 1);
    QVERIFY2(m_error.contains(sentence), m_error.constData());
    QVERIFY2(m_error.contains(line), m_error.constData());
    QCOMPARE(hashOf(store), before);
    QCOMPARE(run(text(GOOD_PLUGINS), { text("show"), text("ip:192.0.2.1:80") }), 0);
}

QTEST_GUILESS_MAIN(TestMisbehavingPlugins)
#include "tst_misbehavingplugins.moc"
