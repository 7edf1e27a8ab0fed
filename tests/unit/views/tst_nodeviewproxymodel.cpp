// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "modelwatch.h"
#include "shared/databasefixture.h"
#include "shared/viewtext.h"
#include "views/nodeviewmodel.h"
#include "views/nodeviewproxymodel.h"
#include "views/nodeviews.h"

#include <QMimeData>
#include <QSignalSpy>
#include <QTest>

#include <memory>

using namespace tq;
using tst::appended;
using tst::entry;
using tst::rowOf;
using tst::rowText;
using tst::text;
using View = tqm::smart<NodeView>;

namespace {

struct Shown
{
    /** Makes a node with this name and puts it into a view. */
    tst::DeviceNode* add(NodeView& view, const char* id, const char* name)
    {
        auto* const node = new tst::DeviceNode(text(id));
        node->setName(text(name));
        f.db->insertNode(node);
        view.append(entry(text(id)));
        return node;
    }

    QString after(const char* filter)
    {
        proxy.setFilterText(text(filter));
        return rowText(proxy);
    }

    /** Returns what is shown once everything is done that waits for the event loop. */
    QString settled()
    {
        QCoreApplication::processEvents();
        return rowText(proxy);
    }

    template <class Change>
    void edit(const char* id, Change change)
    {
        auto* const copy = static_cast<IPDeviceNode*>(f.db->beginUpdateNode(text(id), 0));
        change(*copy);
        f.db->endUpdateNode(copy);
    }

    tst::Database f;
    NodeViews views{ *f.db };
    NodeView& root{ *views.root() };
    NodeViewModel model{ *f.db, views.root() };
    NodeViewProxyModel proxy{ model };
    tst::ModelWatch watch{ &proxy };
};

} // namespace

class TestNodeViewProxyModel : public QObject
{
    Q_OBJECT

private slots:
    void viewsComeFirstAndNumbersCountByValue();
    void namesAreSortedAsTheLocaleHasIt();
    void recordingFoldersOfDevicesAreHidden();
    void everyFieldIsSearched();
    void theWayToAMatchStays();
    void aFilteredTreeFollows();
    void giantGraphsAreFilteredInTime();
    void whetherThereIsMoreIsToldWithoutReading();
    void aViewThatNobodyReadTellsOfItsEnd();
    void dropsGoThrough();
    void nodesInNoViewHaveARow();
    void switchingInsideOfSignals();
    void manyNodesInNoViewAreFollowedInTime();
    void nodesThatThrowAreShown();
};

void TestNodeViewProxyModel::viewsComeFirstAndNumbersCountByValue()
{
    Shown s;
    s.add(s.root, "1", "Gate 10");
    s.add(s.root, "2", "gate 9");
    appended(s.root, "yard 11");
    appended(s.root, "Yard 2");
    QCOMPARE(rowText(s.proxy), text("Yard 2(), yard 11(), gate 9, Gate 10"));
    s.proxy.sort(0, Qt::DescendingOrder);
    QCOMPARE(rowText(s.proxy), text("yard 11(), Yard 2(), Gate 10, gate 9"));
    s.proxy.sort(-1);
    QCOMPARE(rowText(s.proxy), text("Gate 10, gate 9, yard 11(), Yard 2()"));
    s.proxy.sort(0);
    s.edit("1", [](Node& node) { node.setName(text("gate 1")); });
    QCOMPARE(rowText(s.proxy), text("Yard 2(), yard 11(), gate 1, gate 9"));
    QCOMPARE(s.watch.resets(), 0);
}

void TestNodeViewProxyModel::namesAreSortedAsTheLocaleHasIt()
{
    Shown s;
    for (const char* name : { "Zaun", "\u00c4cker", "Anlage", "Tor" })
        appended(s.root, name);
    s.proxy.setLocale(QLocale(QLocale::German));
    QCOMPARE(rowText(s.proxy), text("\u00c4cker(), Anlage(), Tor(), Zaun()"));
    s.proxy.setLocale(QLocale(QLocale::Swedish)); // the same letter comes last there
    QCOMPARE(rowText(s.proxy), text("Anlage(), Tor(), Zaun(), \u00c4cker()"));
}

void TestNodeViewProxyModel::recordingFoldersOfDevicesAreHidden()
{
    Shown s;
    const View view = appended(s.root, "v");
    s.add(*view, "a", "A");
    s.add(*view, "rec", "Folder");
    QCOMPARE(rowText(s.proxy), text("v(A, Folder)"));
    s.watch.take();
    s.f.db->addNodeRelation(text("rec"), text("a"), eRecordingFolderToDevice);
    QCOMPARE(s.watch.take(), QString());
    s.f.db->addNodeRelation(text("a"), text("rec"), eDeviceToRecordingFolder);
    s.f.db->addNodeRelation(text("b"), text("rec"), eDeviceToRecordingFolder);
    QCOMPARE(s.watch.take(), text("removed 1-1"));
    s.f.db->removeNodeRelation(text("b"), text("rec"), eDeviceToRecordingFolder);
    QCOMPARE(rowText(s.proxy), text("v(A)"));
    s.f.db->removeNode(text("a"));
    QCOMPARE(rowText(s.proxy), text("v(Folder)"));
    QCOMPARE(s.watch.resets(), 0);
}

void TestNodeViewProxyModel::everyFieldIsSearched()
{
    Shown s;
    s.add(s.root, "1", "North gate");
    s.add(s.root, "2", "South gate");
    s.edit("1", [](IPDeviceNode& node) {
        node.setHostAddress(text("10.0.0.7"));
        node.setMac(MACAddress(text("02:00:00:00:0A:01")));
        node.setModelInfo(text("Box 3"));
        node.setNote(text("needs a ladder"));
    });
    s.root.append(entry(text("mac:never-known")));
    for (const char* found :
        { "north", "0.0.7", "00:0a:01", "02000000", "box 3", "LADDER", " gate  10.0 ladder " })
        QCOMPARE(s.after(found), text("North gate"));
    QCOMPARE(s.after("gate"), text("North gate, South gate"));
    QCOMPARE(s.after("never-known"), text("mac:never-known"));
    QCOMPARE(s.after("gate box ladder west"), QString());
    QCOMPARE(s.after(" "), text("mac:never-known, North gate, South gate"));
    QCOMPARE(s.watch.resets(), 0);
}

void TestNodeViewProxyModel::theWayToAMatchStays()
{
    Shown s;
    const View site = appended(s.root, "site");
    const View gate = appended(*site, "gate");
    const View roof = appended(s.root, "roof");
    s.add(*gate, "a", "Alpha");
    s.add(*roof, "r", "Folder of Alpha");
    s.f.db->addNodeRelation(text("a"), text("r"), eDeviceToRecordingFolder);
    QCOMPARE(s.after("alpha"), text("site(gate(Alpha))")); // a hidden match is none
    QCOMPARE(s.after("gate"), text("site(gate())"));
    QCOMPARE(s.after("roof"), text("roof()"));
    roof->append(gate);
    QCOMPARE(s.after("alpha"), text("roof(gate(Alpha)), site(gate(Alpha))"));
    QCOMPARE(s.after(""), text("roof(gate(Alpha)), site(gate(Alpha))"));
}

void TestNodeViewProxyModel::aFilteredTreeFollows()
{
    Shown s;
    const View site = appended(s.root, "site");
    const View gate = appended(*site, "gate");
    s.add(*gate, "a", "Alpha");
    s.add(*site, "b", "Beta");
    QCOMPARE(s.after("beta"), text("site(Beta)"));
    s.edit("a", [](Node& node) { node.setNote(text("like Beta")); });
    QCOMPARE(s.settled(), text("site(gate(Alpha), Beta)"));
    s.f.db->removeNode(text("b"));
    s.f.db->addNodeRelation(text("x"), text("a"), eDeviceToRecordingFolder);
    QCOMPARE(s.settled(), QString());
    s.f.db->removeNodeRelation(text("x"), text("a"), eDeviceToRecordingFolder);
    QCOMPARE(s.settled(), text("site(gate(Alpha))"));
    site->remove(gate->id());
    QCOMPARE(s.settled(), QString());
    gate->append(entry(text("beta")));
    s.root.append(gate);
    QCOMPARE(s.settled(), text("gate(Alpha, beta)"));
    gate->rename(text("g"));
    site->rename(text("the beta site"));
    QCOMPARE(s.settled(), text("g(Alpha, beta), the beta site()"));
    QCOMPARE(s.watch.resets(), 0);
}

void TestNodeViewProxyModel::giantGraphsAreFilteredInTime()
{
    Shown s;
    View above = appended(s.root, "first");
    for (int i = 0; i < 100; ++i) { // 2^100 ways
        const View left = appended(*above, "left");
        const View right = appended(*above, "right");
        above = appended(*left, "next");
        right->append(above);
    }
    s.add(*above, "x", "Needle");
    s.proxy.setFilterText(text("needle"));
    QModelIndex index;
    while (s.proxy.rowCount(index) > 0)
        index = s.proxy.index(0, 0, index);
    QCOMPARE(index.data().toString(), text("Needle"));
    s.f.db->removeNode(text("x"));
    QCoreApplication::processEvents();
    QCOMPARE(s.proxy.rowCount(), 0);
}

void TestNodeViewProxyModel::whetherThereIsMoreIsToldWithoutReading()
{
    // A tree asks this of every row: reading for it would be one level too many of all.
    tst::Database f;
    const View top(new NodeView(text("top")));
    const View low(new NodeView(text("low")));
    const View leaf(new NodeView(text("leaf")));
    top->append(low);
    low->append(leaf);
    leaf->append(entry(text("needle")));
    NodeViewModel model(*f.db, top);
    NodeViewProxyModel proxy(model); // without a watch, which would look at every row
    for (const char* filter : { "", "needle" }) {
        proxy.setFilterText(text(filter));
        QVERIFY(proxy.hasChildren(proxy.index(0, 0)));
        QVERIFY(model.hasChildren(model.index(0, 0)));
        QVERIFY(model.indexesOf(leaf->id()).isEmpty());
    }
    proxy.setFilterText(text("low"));
    QVERIFY(!proxy.hasChildren(proxy.index(0, 0)));
    proxy.setFilterText(QString());
    const QModelIndex last = proxy.index(0, 0, proxy.index(0, 0));
    QVERIFY(proxy.hasChildren(last));
    f.db->addNodeRelation(text("x"), text("needle"), eDeviceToRecordingFolder);
    QVERIFY(!proxy.hasChildren(last)); // it is hidden
}

void TestNodeViewProxyModel::aViewThatNobodyReadTellsOfItsEnd()
{
    Shown s;
    const View view = appended(s.root, "view");
    s.add(*view, "a", "A");
    NodeViewModel model(*s.f.db, s.views.root());
    QVERIFY(model.hasChildren(model.index(0, 0)));
    const QSignalSpy removed(&model, &NodeViewModel::rowsRemoved);
    view->remove(text("a"));
    QCOMPARE(removed.size(), 1);
    QVERIFY(!model.hasChildren(model.index(0, 0)));
}

void TestNodeViewProxyModel::dropsGoThrough()
{
    Shown s;
    const View b = appended(s.root, "b");
    const View a = appended(s.root, "a");
    s.add(*b, "1", "One");
    QCOMPARE(rowText(s.proxy), text("a(), b(One)"));
    const std::unique_ptr<QMimeData> one(s.proxy.mimeData({ rowOf(s.proxy, "One") }));
    const QModelIndex target = rowOf(s.proxy, "a");
    QVERIFY(s.proxy.canDropMimeData(one.get(), Qt::MoveAction, -1, -1, target));
    QVERIFY(s.proxy.dropMimeData(one.get(), Qt::MoveAction, -1, -1, target));
    QCOMPARE(rowText(s.proxy), text("a(One), b()"));
    const std::unique_ptr<QMimeData> view(s.proxy.mimeData({ target }));
    QVERIFY(!s.proxy.canDropMimeData(view.get(), Qt::MoveAction, -1, -1, target));
}

void TestNodeViewProxyModel::nodesInNoViewHaveARow()
{
    Shown s;
    const View yard = appended(s.root, "yard");
    const View beyond(new NodeView(text("beyond"))); // stands nowhere
    s.add(*beyond, "9", "Gate 9");
    s.add(*beyond, "1", "gate 10");
    s.add(*yard, "y", "Lamp");
    s.model.setShowsUnplacedNodes(true);
    QCOMPARE(rowText(s.model), text("yard(Lamp), Not in a view(gate 10, Gate 9)"));
    QCOMPARE(rowText(s.proxy), text("Not in a view(Gate 9, gate 10), yard(Lamp)"));
    s.edit("9", [](Node& node) { node.setName(text("gate 11")); });
    s.f.insertPlain(text("rec"));
    s.f.db->addNodeRelation(text("y"), text("rec"), eDeviceToRecordingFolder);
    yard->remove(text("y"));
    QCOMPARE(rowText(s.proxy), text("Not in a view(gate 10, gate 11, Lamp), yard()"));
    QCOMPARE(s.after("lamp"), text("Not in a view(Lamp)"));
    QCOMPARE(s.after("view"), QString()); // it has no name to be found by
    s.f.insertPlain(text("view"));
    QCOMPARE(s.settled(), text("Not in a view(name of view)"));
    s.after("");
    const QModelIndex row = rowOf(s.proxy, "Not in a view");
    const std::unique_ptr<QMimeData> data(
        s.proxy.mimeData({ row, rowOf(s.proxy, "gate 10"), rowOf(s.proxy, "Lamp") }));
    QCOMPARE(data->data(text("application/source-id")), QByteArray("1\ny"));
    QVERIFY(!s.proxy.canDropMimeData(data.get(), Qt::MoveAction, -1, -1, row));
    s.proxy.dropMimeData(data.get(), Qt::MoveAction, -1, -1, rowOf(s.proxy, "yard"));
    QCOMPARE(rowText(s.proxy), text("Not in a view(gate 11, name of view), yard(gate 10, Lamp)"));
    beyond->append(yard); // still below the root, too
    s.root.append(beyond);
    s.f.db->removeNode(text("view"));
    QCOMPARE(rowText(s.proxy),
        text("beyond(yard(gate 10, Lamp), gate 10, gate 11), yard(gate 10, Lamp)"));
    s.root.remove(beyond->id());
    QCOMPARE(rowText(s.proxy), text("Not in a view(gate 11), yard(gate 10, Lamp)"));
    s.model.setShowsUnplacedNodes(false);
    QCOMPARE(rowText(s.proxy), text("yard(gate 10, Lamp)"));
    QCOMPARE(s.watch.resets(), 0);
}

void TestNodeViewProxyModel::switchingInsideOfSignals()
{
    Shown s;
    const View yard = appended(s.root, "yard");
    s.add(*yard, "a", "A");
    s.add(*yard, "b", "B");
    s.model.setShowsUnplacedNodes(true);
    // Heard before the rows hear it.
    connect(yard.get(), &NodeView::entryInserted, this, [&] {
        if (yard->count() == 1)
            yard->insert(0, entry(text("a")));
    });
    connect(&s.model, &NodeViewModel::rowsInserted, this, [&](const QModelIndex& parent) {
        if (parent.data() == QVariant(text("Not in a view")))
            s.model.setShowsUnplacedNodes(false);
    });
    yard->remove(text("a"));
    QCOMPARE(rowText(s.proxy), text("Not in a view(A), yard(B)"));
    yard->remove(text("b"));
    QCOMPARE(rowText(s.proxy), text("yard()"));
    s.model.setShowsUnplacedNodes(true);
    yard->append(entry(text("b")));
    QCOMPARE(rowText(s.proxy), text("yard(A, B)"));
}

void TestNodeViewProxyModel::manyNodesInNoViewAreFollowedInTime()
{
    constexpr int k_nodes = 10000;
    tst::Database f;
    NodeViews views(*f.db);
    NodeViewModel model(*f.db, views.root());
    NodeViewProxyModel proxy(model); // without a watch, which would look at every row
    model.setShowsUnplacedNodes(true);
    const View all(new NodeView(text("all")));
    for (int i = 0; i < k_nodes; ++i) {
        const QString id = QString::number(i * 7919LL % k_nodes);
        f.insertPlain(id);
        all->append(entry(id));
    }
    QCOMPARE(proxy.rowCount(proxy.index(0, 0)), k_nodes);
    views.root()->append(all);
    views.root()->remove(all->id());
    QCOMPARE(proxy.rowCount(proxy.index(0, 0)), k_nodes);
}

void TestNodeViewProxyModel::nodesThatThrowAreShown()
{
    Shown s;
    s.model.setShowsUnplacedNodes(true);
    auto* const node = new tst::PlainNode(text("odd"));
    node->setNote(text("ladder"));
    node->onName = [] { throw 7; };
    s.f.db->insertNode(node);
    s.add(s.root, "1", "One");
    QCOMPARE(rowText(s.proxy), text("Not in a view(odd), One"));
    for (const char* found : { "odd", "ladder" })
        QCOMPARE(s.after(found), text("Not in a view(odd)"));
    for (int role = 0; role <= eNoteRole; ++role)
        rowOf(s.proxy, "odd").data(role);
    QVERIFY(!s.f.log.linesWith(text("A plug-in threw in the getters of a node")).isEmpty());
}

QTEST_MAIN(TestNodeViewProxyModel)
#include "tst_nodeviewproxymodel.moc"
