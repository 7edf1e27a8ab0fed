// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "shared/databasefixture.h"
#include "shared/viewtext.h"

#include "platform/exceptions.h"

#include <QTest>
#include <QUuid>

using namespace tq;
using tst::text;
using View = tqm::smart<NodeView>;

namespace {

View made(const char* name, const QList<NodeView::Entry>& entries = {})
{
    const View view(new NodeView(text(name), text(name)));
    for (const NodeView::Entry& entry : entries)
        view->append(entry);
    return view;
}

NodeView::Entry node(const char* id)
{
    return tst::entry(text(id));
}

QString ids(const NodeView& view)
{
    QStringList result;
    for (const NodeView::Entry& entry : view.entries())
        result.append(entry->id());
    return result.join(QLatin1Char(' '));
}

/** Returns "value: message" of the exception that `call` throws; empty when it throws none. */
template <class Call>
QString refusal(Call call)
{
    try {
        call();
    } catch (const IllegalArgumentException& e) {
        return e.value() + QStringLiteral(": ") + e.message();
    }
    return QString();
}

} // namespace

class TestNodeView : public QObject
{
    Q_OBJECT

private slots:
    void idsAreUuidsAndHandlesTellWhatStandsThere();
    void entriesKeepTheirOrder();
    void everyChangeIsAnnounced();
    void unknownEntriesAreRefusedByName();
    void cyclesAreRefused();
    void depthIsBounded();
    void aGraphOfManyWaysIsLookedAtOnce();
    void aSlotMayLetTheViewGo();
};

void TestNodeView::idsAreUuidsAndHandlesTellWhatStandsThere()
{
    const View view(new NodeView(text("Yard")));
    QVERIFY(!QUuid::fromString(view->id()).isNull());
    QCOMPARE(view->id(), QUuid::fromString(view->id()).toString(QUuid::WithBraces));
    view->append(node("a"));
    const View inner = made("inner");
    view->append(inner);
    QCOMPARE(tqm::smart<NodeEntry>(view->find(text("a")))->id(), text("a"));
    QVERIFY(tqm::smart<NodeView>(view->find(text("a"))).null());
    QCOMPARE(tqm::smart<NodeView>(view->find(text("inner"))), inner);
    QCOMPARE(inner->containers(), QList<NodeView*>{ view.get() });
}

void TestNodeView::entriesKeepTheirOrder()
{
    const View view = made("v", { node("b"), node("d") });
    QVERIFY(view->insert(-5, node("a")));
    QVERIFY(view->insert(2, node("c")));
    QVERIFY(view->insert(99, node("e")));
    QVERIFY(!view->insert(0, node("c"))); // stands there already
    QVERIFY(!view->insert(0, node("")));
    QVERIFY(!view->insert(0, nullptr));
    QCOMPARE(ids(*view), text("a b c d e"));
    view->move(text("a"), 3);
    QCOMPARE(ids(*view), text("b c a d e"));
    view->move(text("e"), 0);
    QCOMPARE(ids(*view), text("e b c a d"));
    view->move(text("b"), 99);
    QCOMPARE(ids(*view), text("e c a d b"));
    QCOMPARE(view->indexOf(text("a")), 2);
    const View first = made("first");
    const View second = made("second");
    {
        const View other = made("other", { first, second });
        QCOMPARE(other->views(), QList<View>({ first, second }));
        other->move(text("first"), 2);
        QCOMPARE(other->views(), QList<View>({ second, first }));
    }
    QVERIFY(first->containers().isEmpty()); // it went
    view->remove(text("a"));
    QCOMPARE(ids(*view), text("e c d b"));
    QVERIFY(!view->contains(text("a")));
    QVERIFY(view->append(node("a")));
}

void TestNodeView::everyChangeIsAnnounced()
{
    const View inner = made("inner");
    const View outer = made("outer", { inner });
    const View other = made("other", { inner, outer });
    tst::SignalTrace signals_(inner.get());
    tst::SignalTrace above(other.get());
    inner->append(node("a"));
    inner->append(node("b"));
    inner->move(text("a"), 2);
    inner->move(text("a"), 1); // there already
    inner->remove(text("b"));
    inner->rename(text("new"));
    inner->rename(text("new"));
    const QString contents = text("contentsChanged(inner)");
    QCOMPARE(signals_.take(),
        QStringList({ text("entryInserted(inner,0)"), contents, text("entryInserted(inner,1)"),
            contents, text("entryMoved(inner,0,1)"), contents, text("entryRemoved(inner,0,b)"),
            contents, text("renamed(inner)"), contents }));
    QCOMPARE(above.take(), QStringList(5, text("contentsChanged(other)"))); // once by two ways
    outer->remove(text("inner"));
    other->remove(text("inner"));
    above.take();
    inner->rename(text("out"));
    QCOMPARE(above.take(), QStringList());
}

void TestNodeView::unknownEntriesAreRefusedByName()
{
    const View view = made("Yard", { node("a") });
    const QString refused = text("x: Not found in Yard.");
    QCOMPARE(refusal([&] { view->find(text("x")); }), refused);
    QCOMPARE(refusal([&] { view->remove(text("x")); }), refused);
    QCOMPARE(refusal([&] { view->move(text("x"), 0); }), refused);
    QCOMPARE(ids(*view), text("a"));
}

void TestNodeView::cyclesAreRefused()
{
    const View low = made("low");
    const View middle = made("middle", { low });
    const View top = made("top", { middle });
    const View side = made("side", { low });
    const auto refused = [](const char* id) {
        return text(id) + text(": Adding this view would lead to a cycle.");
    };
    QCOMPARE(refusal([&] { low->append(top); }), refused("top"));
    QCOMPARE(refusal([&] { low->insert(0, middle); }), refused("middle"));
    QCOMPARE(refusal([&] { low->append(low); }), refused("low"));
    QCOMPARE(refusal([&] { low->append(side); }), refused("side"));
    QCOMPARE(low->count(), 0);
    QVERIFY(low->containers().size() == 2 && top->containers().isEmpty());
    QVERIFY(top->append(low)); // two ways down are no cycle
    middle->remove(text("low"));
    QCOMPARE(refusal([&] { low->append(middle); }), QString());
    QCOMPARE(refusal([&] { middle->append(top); }), refused("top"));
}

void TestNodeView::depthIsBounded()
{
    tst::LogCapture log;
    QList<View> chain{ made("0") };
    for (int i = 1; i <= NodeView::k_mostLevels; ++i) {
        chain.append(made(QByteArray::number(i).constData()));
        QVERIFY(chain.at(i - 1)->append(chain.at(i)));
    }
    QVERIFY(chain.last()->append(node("a")));
    QVERIFY(!chain.last()->append(made("below")));
    const View above = made("above");
    QVERIFY(!above->append(chain.first()));
    QVERIFY(above->append(chain.at(1))); // one level less
    QVERIFY(!made("two above", { above })->contains(text("above")));
    QCOMPARE(log.linesWith(text("A view is not added, it would stand too deep: ")),
        QStringList({ text("2 A view is not added, it would stand too deep: below"),
            text("2 A view is not added, it would stand too deep: 0"),
            text("2 A view is not added, it would stand too deep: above") }));
}

void TestNodeView::aGraphOfManyWaysIsLookedAtOnce()
{
    // Two to the 120th ways from top to bottom.
    QList<View> left{ made("l0") };
    QList<View> right{ made("r0") };
    for (int i = 1; i <= 120; ++i) {
        const QByteArray number = QByteArray::number(i);
        left.append(made("l" + number, { left.last(), right.last() }));
        right.append(made("r" + number, { left.at(i - 1), right.last() }));
    }
    QVERIFY(!refusal([&] { left.first()->append(right.last()); }).isEmpty());
    QVERIFY(left.first()->append(made("end")));
    tst::SignalTrace trace(left.last().get());
    left.first()->remove(text("end"));
    QCOMPARE(trace.take().size(), 1);
}

void TestNodeView::aSlotMayLetTheViewGo()
{
    View view = made("v", { node("a") });
    connect(view.get(), &NodeView::entryRemoved, this, [&] { view.reset(); });
    view->remove(view->entries().first()->id());
    QVERIFY(view.null());
    const View low = made("low");
    View middle = made("middle", { low });
    View top = made("top", { middle });
    connect(low.get(), &NodeView::contentsChanged, this, [&] {
        middle.reset();
        top.reset();
    });
    low->rename(text("new")); // those above are gone when it is their turn
    QVERIFY(low->containers().isEmpty());
}

QTEST_GUILESS_MAIN(TestNodeView)
#include "tst_nodeview.moc"
