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

using namespace Qt::StringLiterals;
using namespace tq;
using tst::text;

namespace {

constexpr auto k_relation = eDeviceToRecordingFolder;

/** Writes one stored node. */
void writeNode(MemoryDestination& store, int index, const QVariantMap& values)
{
    store.beginGroup(u"GlobalNodes"_s);
    store.beginWriteArray(u"Nodes"_s);
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
        const QStringList boasted{ u"Nodes"_s, u"Relations"_s, u"Exceptions"_s };
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
    f.insertPlain(u"n"_s);
    bool modifiedAtSync = false;
    tst::CallLogDestination target;
    target.onSync = [&] { modifiedAtSync = f.db->isModified(); };
    f.db->save(&target, false);
    QStringList groups;
    const QStringList calls = target.calls();
    for (qsizetype i = 0; i < calls.size(); ++i) {
        if (calls.at(i).startsWith(u"beginGroup"_s)) {
            const QString group = calls.at(i).mid(11);
            QCOMPARE(calls.at(i - 1), u"remove "_s + group);
            groups.append(group);
        }
    }
    QCOMPARE(groups.join(u' '),
        u"Environment GlobalFields GlobalRecordingFolderPath DefaultRecordingTransponder "
        "GlobalProxy GlobalAuthentication GlobalNodes NodeRelations"_s);
    const qsizetype nodes = calls.indexOf(u"beginGroup GlobalNodes"_s);
    QCOMPARE(calls.mid(nodes + 1, 3),
        QStringList({ u"remove Nodes"_s, u"beginWriteArray Nodes -1"_s, u"setArrayIndex 0"_s }));
    const qsizetype relations = calls.indexOf(u"beginGroup NodeRelations"_s);
    QCOMPARE(calls.mid(relations + 1),
        QStringList({ u"remove Relations"_s, u"beginWriteArray Relations -1"_s, u"endArray"_s,
            u"endGroup"_s, u"sync"_s }));
    const qsizetype proxy = calls.indexOf(u"beginGroup GlobalProxy"_s);
    QCOMPARE(calls.mid(proxy, nodes - proxy).filter(u"beginWriteArray"_s),
        QStringList({ u"beginWriteArray Environment -1"_s, u"beginWriteArray Environment -1"_s,
            u"beginWriteArray Exceptions -1"_s }));
    QVERIFY(calls.contains(u"setValue Bandwidth QVariant(int, 2)"_s));
    QVERIFY(modifiedAtSync && !f.db->isModified());
}

void TestSaveAndLoad::onlyWhatShouldPersistIsSaved()
{
    tst::Database f;
    f.insertPlain(u"a"_s)->setShouldPersist(false);
    f.insertPlain(u"b"_s);
    f.insertPlain(u"c"_s);
    f.db->addNodeRelation(u"b"_s, u"a"_s, k_relation);
    f.db->addNodeRelation(u"b"_s, u"c"_s, k_relation);
    f.db->addNodeRelation(u"b"_s, u"gone"_s, k_relation);
    const auto savedLines = [&](bool all) {
        tst::CallLogDestination target;
        f.log.clear();
        f.db->save(&target, all);
        return f.log.lines().filter(u"av"_s);
    };
    const QString trouble = u"2 Cannot save node relation (trouble with driver component...)"_s;
    QCOMPARE(savedLines(false),
        QStringList(
            { u"1 NodeDB saved: 2 nodes."_s, trouble, u"1 NodeDB saved: 1 nodes relations."_s }));
    QCOMPARE(savedLines(true),
        QStringList(
            { u"1 NodeDB saved: 3 nodes."_s, trouble, u"1 NodeDB saved: 2 nodes relations."_s }));
}

void TestSaveAndLoad::loadingAnnouncesNodesAndRelationsOnly()
{
    tst::FakeDriver driver(u"d"_s, { { tst::k_plainType, 1 } });
    MemoryDestination store;
    {
        tst::Database f;
        f.db->environments()->add(u"Office"_s);
        f.db->setGlobalAuthentication(u"u"_s, u"p"_s);
        f.db->setGlobalRecordingFolderPath(u"/rec/"_s);
        f.db->globalProxy()->addException(u"e"_s);
        for (const char* id : { "c", "a", "b" })
            f.insertPlain(text(id));
        f.db->addNodeRelation(u"c"_s, u"a"_s, k_relation);
        f.db->addNodeRelation(u"a"_s, u"b"_s, k_relation);
        f.db->save(&store, false);
    }
    tst::Database f;
    f.db->load(&store);
    QCOMPARE(f.signals_(),
        QStringList({ u"nodeInserted(a)"_s, u"nodeInserted(b)"_s, u"nodeInserted(c)"_s,
            u"nodeRelationAboutToBeAdded(a,b,1)"_s, u"nodeRelationAdded(a,b,1)"_s,
            u"nodeRelationAboutToBeAdded(c,a,1)"_s, u"nodeRelationAdded(c,a,1)"_s }));
    QCOMPARE(f.log.linesWith(u"loaded"_s),
        QStringList({ u"1 NodeDB loaded: 3 nodes."_s, u"1 NodeDB loaded: 2 nodes relations."_s }));
    QVERIFY(!f.db->isModified());
    QCOMPARE(f.db->globalPassword() + f.db->globalRecordingFolderPath(), u"p/rec"_s);
    QCOMPARE(f.db->environments()->getList().size(), 2);
    f.db->load(&store);
    QCOMPARE(f.log.linesWith(u"has the id of another"_s).size(), 3);
    QCOMPARE(f.db->nodeIdList().size(), 3);
}

void TestSaveAndLoad::emptyStoreGivesDefaults()
{
    tst::Database f;
    f.db->setDefaultRecordingTransponderPort(1);
    f.db->setDefaultRecordingTransponderFramerate(9);
    f.db->setBandwidth(9);
    f.db->setGlobalRecordingFolderPath(u"x"_s);
    f.db->setGlobalAuthentication(u"u"_s, u"p"_s);
    const QString before = f.db->activeEnvironment();
    MemoryDestination store;
    f.db->load(&store);
    QCOMPARE(f.db->defaultRecordingTransponderPort(), 80);
    QCOMPARE(f.db->defaultRecordingTransponderFramerate(), 1.0F);
    QCOMPARE(f.db->bandwidth(), 2);
    QVERIFY(f.db->globalRecordingFolderPath().isEmpty());
    QVERIFY(f.db->activeEnvironment() != before);
    // a login that is not stored stays as it was
    QCOMPARE(f.db->globalUser(), u"u"_s);
}

void TestSaveAndLoad::entriesThatCannotBeReadAreLeftOut()
{
    tst::FakeDriver driver(u"d"_s, { { 0, 1 }, { tst::k_plainType, 1 } });
    MemoryDestination store;
    writeNode(store, 0, { { u"ID"_s, u"no driver"_s }, { u"NodeType"_s, 22 } });
    writeNode(store, 1, { { u"Name"_s, u"no id"_s }, { u"NodeType"_s, int(tst::k_plainType) } });
    writeNode(store, 2, { { u"ID"_s, u"no type"_s } });
    writeNode(store, 3, { { u"ID"_s, u"good"_s }, { u"NodeType"_s, int(tst::k_plainType) } });
    tst::Database f;
    f.db->load(&store);
    // a missing type reads as 0
    QCOMPARE(f.db->nodeIdList(), QStringList({ u"good"_s, u"no type"_s }));
    QCOMPARE(f.log.lines().filter(u"2 "_s).mid(0, 2),
        QStringList({ u"2 No node driver available for node type: 22"_s,
            u"2 A stored node has no id and is left out, entry 1"_s }));
    QVERIFY(f.log.lines().contains(u"1 NodeDB loaded: 2 nodes."_s));
}

void TestSaveAndLoad::aThrowAtAnyCallSavesNothing()
{
    tst::Database f;
    f.insertDevice(u"d"_s, u"h"_s);
    tst::PlainNode* const node = f.insertPlain(u"n"_s);
    tst::CallLogDestination whole;
    f.db->save(&whole, false);
    for (int k = 0; k < whole.calls().size(); ++k) {
        const bool isChanged = k >= whole.calls().size() / 2;
        if (isChanged)
            f.db->endUpdateNode(f.db->beginUpdateNode(u"d"_s, 0));
        tst::CallLogDestination target;
        target.throwAt = k;
        f.db->save(&target, false);
        QVERIFY2(f.db->isModified() == isChanged, qPrintable(whole.calls().at(k)));
        QCOMPARE(target.calls().filter(u"sync"_s).size(), k == whole.calls().size() - 1 ? 1 : 0);
        QVERIFY2(target.openScopes() == 0, qPrintable(whole.calls().at(k)));
    }
    QCOMPARE(f.log.linesWith(u"The database was not saved: call "_s).size(), whole.calls().size());
    node->onSave = [] { throw std::runtime_error("broken node"); };
    tst::CallLogDestination target;
    f.db->save(&target, false);
    QVERIFY(!target.calls().contains(u"sync"_s));
    QVERIFY(!f.log.linesWith(u"broken node"_s).isEmpty());
    // the lock is free again
    f.db->removeNode(u"n"_s);
    QVERIFY(f.db->node(u"n"_s).null());
}

void TestSaveAndLoad::readersWaitForNobodyWhileSaving()
{
    tst::Database f;
    tst::PlainNode* const node = f.insertPlain(u"n"_s);
    node->onSave = [&] {
        QCOMPARE(f.db->nodeIdList(), QStringList(u"n"_s));
        f.db->removeNode(u"n"_s);
    };
    tst::CallLogDestination target;
    f.db->save(&target, false);
    QCOMPARE(f.log.linesWith(u"holds the database's lock: removeNode"_s).size(), 1);
    QVERIFY(!f.db->node(u"n"_s).null());
}

void TestSaveAndLoad::boastingStoresEnd()
{
    tst::FakeDriver driver(u"d"_s, { { 0, 1 }, { tst::k_plainType, 1 } });
    MemoryDestination store;
    writeNode(store, 0, { { u"ID"_s, u"good"_s }, { u"NodeType"_s, int(tst::k_plainType) } });
    BoastingStore boasting(&store);
    tst::Database f;
    f.db->load(&boasting);
    QCOMPARE(f.db->nodeIdList(), QStringList(u"good"_s));
    QVERIFY(!f.log.linesWith(u"damaged array: Nodes announces 2147483647"_s).isEmpty());
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
    f.db->addNodeRelation(u"a"_s, u"z"_s, k_relation);
    const auto save = [&] {
        tst::CallLogDestination target(&store);
        f.db->save(&target, false);
        return target.calls();
    };
    const QStringList good = save();
    Node* const copy = f.db->beginUpdateNode(u"m"_s, 0);
    copy->setNote(text(QTest::currentDataTag()));
    f.db->endUpdateNode(copy);
    const QStringList calls = save();
    const QStringList after = good.mid(good.lastIndexOf(u"setArrayIndex 2"_s));
    QCOMPARE(calls.mid(calls.size() - after.size()), after);
    QCOMPARE(calls.count(u"sync"_s), 1);
    QCOMPARE(f.log.linesWith(u"m, driver unruly: "_s + fault).size(), 1);
    for (const char* id : { "a", "m", "z" })
        f.db->removeNode(text(id));
    f.db->load(&store);
    QCOMPARE(f.db->nodeIdList(), QStringList({ u"a"_s, u"m"_s, u"z"_s }));
    QCOMPARE(f.db->relatedNodes(u"a"_s, k_relation), QStringList(u"z"_s));
    QCOMPARE(f.log.linesWith(u"entry 1, driver unruly: "_s + fault).size(), 1);
}

QTEST_GUILESS_MAIN(TestSaveAndLoad)
#include "tst_saveandload.moc"
