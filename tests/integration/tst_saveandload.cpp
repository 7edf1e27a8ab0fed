// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "environments/environments.h"
#include "environments/globalnetworkproxy.h"
#include "persistence/memorydestination.h"
#include "shared/calllogdestination.h"
#include "shared/databasefixture.h"
#include "shared/unrulynode.h"

#include <QTest>

#include <climits>
#include <stdexcept>

using namespace tq;
using tst::text;

namespace {

constexpr auto k_relation = eDeviceToRecordingFolder;

/** Writes one stored node. */
void writeNode(MemoryDestination& store, int index, const QVariantMap& values)
{
    store.beginGroup(text("GlobalNodes"));
    store.beginWriteArray(text("Nodes"));
    store.setArrayIndex(index);
    for (auto it = values.cbegin(); it != values.cend(); ++it)
        store.setValue(it.key(), *it);
    store.endArray();
    store.endGroup();
}

/** A store that announces absurd sizes of some arrays. */
class BoastingStore : public tst::CallLogDestination
{
public:
    using CallLogDestination::CallLogDestination;
    int beginReadArray(const QString& name) override
    {
        const int count = CallLogDestination::beginReadArray(name);
        const QStringList boasted{ text("Nodes"), text("Relations"), text("Exceptions") };
        return boasted.contains(name) ? INT_MAX : count;
    }
};

} // namespace

class TestSaveAndLoad : public QObject
{
    Q_OBJECT

private slots:
    void groupsAreReplacedInOrder();
    void onlyWhatShouldPersistIsSaved();
    void loadingAnnouncesNodesAndRelationsOnly();
    void emptyStoreGivesDefaults();
    void entriesThatCannotBeReadAreLeftOut();
    void aThrowAtAnyCallSavesNothing();
    void readersWaitForNobodyWhileSaving();
    void boastingStoresEnd();
    void nodesAreConfinedToTheirEntries_data();
    void nodesAreConfinedToTheirEntries();
};

void TestSaveAndLoad::groupsAreReplacedInOrder()
{
    tst::Database f;
    f.insertPlain(text("n"));
    bool modifiedAtSync = false;
    tst::CallLogDestination target;
    target.onSync = [&] { modifiedAtSync = f.db->isModified(); };
    f.db->save(&target, false);
    QStringList groups;
    const QStringList calls = target.calls();
    for (qsizetype i = 0; i < calls.size(); ++i) {
        if (calls.at(i).startsWith(text("beginGroup"))) {
            const QString group = calls.at(i).mid(11);
            QCOMPARE(calls.at(i - 1), text("remove ") + group);
            groups.append(group);
        }
    }
    QCOMPARE(groups.join(QLatin1Char(' ')),
        text("Environment GlobalFields GlobalRecordingFolderPath DefaultRecordingTransponder "
             "GlobalProxy GlobalAuthentication GlobalNodes NodeRelations"));
    const qsizetype nodes = calls.indexOf(text("beginGroup GlobalNodes"));
    QCOMPARE(calls.mid(nodes + 1, 3),
        QStringList(
            { text("remove Nodes"), text("beginWriteArray Nodes -1"), text("setArrayIndex 0") }));
    const qsizetype relations = calls.indexOf(text("beginGroup NodeRelations"));
    QCOMPARE(calls.mid(relations + 1),
        QStringList({ text("remove Relations"), text("beginWriteArray Relations -1"),
            text("endArray"), text("endGroup"), text("sync") }));
    const qsizetype proxy = calls.indexOf(text("beginGroup GlobalProxy"));
    QCOMPARE(calls.mid(proxy, nodes - proxy).filter(text("beginWriteArray")),
        QStringList({ text("beginWriteArray Environment -1"),
            text("beginWriteArray Environment -1"), text("beginWriteArray Exceptions -1") }));
    QVERIFY(calls.contains(text("setValue Bandwidth QVariant(int, 2)")));
    QVERIFY(modifiedAtSync && !f.db->isModified());
}

void TestSaveAndLoad::onlyWhatShouldPersistIsSaved()
{
    tst::Database f;
    f.insertPlain(text("a"))->setShouldPersist(false);
    f.insertPlain(text("b"));
    f.insertPlain(text("c"));
    f.db->addNodeRelation(text("b"), text("a"), k_relation);
    f.db->addNodeRelation(text("b"), text("c"), k_relation);
    f.db->addNodeRelation(text("b"), text("gone"), k_relation);
    const auto savedLines = [&](bool all) {
        tst::CallLogDestination target;
        f.log.clear();
        f.db->save(&target, all);
        return f.log.lines().filter(text("av"));
    };
    const QString trouble = text("2 Cannot save node relation (trouble with driver component...)");
    QCOMPARE(savedLines(false),
        QStringList({ text("1 NodeDB saved: 2 nodes."), trouble,
            text("1 NodeDB saved: 1 nodes relations.") }));
    QCOMPARE(savedLines(true),
        QStringList({ text("1 NodeDB saved: 3 nodes."), trouble,
            text("1 NodeDB saved: 2 nodes relations.") }));
}

void TestSaveAndLoad::loadingAnnouncesNodesAndRelationsOnly()
{
    tst::FakeDriver driver(text("d"), { { tst::k_plainType, 1 } });
    MemoryDestination store;
    {
        tst::Database f;
        f.db->environments()->add(text("Office"));
        f.db->setGlobalAuthentication(text("u"), text("p"));
        f.db->setGlobalRecordingFolderPath(text("/rec/"));
        f.db->globalProxy()->addException(text("e"));
        for (const char* id : { "c", "a", "b" })
            f.insertPlain(text(id));
        f.db->addNodeRelation(text("c"), text("a"), k_relation);
        f.db->addNodeRelation(text("a"), text("b"), k_relation);
        f.db->save(&store, false);
    }
    tst::Database f;
    f.db->load(&store);
    QCOMPARE(f.signals_(),
        QStringList({ text("nodeInserted(a)"), text("nodeInserted(b)"), text("nodeInserted(c)"),
            text("nodeRelationAboutToBeAdded(a,b,1)"), text("nodeRelationAdded(a,b,1)"),
            text("nodeRelationAboutToBeAdded(c,a,1)"), text("nodeRelationAdded(c,a,1)") }));
    QCOMPARE(f.log.linesWith(text("loaded")),
        QStringList(
            { text("1 NodeDB loaded: 3 nodes."), text("1 NodeDB loaded: 2 nodes relations.") }));
    QVERIFY(!f.db->isModified());
    QCOMPARE(f.db->globalPassword() + f.db->globalRecordingFolderPath(), text("p/rec"));
    QCOMPARE(f.db->environments()->getList().size(), 2);
    f.db->load(&store);
    QCOMPARE(f.log.linesWith(text("has the id of another")).size(), 3);
    QCOMPARE(f.db->nodeIdList().size(), 3);
}

void TestSaveAndLoad::emptyStoreGivesDefaults()
{
    tst::Database f;
    f.db->setDefaultRecordingTransponderPort(1);
    f.db->setDefaultRecordingTransponderFramerate(9);
    f.db->setBandwidth(9);
    f.db->setGlobalRecordingFolderPath(text("x"));
    f.db->setGlobalAuthentication(text("u"), text("p"));
    const QString before = f.db->activeEnvironment();
    MemoryDestination store;
    f.db->load(&store);
    QCOMPARE(f.db->defaultRecordingTransponderPort(), 80);
    QCOMPARE(f.db->defaultRecordingTransponderFramerate(), 1.0F);
    QCOMPARE(f.db->bandwidth(), 2);
    QVERIFY(f.db->globalRecordingFolderPath().isEmpty());
    QVERIFY(f.db->activeEnvironment() != before);
    // a login that is not stored stays as it was
    QCOMPARE(f.db->globalUser(), text("u"));
}

void TestSaveAndLoad::entriesThatCannotBeReadAreLeftOut()
{
    tst::FakeDriver driver(text("d"), { { 0, 1 }, { tst::k_plainType, 1 } });
    MemoryDestination store;
    writeNode(store, 0, { { text("ID"), text("no driver") }, { text("NodeType"), 22 } });
    writeNode(
        store, 1, { { text("Name"), text("no id") }, { text("NodeType"), int(tst::k_plainType) } });
    writeNode(store, 2, { { text("ID"), text("no type") } });
    writeNode(
        store, 3, { { text("ID"), text("good") }, { text("NodeType"), int(tst::k_plainType) } });
    tst::Database f;
    f.db->load(&store);
    // a missing type reads as 0
    QCOMPARE(f.db->nodeIdList(), QStringList({ text("good"), text("no type") }));
    QCOMPARE(f.log.lines().filter(text("2 ")).mid(0, 2),
        QStringList({ text("2 No node driver available for node type: 22"),
            text("2 A stored node has no id and is left out, entry 1") }));
    QVERIFY(f.log.lines().contains(text("1 NodeDB loaded: 2 nodes.")));
}

void TestSaveAndLoad::aThrowAtAnyCallSavesNothing()
{
    tst::Database f;
    f.insertDevice(text("d"), text("h"));
    tst::PlainNode* const node = f.insertPlain(text("n"));
    tst::CallLogDestination whole;
    f.db->save(&whole, false);
    for (int k = 0; k < whole.calls().size(); ++k) {
        const bool isChanged = k >= whole.calls().size() / 2;
        if (isChanged)
            f.db->endUpdateNode(f.db->beginUpdateNode(text("d"), 0));
        tst::CallLogDestination target;
        target.throwAt = k;
        f.db->save(&target, false);
        QVERIFY2(f.db->isModified() == isChanged, qPrintable(whole.calls().at(k)));
        QCOMPARE(target.calls().filter(text("sync")).size(), k == whole.calls().size() - 1 ? 1 : 0);
        QVERIFY2(target.openScopes() == 0, qPrintable(whole.calls().at(k)));
    }
    QCOMPARE(
        f.log.linesWith(text("The database was not saved: call ")).size(), whole.calls().size());
    node->onSave = [] { throw std::runtime_error("broken node"); };
    tst::CallLogDestination target;
    f.db->save(&target, false);
    QVERIFY(!target.calls().contains(text("sync")));
    QVERIFY(!f.log.linesWith(text("broken node")).isEmpty());
    // the lock is free again
    f.db->removeNode(text("n"));
    QVERIFY(f.db->node(text("n")).null());
}

void TestSaveAndLoad::readersWaitForNobodyWhileSaving()
{
    tst::Database f;
    tst::PlainNode* const node = f.insertPlain(text("n"));
    node->onSave = [&] {
        QCOMPARE(f.db->nodeIdList(), QStringList(text("n")));
        f.db->removeNode(text("n"));
    };
    tst::CallLogDestination target;
    f.db->save(&target, false);
    QCOMPARE(f.log.linesWith(text("holds the database's lock: removeNode")).size(), 1);
    QVERIFY(!f.db->node(text("n")).null());
}

void TestSaveAndLoad::boastingStoresEnd()
{
    tst::FakeDriver driver(text("d"), { { 0, 1 }, { tst::k_plainType, 1 } });
    MemoryDestination store;
    writeNode(
        store, 0, { { text("ID"), text("good") }, { text("NodeType"), int(tst::k_plainType) } });
    BoastingStore boasting(&store);
    tst::Database f;
    f.db->load(&boasting);
    QCOMPARE(f.db->nodeIdList(), QStringList(text("good")));
    QVERIFY(!f.log.linesWith(text("damaged array: Nodes announces 2147483647")).isEmpty());
    QVERIFY(f.db->relatedNodes(QString(), ENodeRelationType(0)).isEmpty());
}

void TestSaveAndLoad::nodesAreConfinedToTheirEntries_data()
{
    QTest::addColumn<QString>("fault");
    const auto row = [](const char* calls, const char* fault) {
        QTest::newRow(calls) << text(fault);
    };
    row("group array index group", "left a group open, left an array open");
    row("endGroup endArray",
        "closed a group that it had not opened, closed an array that it had not opened");
    row("group array endGroup", "left an array open");
    row("array index group index endArray", "left a group open");
    row("index", "selected an entry of an array that it had not opened");
    row("sync", "called sync()");
}

void TestSaveAndLoad::nodesAreConfinedToTheirEntries()
{
    QFETCH(QString, fault);
    const tst::UnrulyDriver driver;
    MemoryDestination store;
    tst::Database f;
    for (const char* id : { "a", "m", "z" })
        f.db->insertNode(new tst::UnrulyNode(text(id)));
    f.db->addNodeRelation(text("a"), text("z"), k_relation);
    const auto save = [&] {
        tst::CallLogDestination target(&store);
        f.db->save(&target, false);
        return target.calls();
    };
    const QStringList good = save();
    Node* const copy = f.db->beginUpdateNode(text("m"), 0);
    copy->setNote(text(QTest::currentDataTag()));
    f.db->endUpdateNode(copy);
    const QStringList calls = save();
    const QStringList after = good.mid(good.lastIndexOf(text("setArrayIndex 2")));
    QCOMPARE(calls.mid(calls.size() - after.size()), after);
    QCOMPARE(calls.count(text("sync")), 1);
    QCOMPARE(f.log.linesWith(text("m, driver unruly: ") + fault).size(), 1);
    for (const char* id : { "a", "m", "z" })
        f.db->removeNode(text(id));
    f.db->load(&store);
    QCOMPARE(f.db->nodeIdList(), QStringList({ text("a"), text("m"), text("z") }));
    QCOMPARE(f.db->relatedNodes(text("a"), k_relation), QStringList(text("z")));
    QCOMPARE(f.log.linesWith(text("entry 1, driver unruly: ") + fault).size(), 1);
}

QTEST_GUILESS_MAIN(TestSaveAndLoad)
#include "tst_saveandload.moc"
