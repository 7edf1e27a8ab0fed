// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include <QCryptographicHash>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
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
    void brokenNodesHarmNoOthers();
    void nodesHarmNoEntryButTheirOwn_data();
    void nodesHarmNoEntryButTheirOwn();

private:
    int run(const QString& plugins, const QStringList& arguments);

    QTemporaryDir m_folder;
    QString m_store;
    QByteArray m_out;
    QByteArray m_error;
};

int TestMisbehavingPlugins::run(const QString& plugins, const QStringList& arguments)
{
    QProcess program;
    program.start(text(NODEDB_PROGRAM),
        QStringList{ text("--plugins"), plugins, text("--store"), m_store } + arguments);
    program.waitForFinished();
    m_out = program.readAllStandardOutput();
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
    m_store = m_folder.filePath(text("devices.db"));
    if (!QFile::exists(m_store))
        QCOMPARE(
            run(text(GOOD_PLUGINS), { text("add"), text("192.0.2.1"), text("--type"), text("2") }),
            0);
    const QByteArray before = hashOf(m_store);
    QVERIFY(!before.isEmpty());
    QCOMPARE(run(text(BROKEN_PLUGINS), arguments), 1);
    QVERIFY2(m_error.contains(sentence), m_error.constData());
    QVERIFY2(m_error.contains(line), m_error.constData());
    QCOMPARE(hashOf(m_store), before);
    QCOMPARE(run(text(GOOD_PLUGINS), { text("list") }), 0);
    QVERIFY2(m_out.contains("192.0.2.1"), m_out.constData());
}

void TestMisbehavingPlugins::brokenNodesHarmNoOthers()
{
    m_store = m_folder.filePath(text("nodes.db"));
    const auto call = [&](const QByteArray& arguments) {
        return run(text(BROKEN_PLUGINS), QString::fromUtf8(arguments).split(QLatin1Char(' ')));
    };
    const QByteArrayList ids{ "clone", "hostAddress", "name", "properties", "remover", "slot",
        "updateField", "well" };
    for (const QByteArray& id : ids)
        QVERIFY2(call("add --type 17 " + id) == 0, m_error.constData());
    QCOMPARE(call("set remover Note=armed"), 0);
    QCOMPARE(call("environment add Office"), 0);
    const QByteArray before = hashOf(m_store);
    const auto sentence = [](const QByteArray& id) {
        return "the node \"" + id + "\" of the driver \"misbehaving\" failed: the node broke down";
    };
    // All up to the one that removes them, each with what ails it.
    QCOMPARE(call("list"), 0);
    for (const QByteArray& id : ids) {
        QCOMPARE(m_out.contains('\n' + id + ' '), id < "s");
        QCOMPARE(m_out.contains(sentence(id)),
            QByteArrayList({ "hostAddress", "name", "properties" }).contains(id));
    }
    QCOMPARE(call("list --where Note=armed"), 0);
    for (const QByteArray id : { "properties", "hostAddress", "clone", "updateField" }) {
        QCOMPARE(call("set " + id + " Note=x"), 1);
        QVERIFY2(m_error.contains("nodedb: " + sentence(id)), m_error.constData());
    }
    QCOMPARE(call("show properties"), 1);
    QVERIFY2(m_error.contains("nodedb: " + sentence("properties")), m_error.constData());
    // What no guard knows of falls into the last net.
    QCOMPARE(call("environment use Office"), 1);
    QVERIFY2(m_error.contains("nodedb: the command was broken off, because something failed: the "
                              "node broke down"),
        m_error.constData());
    QCOMPARE(hashOf(m_store), before);
    QCOMPARE(call("set well Note=x"), 0);
}

void TestMisbehavingPlugins::nodesHarmNoEntryButTheirOwn_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::newRow("group array") << QByteArray("left an array open, left a group open");
    QTest::newRow("endArray endGroup") << QByteArray("closed an array that it had not opened");
    QTest::newRow("sync") << QByteArray("called sync()");
    QTest::newRow("throw") << QByteArray("broken node");
}

void TestMisbehavingPlugins::nodesHarmNoEntryButTheirOwn()
{
    QFETCH(QByteArray, line);
    const auto both = [&](const QStringList& arguments) {
        return run(
            text(GOOD_PLUGINS), QStringList{ text("--plugins"), text(BROKEN_PLUGINS) } + arguments);
    };
    m_store = m_folder.filePath(text("unruly.db"));
    QFile::remove(m_store);
    QCOMPARE(
        both({ text("--json"), text("add"), text("192.0.2.3"), text("--type"), text("2") }), 0);
    const auto added = QJsonDocument::fromJson(m_out).object()[text("items")].toArray();
    const QString camera = added[0].toObject()[text("ID")].toString();
    QCOMPARE(both({ text("add"), text("192.0.2.4"), text("--type"), text("18") }), 0);
    const QByteArray before = hashOf(m_store);
    const QString note = text("Note=") + text(QTest::currentDataTag());
    QCOMPARE(both({ text("set"), text("unruly"), note }), 1);
    QVERIFY2(m_error.contains("unruly, driver misbehaving: " + line), m_error.constData());
    QVERIFY2(m_error.contains("\"unruly\" (its earlier entry stays)"), m_error.constData());
    QVERIFY(hashOf(m_store) != before); // saved all the same
    QCOMPARE(both({ text("set"), camera, text("Note=mine") }), 0);
    QCOMPARE(both({ text("show"), camera }), 0);
    QVERIFY2(m_out.contains("mine"), m_out.constData());
    QCOMPARE(both({ text("show"), text("unruly") }), 0);
    QVERIFY2(!m_out.contains(note.mid(5).toUtf8()), m_out.constData());
}

QTEST_GUILESS_MAIN(TestMisbehavingPlugins)
#include "tst_misbehavingplugins.moc"
