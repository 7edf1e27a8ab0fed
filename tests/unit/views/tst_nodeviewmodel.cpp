// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "environments/environments.h"
#include "modelwatch.h"
#include "shared/calllogdestination.h"
#include "shared/databasefixture.h"
#include "shared/viewtext.h"
#include "views/nodeviewmodel.h"
#include "views/nodeviews.h"

#include <QIcon>
#include <QMimeData>
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

/** The tree site(gate(a, b), c), roof(c) on nodes a to d of names A to D. */
struct Site
{
    Site()
    {
        for (const char* id : { "a", "b", "c", "d" }) {
            auto* const made = new tst::DeviceNode(text(id), text("10.0.0.") + text(id));
            made->setName(text(id).toUpper());
            f.db->insertNode(made);
        }
        for (const char* id : { "a", "b" })
            gate->append(entry(text(id)));
        site->append(entry(text("c")));
        roof->append(entry(text("c")));
        rowText(model); // reads everything
        watch.take();
    }

    /** Drags rows by name and drops them before `row` of `target`. */
    bool drop(const QStringList& names, const char* target, int row = -1,
        Qt::DropAction action = Qt::MoveAction)
    {
        const std::unique_ptr<QMimeData> data(drag(names));
        const QModelIndex parent = rowOf(model, target);
        const bool isOffered = model.canDropMimeData(data.get(), action, row, 0, parent);
        const QString before = rowText(model);
        const bool isDone = model.dropMimeData(data.get(), action, row, 0, parent);
        if (isDone != isOffered || (!isDone && rowText(model) != before))
            qFatal("a drop is offered: %d, done: %d", isOffered, isDone);
        return isDone;
    }

    QMimeData* drag(const QStringList& names)
    {
        QModelIndexList rows;
        for (const QString& name : names)
            rows.append(rowOf(model, name.toUtf8().constData()));
        return model.mimeData(rows);
    }

    void rename(const char* id, const char* name)
    {
        Node* const copy = f.db->beginUpdateNode(text(id), 0);
        copy->setName(text(name));
        f.db->endUpdateNode(copy);
    }

    tst::Database f;
    NodeViews views{ *f.db };
    View site = appended(*views.root(), "site");
    View gate = appended(*site, "gate");
    View roof = appended(*views.root(), "roof");
    NodeViewModel model{ *f.db, views.root() };
    tst::ModelWatch watch{ &model };
};

const QString k_start = QStringLiteral("site(gate(A, B), C), roof(C)");

} // namespace

class TestNodeViewModel : public QObject
{
    Q_OBJECT

private slots:
    void rowsTellOfNodesAndViews();
    void theFolderIconIsInTheLibrary();
    void nodesAreFollowedRowByRow();
    void viewsAreFollowedRowByRow();
    void removedNodesAreGoneAtOnce();
    void changesInsideOfSignalsAreFollowed();
    void onlyWhatIsAskedForIsRead();
    void loadingAgainShowsTheNewViews();
    void dropsMoveAndCopy();
    void dropsThatMustNotBeAreNotOffered();
    void nodesRemovedWhileDraggedStayAway();
    void dragsFromElsewhere();
};

void TestNodeViewModel::rowsTellOfNodesAndViews()
{
    Site s;
    QCOMPARE(rowText(s.model), k_start);
    const QModelIndex gate = rowOf(s.model, "gate");
    QCOMPARE(gate.data(eIsViewRole).toBool(), true);
    QCOMPARE(gate.data(eEntryIdRole).toString(), s.gate->id());
    QVERIFY(s.model.setData(gate, text("  Main gate ")));
    QCOMPARE(s.gate->name(), text("Main gate"));
    QVERIFY(!s.model.setData(gate, text(" ")));
    const QModelIndex a = rowOf(s.model, "A");
    QVERIFY(!s.model.setData(a, text("x")));
    QCOMPARE(a.data(eAddressRole).toString(), text("10.0.0.a"));
    QCOMPARE(a.data(eNodeTypeRole).toInt(), int(tst::k_deviceType));
    s.gate->append(entry(text("z")));
    const QModelIndex z = rowOf(s.model, "z");
    QVERIFY(z.data(eIsMissingRole).toBool());
    s.f.insertPlain(text("z"));
    QVERIFY(!z.data(eIsMissingRole).toBool());
    QCOMPARE(z.data().toString(), text("name of z"));
    QCOMPARE(z.data(eMacRole).toString(), QString());
    QCOMPARE(s.model.viewAt(gate), s.gate);
    QVERIFY(s.model.viewAt(a).null());
    QCOMPARE(s.model.indexesOf(text("c")).size(), 2);
    NodeDB::freeDB();
    QVERIFY(a.data(eIsMissingRole).toBool());
}

void TestNodeViewModel::theFolderIconIsInTheLibrary()
{
    Site s;
    const QImage image(text(":/icons/folder_16.png"));
    QCOMPARE(image.size(), QSize(16, 16));
    const auto icon = rowOf(s.model, "gate").data(Qt::DecorationRole).value<QIcon>();
    QCOMPARE(icon.pixmap(16, 16).toImage().convertToFormat(QImage::Format_ARGB32),
        image.convertToFormat(QImage::Format_ARGB32));
}

void TestNodeViewModel::nodesAreFollowedRowByRow()
{
    Site s;
    s.rename("b", "New");
    QCOMPARE(s.watch.take(), text("data 1-1"));
    s.rename("c", "Twice");
    QCOMPARE(s.watch.take().count(text("data")), 2);
    s.rename("d", "Nowhere");
    QCOMPARE(s.watch.take(), QString());
    const QModelIndex a = rowOf(s.model, "A");
    const QString home = s.f.db->environments()->add(text("home"));
    Node* const copy = s.f.db->beginUpdateNode(text("a"), 0);
    s.f.db->setActiveEnvironment(home);
    static_cast<IPDeviceNode*>(copy)->setHostAddress(text("192.168.0.9"));
    s.f.db->endUpdateNode(copy);
    QCoreApplication::processEvents();
    s.watch.take();
    QCOMPARE(a.data(eAddressRole).toString(), text("192.168.0.9"));
    s.f.db->setActiveEnvironment(s.f.db->environments()->getList().first().first);
    QCoreApplication::processEvents();
    QVERIFY(s.watch.take().contains(text("data 0-0")));
    QCOMPARE(a.data(eAddressRole).toString(), text("10.0.0.a"));
    s.f.db->addNodeRelation(text("x"), text("b"), eDeviceToRecordingFolder);
    s.f.db->addNodeRelation(text("x"), text("b"), eRecordingFolderToDevice);
    QCOMPARE(s.watch.take(), text("data 1-1"));
    QVERIFY(rowOf(s.model, "New").data(eIsRelationDestinationRole).toBool());
}

void TestNodeViewModel::viewsAreFollowedRowByRow()
{
    Site s;
    s.gate->insert(1, entry(text("d")));
    QCOMPARE(s.watch.take(), text("inserted 1-1"));
    s.gate->move(text("a"), 3);
    QCOMPARE(s.watch.take(), text("moved 0>3"));
    s.gate->move(text("a"), 0);
    QCOMPARE(s.watch.take(), text("moved 2>0"));
    s.roof->append(s.gate);
    QCOMPARE(s.watch.take(), text("inserted 1-1"));
    QCOMPARE(rowText(s.model), text("site(gate(A, D, B), C), roof(C, gate(A, D, B))"));
    s.gate->remove(text("d"));
    QCOMPARE(s.watch.take(), text("removed 1-1, removed 1-1")); // at both places
    s.gate->rename(text("door"));
    QCOMPARE(s.watch.take().count(text("data")), 2);
    s.site->remove(s.gate->id());
    s.views.root()->remove(s.roof->id());
    QCOMPARE(s.watch.take(), text("removed 0-0, removed 1-1"));
    s.gate->append(entry(text("d"))); // stands nowhere now
    s.gate->rename(text("nowhere"));
    QCOMPARE(s.watch.take(), QString());
    s.site->append(s.gate);
    QCOMPARE(rowText(s.model), text("site(C, nowhere(A, B, D))"));
    s.watch.take();
    s.gate->rename(text("back"));
    QCOMPARE(s.watch.take(), text("data 1-1"));
    QCOMPARE(s.watch.resets(), 0);
}

void TestNodeViewModel::removedNodesAreGoneAtOnce()
{
    Site s;
    s.f.db->removeNode(text("c"));
    QCOMPARE(rowText(s.model), text("site(gate(A, B)), roof()"));
    // A view that no list of views looks after keeps its entry, shown as missing.
    const View alone(new NodeView(text("alone")));
    alone->append(entry(text("a")));
    NodeViewModel model(*s.f.db, alone);
    QCOMPARE(rowText(model), text("A"));
    tst::ModelWatch watch(&model);
    s.f.db->removeNode(text("a"));
    QCOMPARE(watch.take(), text("data 0-0"));
    QCOMPARE(rowText(model), text("a"));
    QCOMPARE(rowText(s.model), text("site(gate(B)), roof()"));
}

void TestNodeViewModel::changesInsideOfSignalsAreFollowed()
{
    Site s;
    const View busy(new NodeView(text("busy")));
    // Heard before the model hears it: the model is told of the second change first.
    connect(busy.get(), &NodeView::entryInserted, this, [&] {
        if (!busy->contains(text("b")))
            busy->insert(0, entry(text("b")));
    });
    s.views.root()->append(busy);
    rowText(s.model);
    busy->append(entry(text("a")));
    QCOMPARE(rowText(s.model), text("site(gate(A, B), C), roof(C), busy(B, A)"));
    // And from inside of the model's own signals: more than one change, told as one.
    connect(&s.model, &QAbstractItemModel::rowsAboutToBeRemoved, busy.get(), [&] {
        if (!busy->contains(text("b")))
            return;
        busy->remove(text("b"));
        s.gate->move(text("a"), 2);
        s.gate->insert(1, entry(text("c")));
        s.gate->insert(2, entry(text("d")));
        s.rename("a", "New");
    });
    busy->remove(text("a"));
    QCOMPARE(rowText(s.model), text("site(gate(B, C, D, New), C), roof(C), busy()"));
    // A change that is read before it is told of.
    s.watch.take();
    s.gate->disconnect(&s.model);
    s.gate->rename(text("unheard"));
    QCOMPARE(s.watch.take(), QString());
    QVERIFY(rowText(s.model).contains(text("gate(")));
}

void TestNodeViewModel::onlyWhatIsAskedForIsRead()
{
    tst::Database f;
    View below(new NodeView(text("end")));
    for (int i = 0; i < 100; ++i) { // 2^100 ways
        const View one(new NodeView(QString::number(i)));
        const View other(new NodeView(QString::number(i)));
        const View above(new NodeView(text("both")));
        for (const View& view : { one, other }) {
            view->append(below);
            above->append(view);
        }
        below = above;
    }
    NodeViewModel model(*f.db, below);
    QModelIndex index;
    int depth = 0;
    for (; model.rowCount(index) > 0; ++depth)
        index = model.index(model.rowCount(index) - 1, 0, index);
    QCOMPARE(depth, 200);
    QVERIFY(model.indexesOf(index.data(eEntryIdRole).toString()).size() < 3);
}

void TestNodeViewModel::loadingAgainShowsTheNewViews()
{
    Site s;
    tst::CallLogDestination nothing;
    s.views.load(&nothing);
    QCOMPARE(rowText(s.model), QString());
    QVERIFY(!s.watch.take().isEmpty());
    const View same(new NodeView(s.site->id(), text("site")));
    s.views.root()->append(same);
    same->append(entry(text("a")));
    QCOMPARE(rowText(s.model), text("site(A)"));
    QCOMPARE(s.watch.resets(), 0);
}

void TestNodeViewModel::dropsMoveAndCopy()
{
    Site s;
    QVERIFY(s.drop({ text("A") }, "gate", 2)); // within
    QCOMPARE(rowText(s.model), text("site(gate(B, A), C), roof(C)"));
    QVERIFY(s.drop({ text("A"), text("B") }, "roof", 0));
    QCOMPARE(rowText(s.model), text("site(gate(), C), roof(A, B, C)"));
    QVERIFY(s.drop({ text("B"), text("A") }, "gate", -1, Qt::CopyAction));
    QCOMPARE(rowText(s.model), text("site(gate(B, A), C), roof(A, B, C)"));
    QVERIFY(s.drop({ text("gate"), text("B") }, "roof")); // the B in gate comes with gate
    QCOMPARE(rowText(s.model), text("site(C), roof(A, B, C, gate(B, A))"));
    QVERIFY(s.drop({ text("gate") }, "site", 0, Qt::CopyAction)); // one view, at two places
    QCOMPARE(s.gate->containers().size(), 2);
    QVERIFY(s.drop({ text("gate") }, "nowhere of this name")); // the top
    QCOMPARE(rowText(s.model), text("site(C), roof(A, B, C, gate(B, A)), gate(B, A)"));
    // What stands at the target already is taken away where it was.
    QVERIFY(s.drop({ text("C") }, "roof"));
    QCOMPARE(rowText(s.model), text("site(), roof(A, B, C, gate(B, A)), gate(B, A)"));
    QCOMPARE(s.watch.resets(), 0);
}

void TestNodeViewModel::dropsThatMustNotBeAreNotOffered()
{
    Site s;
    for (const char* target : { "gate", "site" })
        QVERIFY(!s.drop({ text("site") }, target));
    QVERIFY(!s.drop({ text("C"), text("site") }, "gate")); // all or nothing
    QVERIFY(!s.drop({ text("C") }, "A")); // a node holds nothing
    QVERIFY(!s.drop({ text("C") }, "roof", 0, Qt::CopyAction)); // stands there
    QVERIFY(!s.drop({ text("A") }, "roof", 0, Qt::LinkAction));
    QCOMPARE(rowText(s.model), k_start);
    QVERIFY(!s.model.flags(rowOf(s.model, "A")).testFlag(Qt::ItemIsDropEnabled));
    QVERIFY(s.model.mimeData({}) == nullptr);
    QVERIFY(!s.model.canDropMimeData(nullptr, Qt::MoveAction, 0, 0, {}));
    // A view that has the id of a node which stands at the target.
    const View twin(new NodeView(text("c"), text("twin")));
    twin->append(entry(text("d")));
    s.gate->append(twin);
    twin->remove(text("d")); // told of the view, not of the nodes of that id
    QCOMPARE(rowText(s.model), text("site(gate(A, B, twin()), C), roof(C)"));
    twin->append(entry(text("d")));
    QVERIFY(!s.drop({ text("twin") }, "roof"));
    QVERIFY(s.gate->contains(text("c")));
}

void TestNodeViewModel::nodesRemovedWhileDraggedStayAway()
{
    Site s;
    const std::unique_ptr<QMimeData> both(s.drag({ text("A"), text("B") }));
    s.f.db->removeNode(text("a"));
    const QModelIndex roof = rowOf(s.model, "roof");
    QVERIFY(s.model.dropMimeData(both.get(), Qt::MoveAction, 0, 0, roof));
    QCOMPARE(rowText(s.model), text("site(gate(), C), roof(B, C)"));
    const std::unique_ptr<QMimeData> gate(s.drag({ text("gate") }));
    s.site->remove(s.gate->id());
    s.gate.reset();
    QVERIFY(!s.model.canDropMimeData(gate.get(), Qt::MoveAction, 0, 0, roof));
    QVERIFY(!s.model.dropMimeData(gate.get(), Qt::MoveAction, 0, 0, roof));
}

void TestNodeViewModel::dragsFromElsewhere()
{
    Site s;
    const std::unique_ptr<QMimeData> own(s.drag({ text("gate"), text("C") }));
    QCOMPARE(own->formats(),
        QStringList({ text("application/view-id"), text("application/source-id") }));
    QCOMPARE(own->data(text("application/source-id")), QByteArray("c"));
    QMimeData foreign; // as another process would bring it
    foreign.setData(text("application/source-id"), "d\nunknown\n\na");
    foreign.setData(text("application/view-id"), s.gate->id().toUtf8() + "\nunknown");
    const QModelIndex roof = rowOf(s.model, "roof");
    QVERIFY(s.model.dropMimeData(&foreign, Qt::MoveAction, 1, 0, roof));
    QCOMPARE(rowText(s.model), text("site(gate(A, B), C), roof(C, gate(A, B), D, A)"));
    foreign.setData(text("application/view-id"), s.site->id().toUtf8());
    QVERIFY(!s.model.canDropMimeData(&foreign, Qt::CopyAction, 0, 0, rowOf(s.model, "gate")));
    QMimeData nothing;
    nothing.setText(text("d"));
    QVERIFY(!s.model.canDropMimeData(&nothing, Qt::CopyAction, 0, 0, roof));
}

QTEST_MAIN(TestNodeViewModel)
#include "tst_nodeviewmodel.moc"
