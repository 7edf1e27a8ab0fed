// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "integration/programtest.h"

#include <QTest>

using tst::Run;

class TestMisbehavingPlugins : public tst::ProgramTest
{
    Q_OBJECT

private slots:
    void init() { begin(); }

    void aBrokenDriverIsNamedAndHarmsNothing_data();
    void aBrokenDriverIsNamedAndHarmsNothing();
    void brokenNodesHarmNoOthers();
    void nodesHarmNoEntryButTheirOwn_data();
    void nodesHarmNoEntryButTheirOwn();

private:
    // Bars stand between the arguments.
    Run good(const QByteArray& call) const
    {
        return inWords("--plugins|" GOOD_PLUGINS "|" + call, '|');
    }
    Run broken(const QByteArray& call) const
    {
        return inWords("--plugins|" BROKEN_PLUGINS "|" + call, '|');
    }
};

void TestMisbehavingPlugins::aBrokenDriverIsNamedAndHarmsNothing_data()
{
    QTest::addColumn<QByteArray>("call");
    QTest::addColumn<QByteArray>("sentence");
    QTest::addColumn<QByteArray>("line");
    const auto row = [](const char* name, const char* call, const char* sentence,
                         const char* line) {
        QTest::newRow(name) << QByteArray(call) << QByteArray(sentence) << QByteArray(line);
    };
    row("throws when it makes a node", "add|192.0.2.9|--type|15",
        "no driver made a node of \"192.0.2.9\"", "createNodeFromHint: the driver broke down");
    row("makes nothing", "add|192.0.2.9|--type|16", "no driver made a node of \"192.0.2.9\"",
        "Later answers of this driver will not be heard: misbehaving");
    row("throws when it probes", "add|192.0.2.9", "no driver recognises \"192.0.2.9\"",
        "probe: the driver broke down");
}

void TestMisbehavingPlugins::aBrokenDriverIsNamedAndHarmsNothing()
{
    QFETCH(QByteArray, call);
    QFETCH(QByteArray, sentence);
    QFETCH(QByteArray, line);
    QCOMPARE(good("add|192.0.2.1|--type|2").code, 0);
    const auto before = hashes();
    QVERIFY(!before.isEmpty());
    const Run ended = broken(call);
    QCOMPARE(ended.code, 1);
    QVERIFY2(ended.error.contains(sentence) && ended.error.contains(line), ended.error);
    QCOMPARE(hashes(), before);
    const Run listed = good("list");
    QCOMPARE(listed.code, 0);
    QVERIFY2(listed.out.contains("192.0.2.1"), listed.out);
}

void TestMisbehavingPlugins::brokenNodesHarmNoOthers()
{
    const QByteArrayList ids{ "clone", "hostAddress", "name", "properties", "remover", "slot",
        "updateField", "well" };
    for (const QByteArray& id : ids) {
        const Run added = broken("add|--type|17|" + id);
        QVERIFY2(added.code == 0, added.error);
    }
    QCOMPARE(broken("set|remover|Note=armed").code, 0);
    QCOMPARE(broken("environment|add|Office").code, 0);
    const auto before = hashes();
    const auto sentence = [](const QByteArray& id) {
        return "the node \"" + id + "\" of the driver \"misbehaving\" failed: the node broke down";
    };
    // All up to the one that removes them, each with what ails it.
    const Run listed = broken("list");
    QCOMPARE(listed.code, 0);
    for (const QByteArray& id : ids) {
        QCOMPARE(listed.out.contains('\n' + id + ' '), id < "s");
        QCOMPARE(listed.out.contains(sentence(id)),
            QByteArrayList({ "hostAddress", "name", "properties" }).contains(id));
    }
    QCOMPARE(broken("list|--where|Note=armed").code, 0);
    const auto verify = [this](const QByteArray& call, const QByteArray& said) {
        const Run ended = broken(call);
        QCOMPARE(ended.code, 1);
        QVERIFY2(ended.error.contains("nodedb: " + said), ended.error);
    };
    for (const QByteArray id : { "properties", "hostAddress", "clone", "updateField" })
        verify("set|" + id + "|Note=x", sentence(id));
    verify("show|properties", sentence("properties"));
    // What no guard knows of falls into the last net.
    verify("environment|use|Office",
        "the command was broken off, because something failed: the node broke down");
    QCOMPARE(hashes(), before);
    QCOMPARE(broken("set|well|Note=x").code, 0);
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
    const auto both = [this](const QByteArray& call) {
        return good("--plugins|" BROKEN_PLUGINS "|" + call);
    };
    const Run added = both("--json|add|192.0.2.3|--type|2");
    QCOMPARE(added.code, 0);
    QCOMPARE(both("add|192.0.2.4|--type|18").code, 0);
    const auto before = hashes();
    const QByteArray note = QTest::currentDataTag();
    const Run set = both("set|unruly|Note=" + note);
    QCOMPARE(set.code, 1);
    QVERIFY2(set.error.contains("unruly, driver misbehaving: " + line), set.error);
    QVERIFY2(set.error.contains("\"unruly\" (its earlier entry stays)"), set.error);
    QVERIFY(hashes() != before); // saved all the same
    QCOMPARE(both("set|" + added.id() + "|Note=mine").code, 0);
    const Run camera = both("show|" + added.id());
    QVERIFY2(camera.code == 0 && camera.out.contains("mine"), camera.said());
    const Run unruly = both("show|unruly");
    QVERIFY2(unruly.code == 0 && !unruly.out.contains(note), unruly.said());
}

QTEST_GUILESS_MAIN(TestMisbehavingPlugins)
#include "tst_misbehavingplugins.moc"
