// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "discovery/drivertable_p.h"
#include "discovery/nodehintfromarp.h"
#include "discovery/nodehintfrombonjour.h"
#include "discovery/nodehintipdevice.h"
#include "shared/databasefixture.h"

#include "platform/pluginloader.h"

#include <QTest>
#include <QTextStream>

using namespace tq;
using tst::text;

namespace {

constexpr int k_writesNothing = -1;

} // namespace

class TestDriverTable : public QObject
{
    Q_OBJECT

private slots:
    void priorityDecides_data();
    void priorityDecides();
    void typesRunFromZeroToTwentyTwo();
    void namesAreFilteredInTableOrder();
    void lookUpsWithoutDriverAreLogged();
    void hintsDescribeThemselves();
    void serviceKindsBecomeNodeTypes();
};

void TestDriverTable::priorityDecides_data()
{
    QTest::addColumn<QList<int>>("priorities");
    QTest::addColumn<int>("winner");
    QTest::newRow("smaller later") << QList<int>{ 5, 3 } << 1;
    QTest::newRow("smaller first") << QList<int>{ 3, 5 } << 0;
    QTest::newRow("equal") << QList<int>{ 3, 3 } << 0;
    QTest::newRow("0 does not defend") << QList<int>{ 0, 7 } << 1;
    QTest::newRow("0 displaces") << QList<int>{ 7, 0 } << 1;
    QTest::newRow("0 displaces, then anybody") << QList<int>{ 3, 0, 9 } << 2;
    QTest::newRow("inherits the last priority") << QList<int>{ 4, k_writesNothing, 3 } << 2;
    QTest::newRow("inherits a refused priority") << QList<int>{ 4, 6, k_writesNothing } << 0;
}

void TestDriverTable::priorityDecides()
{
    QFETCH(QList<int>, priorities);
    QFETCH(int, winner);
    tst::LogCapture log;
    std::vector<std::unique_ptr<tst::FakeDriver>> drivers;
    for (const int priority : priorities)
        drivers.push_back(std::make_unique<tst::FakeDriver>(
            QString::number(drivers.size()), QMap<int, int>{ { 3, priority } }));
    DriverTable table;
    table.build(plugin::Loader::instance().listComponents("tq::INodeDriverComponent"));
    QCOMPARE(table.find(ENodeType(3))->driverName(), QString::number(winner));
    QCOMPARE(log.lines().first(),
        text("1 Inserted driver for node type: 3Prio: %1").arg(priorities.first()));
}

void TestDriverTable::typesRunFromZeroToTwentyTwo()
{
    tst::FakeScanner noDriver(text("scanner"));
    plugin::Loader::instance().registerComponent(
        { text("liar"), { text("tq::INodeDriverComponent") }, {}, {} },
        tqm::smart<IComponent>(&noDriver, [](IComponent*) {}));
    tst::FakeDriver driver(text("d"), { { -1, 1 }, { 0, 1 }, { 22, 1 }, { 23, 1 } });
    DriverTable table;
    table.build(plugin::Loader::instance().listComponents("tq::INodeDriverComponent"));
    QCOMPARE(table.entries().keys(), QList<ENodeType>({ ENodeType(0), ENodeType(22) }));
    plugin::Loader::instance().unregisterComponent(text("liar"));
}

void TestDriverTable::namesAreFilteredInTableOrder()
{
    tst::FakeDriver driver(text("d"), { { 5, 1 }, { 2, 1 }, { 9, 1 } });
    tst::Database f;
    const QList<ENodeType> types{ ENodeType(5), ENodeType(2), ENodeType(6) };
    const auto printed = [&](const QList<ENodeType>* list, bool exclude) {
        QStringList names;
        for (const auto& [type, name] : f.db->readableNodeTypeNames(list, exclude))
            names.append(text("%1=%2").arg(type).arg(name));
        return names.join(QLatin1Char(' '));
    };
    QCOMPARE(printed(nullptr, true), text("2=d2 5=d5 9=d9"));
    QCOMPARE(printed(&types, false), text("2=d2 5=d5"));
    QCOMPARE(printed(&types, true), text("9=d9"));
}

void TestDriverTable::lookUpsWithoutDriverAreLogged()
{
    tst::FakeDriver driver(text("d"), { { 5, 1 } });
    tst::Database f;
    f.insertPlain(text("n"));
    f.log.clear();
    QVERIFY(f.db->nodeDriver(ENodeType(6)).null());
    QVERIFY(f.db->nodeDriver(text("x")).null());
    QVERIFY(f.db->nodeDriver(text("n")).null());
    QVERIFY(!f.db->createNodeFromType(ENodeType(6)));
    QVERIFY(f.db->createNodeHint(ENodeType(6)).null());
    QVERIFY(f.db->readableNodeTypeName(ENodeType(6)).isNull());
    QCOMPARE(f.log.lines(),
        QStringList({ text("2 No node driver available for type: 6"),
            text("2 Node id does not exits in NodeDB: x"),
            text("2 No node driver available for node: name of n"),
            text("2 No node driver available for node type: 6"),
            text("2 No node driver available for type: 6"),
            text("2 No node driver available for type: 6") }));
    const std::unique_ptr<Node> node(f.db->createNodeFromType(ENodeType(5)));
    QCOMPARE(int(node->type()), 5);
    QCOMPARE(int(f.db->createNodeHint(ENodeType(5))->nodeType()), 5);
    QCOMPARE(f.db->nodeDriver(ENodeType(5))->driverName(), text("d"));
}

void TestDriverTable::hintsDescribeThemselves()
{
    const auto described = [](const NodeHint& hint) {
        QString result;
        QTextStream stream(&result);
        hint.writeAt(stream);
        return result;
    };
    NodeHintIPDevice hint;
    QVERIFY(hint.flag() && hint.nodeType() == eAnyNodeType && hint.name().isNull());
    hint.setName(text("n"));
    hint.setHostAddress(text("h"));
    hint.setSsl(true);
    hint.setUser(text("u"));
    hint.setPassword(text("secret"));
    hint.proxy().setProxyAddress(text("p"), 3128);
    hint.proxy().setProxyUser(text("v"), text("secret"));
    const NodeHintIPDevice copy = hint;
    QCOMPARE(described(copy),
        text("Name: n\nHostAddress: h\nPort: 80\nProxy: p\nProxyPort: 3128\nSsl: 1\nUser: u\n"
             "SavePassword: 0\nProxyUser: v\nChannel: 0\n"));
    QCOMPARE(described(NodeHintFromARP()), text("NodeHintFromARP (Todo: implement better ;))"));
    QCOMPARE(described(NodeHintFromBonjour(SServiceInfo())),
        text("NodeHintFromBonjour (Todo: implement better ;))"));
    QVERIFY(copy.getProperty(text("Name")).null());
}

void TestDriverTable::serviceKindsBecomeNodeTypes()
{
    SServiceInfo info;
    info.address = text("third");
    info.fullName = text("second");
    for (const auto& [kind, type] :
        { std::pair(1, 2), std::pair(2, 4), std::pair(0, -1), std::pair(3, -1) }) {
        info.serviceKind = kind;
        const NodeHintFromBonjour hint(info);
        QCOMPARE(int(hint.nodeType()), type);
        QCOMPARE(hint.secondText() + hint.thirdText(), text("secondthird"));
    }
}

QTEST_GUILESS_MAIN(TestDriverTable)
#include "tst_drivertable.moc"
