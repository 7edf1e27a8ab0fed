// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "persistence/storefactory.h"
#include "shared/calllogdestination.h"
#include "shared/databasefixture.h"

#include "platform/properties/properties.h"

#include <QSignalSpy>
#include <QTest>

#include <cstring>
#include <functional>

using namespace tq;
using tst::text;

namespace {

QVariant shown(const Node& node, const char* name)
{
    return node.properties().find(text(name))->value();
}

} // namespace

class TestNode : public QObject
{
    Q_OBJECT

private slots:
    void propertiesStandInOrderAndOnce();
    void extraPropertiesShowByThemselves();
    void onlySomeSettersMarkTheSetStale();
    void idAndTypeAreNotWrittenBack();
    void typedSettersReachTheFieldAndIgnoreUnknownNames();
    void comparingUsesCurrentValues();
    void savesInOrderAndLoadsMissingKeysAsEmpty();
    void copiesCarryTheBagAndAreStale();
    void loginPropertyKeepsOnlyWhatMayBeSaved();
    void everyFieldIsShownEditedAndCopied_data();
    void everyFieldIsShownEditedAndCopied();
    void virtualOperationsStandInTheirOrder();
};

void TestNode::propertiesStandInOrderAndOnce()
{
    const tst::PlainNode node(text("n"));
    QCOMPARE(node.properties().names(),
        text("ID Name NodeType CreationService ShouldPersist PrimaryNode SoftwareVersion ModelInfo "
             "PreferredLayout MouseOverSize ExtraWindowRect Note Login")
            .split(QLatin1Char(' ')));
    QCOMPARE(node.properties().find(text("MouseOverSize"))->description(),
        text("Size when mouse is over the node"));
    QCOMPARE(shown(node, "ExtraWindowRect"), QVariant(QRect()));
    QVERIFY(node.primaryNode());
}

void TestNode::extraPropertiesShowByThemselves()
{
    struct Extended : tst::PlainNode
    {
        Extended() : PlainNode(text("n")) { placed.createProperty(propertySet()); }
        SimpleNodeProperty<QString> serial{ text("Serial number"), this, text("Serial") };
        SimpleNodeProperty<int> placed{ text("Placed"), this, text("Placed") };
    };
    // Whatever asks first finds them.
    QVERIFY(Extended().hasProperty(text("Serial")));
    QVERIFY(Extended().compareProperty(tqgen::StringProperty(text("Serial"), QString())));
    Extended node;
    node.setStringProperty(text("Serial"), text("S1"));
    QCOMPARE(node.serial.value(), text("S1"));
    QCOMPARE(shown(node, "Serial"), QVariant(text("S1")));
    // Those with a place keep it, the others follow, each once.
    QCOMPARE(node.properties().names().mid(12),
        QStringList({ text("Login"), text("Placed"), text("Serial") }));
    node.serial.set(text("S2"));
    node.updatePropertySet();
    QCOMPARE(shown(node, "Serial"), QVariant(text("S2")));
}

void TestNode::onlySomeSettersMarkTheSetStale()
{
    tst::PlainNode node(text("n"));
    node.properties();
    node.setName(text("B"));
    node.setOwner(text("o"));
    node.setState(ENodeState(3));
    node.setContext(&node);
    QCOMPARE(shown(node, "Name"), QVariant(text("")));
    node.setModelInfo(text("A"));
    QCOMPARE(shown(node, "ModelInfo"), QVariant(text("A")));
    QCOMPARE(shown(node, "Name"), QVariant(text("B")));
    node.setNote(text("N"));
    QCOMPARE(shown(node, "Note"), QVariant(text("N")));
}

void TestNode::idAndTypeAreNotWrittenBack()
{
    tst::PlainNode node(text("n"));
    node.setStringProperty(text("ID"), text("other"));
    node.setIntProperty(text("NodeType"), 9);
    QCOMPARE(node.id(), text("n"));
    QCOMPARE(node.type(), tst::k_plainType);
    QCOMPARE(shown(node, "ID"), QVariant(text("n")));
    QVERIFY(!node.updateField(tqgen::StringProperty(text("Unknown"), QString(), text("x"))));
}

void TestNode::typedSettersReachTheFieldAndIgnoreUnknownNames()
{
    tst::PlainNode node(text("n"));
    QSignalSpy changed(&node, &Node::changed);
    node.setStringProperty(text("Name"), text("cam"));
    node.setIntProperty(text("CreationService"), 3);
    node.setBoolProperty(text("PrimaryNode"), false);
    node.setRectProperty(text("ExtraWindowRect"), QRect(1, 2, 3, 4));
    QCOMPARE(node.name(), text("cam"));
    QCOMPARE(node.creationService(), eDNSSDService);
    QVERIFY(!node.primaryNode());
    QCOMPARE(node.rectProperty(text("ExtraWindowRect"), QRect()), QRect(1, 2, 3, 4));

    const tqgen::PropertySet before = node.properties();
    node.setStringProperty(text("Absent"), text("x"));
    QVERIFY(node.properties() == before);
    QCOMPARE(node.stringProperty(text("Absent"), text("default")), text("default"));
    QCOMPARE(node.intProperty(text("Name"), 5), 5);
    QVERIFY(changed.isEmpty());
}

void TestNode::comparingUsesCurrentValues()
{
    tst::PlainNode node(text("n"));
    node.setModelInfo(text("M"));
    QVERIFY(node.compareProperty(tqgen::StringProperty(text("ModelInfo"), QString(), text("M"))));
    QVERIFY(!node.compareProperty(tqgen::StringProperty(text("ModelInfo"), QString(), text("m"))));
    QVERIFY(!node.compareProperty(tqgen::StringProperty(text("Absent"), QString())));
}

void TestNode::savesInOrderAndLoadsMissingKeysAsEmpty()
{
    tst::PlainNode node(text("n"));
    node.setNote(text("kept"));
    tst::CallLogDestination target;
    node.save(&target);
    QCOMPARE(target.calls().size(), 13);
    QCOMPARE(target.calls().at(0), text("setValue ID QVariant(QString, \"n\")"));
    QCOMPARE(target.calls().at(2), text("setValue NodeType QVariant(int, 7)"));
    QCOMPARE(target.calls().at(4), text("setValue ShouldPersist QVariant(bool, true)"));
    QCOMPARE(
        target.calls().at(10), text("setValue ExtraWindowRect QVariant(QRect, QRect(0,0 0x0))"));

    node.setModelInfo(text("M"));
    const auto store = openStore(text("memory:"));
    store->setValue(text("Name"), text("loaded"));
    store->setValue(text("PrimaryNode"), text("true"));
    node.load(store.get());
    QCOMPARE(node.name(), text("loaded"));
    QVERIFY(node.primaryNode());
    QVERIFY(node.id().isEmpty() && node.modelInfo().isEmpty() && !node.shouldPersist());
    QCOMPARE(int(node.type()), 0);
    QCOMPARE(node.note(), text("kept"));
}

void TestNode::copiesCarryTheBagAndAreStale()
{
    tst::PlainNode node(text("n"));
    node.setName(text("cam"));
    node.setNote(text("note"));
    node.setOwner(text("owner"));
    node.setState(ENodeState(2));
    node.login.setUserAndPassword(text("u"), text("p"), true);
    const std::unique_ptr<Node> copy(node.clone());
    QCOMPARE(shown(*copy, "Name"), QVariant(text("cam")));
    QCOMPARE(copy->note(), text("note"));
    QCOMPARE(copy->owner(), text("owner"));
    QCOMPARE(copy->state(), ENodeState(2));
    QCOMPARE(static_cast<tst::PlainNode&>(*copy).login.password(), text("p"));
}

void TestNode::loginPropertyKeepsOnlyWhatMayBeSaved()
{
    tst::PlainNode node(text("n"));
    UserAndPasswordNodeProperty made(
        text("Made"), &node, UserAndPassword(text("u"), text("p"), false), text("Label"));
    QVERIFY(node.hasProperty(text("Made")));
    QVERIFY(made.password().isEmpty());
    made.setUserAndPassword(text("v"), text("pä"), true);
    QCOMPARE(made.password(), text("pä"));
    const auto store = openStore(text("memory:"));
    made.load(store.get());
    QCOMPARE(made.user(), text("u"));
    store->setValue(text("Made"), QVariantList());
    made.load(store.get());
    QVERIFY(made.user().isEmpty() && made.savePassword());
    QVERIFY(made.updateField(tqgen::StringProperty(text("Made"), QString())));
}

void TestNode::everyFieldIsShownEditedAndCopied_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<std::function<void(Node&)>>("set");
    const auto row = [](const char* name, const auto& value, auto setter) {
        QTest::newRow(name) << QVariant(
            value) << std::function<void(Node&)>([=](Node& node) { (node.*setter)(value); });
    };
    row("CreationService", eARPService, &Node::setCreationService);
    row("ShouldPersist", false, &Node::setShouldPersist);
    row("PrimaryNode", false, &Node::setPrimaryNode);
    row("SoftwareVersion", text("v"), &Node::setSoftwareVersion);
    row("ModelInfo", text("m"), &Node::setModelInfo);
    row("PreferredLayout", text("l"), &Node::setPreferredLayout);
    row("MouseOverSize", text("s"), &Node::setMouseOverSize);
    row("Note", text("n"), &Node::setNote);
}

void TestNode::everyFieldIsShownEditedAndCopied()
{
    QFETCH(QVariant, value);
    QFETCH(std::function<void(Node&)>, set);
    const char* const name = QTest::currentDataTag();
    tst::PlainNode node(text("n"));
    QVERIFY(shown(node, name) != value);
    tqgen::PropertySet edited = node.properties();
    QVERIFY(edited.setValue(text(name), value));
    set(node); // marks the set stale
    QCOMPARE(shown(node, name), value);
    node.setContext(&node);
    const std::unique_ptr<Node> copy(node.clone());
    QCOMPARE(shown(*copy, name), value);
    QCOMPARE(copy->context(), static_cast<void*>(&node));
    tst::PlainNode other(text("n"));
    QVERIFY(other.updateField(*edited.find(text(name))));
    QCOMPARE(shown(other, name), value);
    // a value that does not convert changes nothing
    other.setRectProperty(text(name), QRect(1, 2, 3, 4));
    QCOMPARE(shown(other, name), value);
}

void TestNode::virtualOperationsStandInTheirOrder()
{
    // the first word of a pointer to a virtual function is 1 + its offset in the table
    const auto slot = [](auto function) {
        std::ptrdiff_t word = 0;
        std::memcpy(&word, &function, sizeof word);
        return int((word - 1) / std::ptrdiff_t(sizeof(void*)));
    };
    using Store = IPersistDestination;
    QCOMPARE(
        QList<int>({ slot(&Store::beginGroup), slot(&Store::endGroup),
            slot(&Store::beginWriteArray), slot(&Store::beginReadArray), slot(&Store::endArray),
            slot(&Store::setArrayIndex), slot(&Store::setValue), slot(&Store::value),
            slot(&Store::remove), slot(&Store::contains), slot(&Store::sync) }),
        QList<int>({ 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14 }));
    const int first = slot(&Node::clone);
    const QList<int> node{ slot(&Node::deepCopy), slot(&Node::beginUpdateNode),
        slot(&Node::endUpdateNode), slot(&Node::updatePropertySet), slot(&Node::updateField),
        slot(&Node::isIdentical), slot(&Node::updateFromHint), slot(&Node::fillHint),
        slot(&Node::properties), slot(&Node::hasProperty), slot(&Node::boolProperty),
        slot(&Node::setBoolProperty) };
    for (int i = 0; i < node.size(); ++i)
        QCOMPARE(node.at(i), first + 1 + i);
    QCOMPARE(slot(&Node::relatedNodes) - slot(&Node::name), 33);
}

QTEST_GUILESS_MAIN(TestNode)
#include "tst_node.moc"
