// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "shared/calllogdestination.h"
#include "shared/databasefixture.h"
#include "shared/viewtext.h"
#include "views/nodeviews.h"

#include "persistence/storefactory.h"
#include "platform/exceptions.h"
#include "platform/persistscope.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

using namespace tq;
using tst::appended;
using tst::entry;
using tst::text;
using View = tqm::smart<NodeView>;

namespace {

/** A hand-made store: "name: entry entry" per view, where a capital letter is a view; "=X" is the
 * node X. */
void write(IPersistDestination* store, const QString& top, const QStringList& views)
{
    const auto writeEntries = [&](const QString& entries) {
        PersistWriteArray array(store, text("Entries"));
        for (const QString& entry : entries.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
            array.next();
            if (entry.at(0).isUpper())
                store->setValue(text("ViewID"), entry);
            else
                store->setValue(text("NodeID"), QString(entry).remove(QLatin1Char('=')));
        }
    };
    const PersistGroup group(store, text("NodeViews"));
    writeEntries(top);
    PersistWriteArray array(store, text("Views"));
    for (const QString& view : views) {
        array.next();
        const QStringList parts = view.split(QLatin1Char(':'));
        if (!parts.at(0).isEmpty())
            store->setValue(text("ID"), parts.at(0));
        store->setValue(text("Name"), parts.at(0).toLower());
        writeEntries(parts.at(1));
    }
}

} // namespace

class TestNodeViews : public QObject
{
    Q_OBJECT

private slots:
    void everyStoreGivesTheTreesBack_data();
    void everyStoreGivesTheTreesBack();
    void brokenStoresGiveWhatCanBeHad_data();
    void brokenStoresGiveWhatCanBeHad();
    void damagedCountsAndStoresThatThrow();
    void giantGraphsLoadAndGoInTime();
    void deepStoresAreCut();
    void removedNodesLeaveEveryView();
    void aNodeThatIsBackStays();
    void slotsMayChangeWhatIsLoaded();
    void changesAreAnnounced();
};

void TestNodeViews::everyStoreGivesTheTreesBack_data()
{
    QTest::addColumn<QString>("location");
    QTest::newRow("memory") << text("memory:");
    QTest::newRow("ini") << text("ini:%1/views.ini");
    QTest::newRow("sqlite") << text("sqlite:%1/views.db");
}

void TestNodeViews::everyStoreGivesTheTreesBack()
{
    QFETCH(QString, location);
    const QTemporaryDir folder;
    if (location.contains(QLatin1Char('%')))
        location = location.arg(folder.path());
    tst::Database f;
    NodeViews views(*f.db);
    const View site = appended(*views.root(), "Site \"A\" / 100 % \u00e4\u65e5");
    const View shared = appended(*site, "shared");
    const View empty = appended(*views.root(), "");
    shared->append(entry(text("mac:0200/%\\{}\u00e4 x")));
    site->append(entry(text("b")));
    site->append(entry(text("a")));
    empty->append(shared);
    views.root()->append(entry(text("at the top")));
    const QString before = tst::treeText(*views.root());
    auto store = openStore(location, nullptr, OpenMode::Create);
    const View once = appended(*site, "stood here once");
    views.save(store.get());
    site->remove(once->id());
    views.save(store.get()); // nothing of the first save may stay
    store->sync();
    if (location != text("memory:")) {
        store.reset();
        store = openStore(location, nullptr, OpenMode::ReadOnly);
    }
    NodeViews second(*f.db);
    second.load(store.get());
    QCOMPARE(tst::treeText(*second.root()), before);
    QCOMPARE(second.view(shared->id())->containers().size(), 2); // one view, at two places
    QCOMPARE(f.log.linesWith(text("2 ")), QStringList());
}

void TestNodeViews::brokenStoresGiveWhatCanBeHad_data()
{
    QTest::addColumn<QString>("top");
    QTest::addColumn<QStringList>("stored");
    QTest::addColumn<QString>("tree");
    QTest::addColumn<QStringList>("lines");
    const auto row = [](const char* name, const char* top, const char* views, const char* tree,
                         const char* lines) {
        const auto list = [](const char* parts) {
            return text(parts).split(QLatin1Char('|'), Qt::SkipEmptyParts);
        };
        QTest::newRow(name) << text(top) << list(views) << text(tree) << list(lines);
    };
    row("a cycle of two below the top", "A", "A:x B|B:A y", "(a(x, b(y)))",
        "2 Stored views lead to a cycle, which is cut: B holds A");
    row("a cycle that nothing leads to", "", "A:B|B:C c|C:A", "(a(b(c(), c)))",
        "2 Stored views lead to a cycle, which is cut: C holds A|"
        "2 A stored view stands nowhere and comes to the top: A a");
    row("a view in itself", "A", "A:A x", "(a(x))",
        "2 Stored views lead to a cycle, which is cut: A holds A");
    row("a view without a place", "A", "A:x|B:y", "(a(x), b(y))",
        "2 A stored view stands nowhere and comes to the top: B b");
    row("entries of views that are not stored", "A Z", "A:Y x", "(a(x))",
        "2 A view that is not stored is left out of a view: Y, a|"
        "2 A view that is not stored is left out of a view: Z, the top");
    row("an entry twice", "A x x", "A:y y", "(a(y), x)",
        "2 A view has an entry twice, the second one is left out: y, a|"
        "2 A view has an entry twice, the second one is left out: x, the top");
    row("a view twice", "A", "A:x|A:y", "(a(x))",
        "2 A view is stored twice, the second one is left out: A a");
    row("a view without an id, and one without anything", "A", "A:x|:y|:", "(a(x), (y))",
        "2 Stored entries that say nothing are left out: 1 of Views in the top|"
        "2 A stored view has no id and gets a new one: |"
        "2 A stored view stands nowhere and comes to the top: ");
    row("a view that has the id of a node at the top", "=A A B", "A:x|B:y", "(A, b(y))",
        "2 A view has an entry twice, the second one is left out: A, the top|"
        "2 A stored view stands nowhere and comes to the top: A a|"
        "2 What stands at the top already is left out: A");
    row("two ways to one view", "A B", "A:C|B:C|C:x", "(a(c(x)), b(c(x)))", "");
}

void TestNodeViews::brokenStoresGiveWhatCanBeHad()
{
    QFETCH(QString, top);
    QFETCH(QStringList, stored);
    QFETCH(QString, tree);
    QFETCH(QStringList, lines);
    tst::Database f;
    const auto store = openStore(text("memory:"));
    write(store.get(), top, stored);
    NodeViews views(*f.db);
    appended(*views.root(), "goes");
    views.load(store.get());
    QCOMPARE(tst::treeText(*views.root()), tree);
    QStringList logged = f.log.linesWith(text("2 "));
    // New ids differ each time.
    logged.replaceInStrings(QRegularExpression(text("\\{.*\\} ")), QString());
    QCOMPARE(logged, lines);
    const auto copy = openStore(text("memory:"));
    views.save(copy.get());
    f.log.clear();
    views.load(copy.get());
    QCOMPARE(tst::treeText(*views.root()), tree);
    QCOMPARE(f.log.linesWith(text("2 ")), QStringList()); // mended by one save
}

void TestNodeViews::damagedCountsAndStoresThatThrow()
{
    tst::Database f;
    const auto store = openStore(text("memory:"));
    write(store.get(), text("A"), { text("A:x B"), text("B:y") });
    {
        const PersistGroup group(store.get(), text("NodeViews"));
        store->beginWriteArray(text("Entries"));
        store->setArrayIndex(1000000);
        store->setValue(text("NodeID"), text("far away"));
        store->endArray();
    }
    NodeViews views(*f.db);
    views.load(store.get());
    QCOMPARE(tst::treeText(*views.root()), text("(a(x, b(y)))"));
    QCOMPARE(f.log.linesWith(text("Stopped reading a damaged array: Entries")).size(), 1);

    views.save(store.get());
    tst::CallLogDestination whole(store.get());
    views.load(&whole);
    for (int k = 0; k < whole.calls().size(); ++k) {
        tst::CallLogDestination throwing(store.get());
        throwing.throwAt = k;
        f.log.clear();
        views.load(&throwing);
        QCOMPARE(throwing.openScopes(), 0);
        QCOMPARE(f.log.linesWith(text("The views could not be read whole: call ")).size(), 1);
        QVERIFY(views.root()->entries().isEmpty() || views.root()->contains(text("A")));
    }
    struct : tst::CallLogDestination
    {
        int beginReadArray(const QString&) override { throw 7; }
    } odd;
    f.log.clear();
    views.load(&odd);
    QCOMPARE(f.log.linesWith(text("The views could not be read whole: unknown")).size(), 1);
    QVERIFY(views.root()->entries().isEmpty());
    const auto untouched = openStore(text("memory:"));
    tst::CallLogDestination log(untouched.get());
    views.load(store.get());
    views.save(&log);
    for (int k = 0; k < log.calls().size(); ++k) {
        const auto target = openStore(text("memory:"));
        tst::CallLogDestination throwing(target.get());
        throwing.throwAt = k;
        QVERIFY_EXCEPTION_THROWN(views.save(&throwing), std::runtime_error);
        QCOMPARE(throwing.openScopes(), 0);
    }
}

void TestNodeViews::giantGraphsLoadAndGoInTime()
{
    // Each view holds all that are stored after it: 300 views, 44,850 entries, 2^298 ways.
    constexpr int k_views = 300;
    tst::Database f;
    QStringList stored;
    QString later;
    for (int i = k_views; i-- > 0;) {
        const QString name = QStringLiteral("V%1").arg(i);
        stored.prepend(name + QStringLiteral(":x") + later);
        later = QLatin1Char(' ') + name + later;
    }
    const auto store = openStore(text("memory:"));
    write(store.get(), text("V0"), stored);
    NodeViews views(*f.db);
    views.load(store.get());
    QCOMPARE(views.all().size(), k_views);
    // The way through all of them is cut where it gets too long.
    QVERIFY(!f.log.linesWith(text("stands too deep")).isEmpty());
    QVERIFY(views.removeEverywhere(text("x")) == k_views);
    QVERIFY(views.removeEverywhere(text("V299")) > 200);
    const View last = views.view(text("V298"));
    QVERIFY_EXCEPTION_THROWN(last->append(views.root()), IllegalArgumentException);
}

void TestNodeViews::deepStoresAreCut()
{
    constexpr int k_views = 3 * NodeView::k_mostLevels;
    tst::Database f;
    QStringList stored;
    for (int i = 0; i < k_views; ++i)
        stored.append(QStringLiteral("V%1:n V%2").arg(i).arg(i + 1));
    stored.append(QStringLiteral("V%1:end").arg(k_views));
    const auto store = openStore(text("memory:"));
    write(store.get(), text("V0"), stored);
    NodeViews views(*f.db);
    views.load(store.get());
    QCOMPARE(views.all().size(), k_views + 1); // in pieces, but all there
    QCOMPARE(f.log.linesWith(text("stands too deep")).size(), 3);
    QStringList sizes;
    for (View piece : views.root()->views()) {
        int size = 0;
        for (; !piece.null(); piece = piece->views().value(0))
            ++size;
        sizes.append(QString::number(size));
    }
    // The whole is cut from below, each piece as deep as may be under the root.
    QCOMPARE(sizes, QStringList({ text("1"), text("256"), text("256"), text("256") }));
    views.save(store.get());
    f.log.clear();
    views.load(store.get());
    QCOMPARE(f.log.linesWith(text("2 ")), QStringList());
}

void TestNodeViews::removedNodesLeaveEveryView()
{
    tst::Database f;
    f.insertPlain(text("a"));
    f.insertPlain(text("b"));
    NodeViews views(*f.db);
    const View one = appended(*views.root(), "one");
    const View two = appended(*one, "two");
    for (const View& view : { one, two, views.root() }) {
        for (const char* id : { "a", "b", "never known" })
            view->append(entry(text(id)));
    }
    f.db->acquire(text("a"));
    f.db->removeNode(text("a")); // put off
    QVERIFY(one->contains(text("a")));
    QVERIFY(views.holds(text("a")) && views.holds(two->id()) && !views.holds(text("c")));
    f.db->release(text("a"));
    QCOMPARE(tst::treeText(*views.root()),
        text("(one(two(b, never known), b, never known), b, never known)"));
    f.db->removeAllNodes();
    QCOMPARE(
        tst::treeText(*views.root()), text("(one(two(never known), never known), never known)"));
    NodeDB::freeDB(); // takes no node out of a view
    QCOMPARE(one->count(), 2);
}

void TestNodeViews::aNodeThatIsBackStays()
{
    tst::Database f;
    f.insertPlain(text("a"));
    NodeViews views(*f.db);
    views.root()->append(entry(text("a")));
    const std::unique_ptr<QThread> other(QThread::create([&] { f.db->removeNode(text("a")); }));
    other->start();
    QVERIFY(other->wait());
    f.insertPlain(text("a"));
    QCoreApplication::processEvents(); // hears only now of the removal
    QVERIFY(views.root()->contains(text("a")));
}

void TestNodeViews::slotsMayChangeWhatIsLoaded()
{
    tst::Database f;
    const auto store = openStore(text("memory:"));
    write(store.get(), text("A fav x"), { text("A:y") });
    NodeViews views(*f.db);
    views.root()->append(entry(text("fav")));
    connect(views.root().get(), &NodeView::contentsChanged, this, [&] {
        if (!views.root()->contains(text("fav")))
            views.root()->append(entry(text("fav")));
    });
    views.load(store.get());
    QCOMPARE(tst::treeText(*views.root()), text("(fav, a(y), x)"));
}

void TestNodeViews::changesAreAnnounced()
{
    tst::Database f;
    NodeViews views(*f.db);
    const QSignalSpy spy(&views, &NodeViews::changed);
    const View one = appended(*views.root(), "one");
    QCOMPARE(spy.size(), 1);
    const View two = appended(*one, "two");
    two->rename(text("new"));
    QCOMPARE(spy.size(), 3);
    QCOMPARE(views.removeEverywhere(two->id()), 1);
    QCOMPARE(spy.size(), 4);
    two->append(entry(text("a"))); // nothing to save
    views.root()->rename(text("is not saved"));
    views.root()->rename(QString());
    QCOMPARE(spy.size(), 4);
    appended(*one, "three");
    QCOMPARE(spy.size(), 5);
    QStringList seen;
    connect(&views, &NodeViews::changed, this, [&] { seen << tst::treeText(*views.root()); });
    const auto store = openStore(text("memory:"));
    views.load(store.get());
    views.load(store.get()); // from nothing to nothing
    write(store.get(), text("A x"), { text("A:y") });
    views.load(store.get());
    QCOMPARE(seen, QStringList({ text("()"), text("()"), text("(a(y), x)") })); // when all is done
}

QTEST_GUILESS_MAIN(TestNodeViews)
#include "tst_nodeviews.moc"
