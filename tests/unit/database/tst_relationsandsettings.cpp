// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "environments/environments.h"
#include "shared/calllogdestination.h"
#include "shared/databasefixture.h"

#include <QRandomGenerator>
#include <QTest>

#include <set>
#include <tuple>

using namespace tq;
using tst::text;

namespace {

constexpr auto k_first = eDeviceToRecordingFolder;
constexpr auto k_second = eRecordingFolderToDevice;

QStringList sorted(QStringList list)
{
    list.sort();
    return list;
}

} // namespace

class TestRelationsAndSettings : public QObject
{
    Q_OBJECT

private slots:
    void relationsAreAddedOnce();
    void removingAnnouncesEvenWithoutAMatch();
    void aSlotMayChangeTheStoreBetweenTheSignals();
    void removedNodesLoseTheirRelationsAtBothEnds();
    void relationsMayGoWhileAllAreRemoved();
    void bothDirectionsTellTheSame();
    void globalLoginHasDefaultsByUser();
    void recordingFolderIsReadWithoutItsSeparator();
    void switchesAreAnnouncedOnce();
    void bandwidthIsKeptPerEnvironment();
    void transponderDefaults();
};

void TestRelationsAndSettings::relationsAreAddedOnce()
{
    tst::Database f;
    f.db->addNodeRelation(text("a"), text("b"), k_first);
    QVERIFY(f.db->isModified());
    f.db->addNodeRelation(text("a"), text("b"), k_first);
    f.db->addNodeRelation(text("a"), text("c"), k_first);
    f.db->addNodeRelation(text("x"), text("b"), k_second);
    QCOMPARE(f.trace.take().mid(0, 3).join(u' '),
        text("nodeRelationAboutToBeAdded(a,b,1) nodeRelationAdded(a,b,1) "
             "nodeRelationAboutToBeAdded(a,c,1)"));
    QCOMPARE(sorted(f.db->relatedNodes(text("a"), k_first)), QStringList({ text("b"), text("c") }));
    QCOMPARE(f.db->relatedSources(text("b"), k_second), QStringList(text("x")));
    QVERIFY(f.db->isDestinationOfNodeRelation(text("c"), k_first));
    QVERIFY(!f.db->isDestinationOfNodeRelation(text("c"), k_second));
    QVERIFY(!f.db->isDestinationOfNodeRelation(text("a"), k_first));
}

void TestRelationsAndSettings::removingAnnouncesEvenWithoutAMatch()
{
    tst::Database f;
    f.db->addNodeRelation(text("a"), text("b"), k_first);
    f.clearModified();
    f.trace.take();
    f.db->removeNodeRelation(text("a"), text("b"), k_second);
    QCOMPARE(f.trace.take(), QStringList());
    f.db->removeNodeRelation(text("a"), text("x"), k_first);
    QCOMPARE(f.trace.take().join(u' '),
        text("nodeRelationAboutToBeRemoved(a,x,1) nodeRelationRemoved(a,x,1)"));
    QVERIFY(!f.db->isModified());
    f.db->removeNodeRelation(text("a"), text("b"), k_first);
    QVERIFY(f.db->isModified());
    QVERIFY(f.db->relatedNodes(text("a"), k_first).isEmpty());
}

void TestRelationsAndSettings::aSlotMayChangeTheStoreBetweenTheSignals()
{
    tst::Database f;
    int depth = 0;
    connect(f.db, &NodeDB::nodeRelationAboutToBeAdded, f.db, [&] {
        if (depth++ == 0)
            f.db->addNodeRelation(text("a"), text("b"), k_first);
    });
    f.db->addNodeRelation(text("a"), text("b"), k_first);
    QCOMPARE(f.db->relatedNodes(text("a"), k_first), QStringList(text("b")));
    f.db->removeNodeRelation(text("a"), text("b"), k_first);
    QVERIFY(f.db->relatedNodes(text("a"), k_first).isEmpty());
}

void TestRelationsAndSettings::removedNodesLoseTheirRelationsAtBothEnds()
{
    tst::Database f;
    auto* const node = f.insertPlain(text("n"));
    node->setShouldPersist(false);
    node->addNodeRelation(text("m"), k_first);
    f.db->addNodeRelation(text("m"), text("n"), k_second);
    f.db->addNodeRelation(text("m"), text("o"), k_second);
    QCOMPARE(node->relatedNodes(k_first), QStringList(text("m")));
    f.clearModified();
    f.trace.take();
    qsizetype linesAtRelations = -1;
    qsizetype linesAtRemoval = -1;
    const auto lines = [&] { return f.log.linesWith(text("Node removed: ")).size(); };
    connect(f.db, &NodeDB::nodeRelationRemoved, f.db, [&] { linesAtRelations = lines(); });
    connect(f.db, &NodeDB::nodeRemoved, f.db, [&] { linesAtRemoval = lines(); });
    f.db->removeNode(text("n"));
    QStringList announced = f.trace.take();
    QCOMPARE(announced.takeLast(), text("nodeRemoved(n)"));
    QCOMPARE(linesAtRelations, 0);
    QCOMPARE(linesAtRemoval, 1);
    QCOMPARE(announced.size(), 4);
    for (const char* removed : { "nodeRelationRemoved(n,m,1)", "nodeRelationRemoved(m,n,2)" }) {
        const qsizetype at = announced.indexOf(text(removed));
        QVERIFY(at > 0);
        QCOMPARE(
            announced.at(at - 1), text(removed).replace(text("Removed"), text("AboutToBeRemoved")));
    }
    QVERIFY(f.db->isModified()); // a stored relation would come back otherwise
    QCOMPARE(f.db->relatedNodes(text("m"), k_second), QStringList(text("o")));
    f.clearModified();
    f.db->removeAllNodeRelations(text("n"));
    QVERIFY(!f.db->isModified());
}

void TestRelationsAndSettings::relationsMayGoWhileAllAreRemoved()
{
    tst::Database f;
    f.db->addNodeRelation(text("n"), text("a"), k_first);
    f.db->addNodeRelation(text("n"), text("b"), k_first);
    f.trace.take();
    QStringList expected;
    connect(f.db, &NodeDB::nodeRelationAboutToBeRemoved, f.db,
        [&](const NodeID&, const NodeID& to, ENodeRelationType) {
            if (!expected.isEmpty())
                return;
            const QString other = to == text("a") ? text("b") : text("a");
            // The one that goes during its own first signal keeps its second; the other is gone
            // when its turn comes.
            for (const char* form :
                { "AboutToBeRemoved(n,%1,1)", "AboutToBeRemoved(n,%1,1)", "Removed(n,%1,1)",
                    "AboutToBeRemoved(n,%2,1)", "Removed(n,%2,1)", "Removed(n,%1,1)" })
                expected.append(text("nodeRelation")
                    + text(form).replace(text("%1"), to).replace(text("%2"), other));
            f.db->removeNodeRelation(text("n"), to, k_first);
            f.db->removeNodeRelation(text("n"), other, k_first);
        });
    f.db->removeAllNodeRelations(text("n"));
    QCOMPARE(f.trace.take(), expected);
}

void TestRelationsAndSettings::bothDirectionsTellTheSame()
{
    tst::Database f;
    using Triple = std::tuple<QString, int, QString>;
    std::set<Triple> expected;
    QRandomGenerator random(20261123);
    const auto id = [&] { return QString::number(random.bounded(6)); };
    for (int i = 0; i < 2000; ++i) {
        const auto type = ENodeRelationType(random.bounded(1, 4));
        const Triple triple{ id(), type, id() };
        const auto& [from, number, to] = triple;
        if (random.bounded(40) == 0) {
            f.db->removeAllNodeRelations(from);
            std::erase_if(expected, [from = from](const Triple& t) {
                return std::get<0>(t) == from || std::get<2>(t) == from;
            });
        } else if (random.bounded(2) == 0) {
            f.db->addNodeRelation(from, to, type);
            expected.insert(triple);
        } else {
            f.db->removeNodeRelation(from, to, type);
            expected.erase(triple);
        }
        QStringList sources;
        QStringList destinations;
        for (const Triple& t : expected) {
            if (std::get<1>(t) == type && std::get<2>(t) == to)
                sources.append(std::get<0>(t));
            if (std::get<1>(t) == type && std::get<0>(t) == from)
                destinations.append(std::get<2>(t));
        }
        QCOMPARE(sorted(f.db->relatedSources(to, type)), sources);
        QCOMPARE(sorted(f.db->relatedNodes(from, type)), destinations);
        QCOMPARE(f.db->isDestinationOfNodeRelation(to, type), !sources.isEmpty());
    }
}

void TestRelationsAndSettings::globalLoginHasDefaultsByUser()
{
    tst::Database f;
    QCOMPARE(f.db->globalUser() + f.db->globalPassword(), text("adminkolvar"));
    f.db->setGlobalAuthentication(QString(), text("p"));
    QCOMPARE(f.db->globalPassword(), text("kolvar"));
    f.db->setGlobalAuthentication(text("u"), QString());
    f.db->setGlobalAuthentication(text("u"), QString());
    QCOMPARE(f.db->globalUser() + f.db->globalPassword(), text("u"));
    QCOMPARE(f.trace.take(), QStringList(2, text("globalAuthenticationChanged()")));
}

void TestRelationsAndSettings::recordingFolderIsReadWithoutItsSeparator()
{
    tst::Database f;
    f.db->setGlobalRecordingFolderPath(text("/rec//"));
    QCOMPARE(f.db->globalRecordingFolderPath(), text("/rec/"));
    f.db->setGlobalRecordingFolderPath(text("C:\\rec\\"));
    QCOMPARE(f.db->globalRecordingFolderPath(), text("C:\\rec"));
    f.db->setGlobalRecordingFolderPath(text("C:\\rec\\"));
    f.db->setGlobalRecordingFolderUserAndPassword(text("u"), text("p"));
    f.db->setGlobalRecordingFolderUserAndPassword(text("u"), text("p"));
    QCOMPARE(f.trace.take(), QStringList(3, text("globalPathChanged()")));
    QVERIFY(!f.db->isModified());
    tst::CallLogDestination target;
    f.db->save(&target, false);
    QVERIFY(target.calls().contains(text("setValue Path QVariant(QString, \"C:\\\\rec\\\\\")")));
}

void TestRelationsAndSettings::switchesAreAnnouncedOnce()
{
    tst::Database f;
    f.db->setActiveUser(QString());
    f.db->setActiveEnvironment(f.db->activeEnvironment());
    QCOMPARE(f.trace.take(), QStringList());
    f.db->setActiveUser(text("ann"));
    f.db->setActiveEnvironment(text("not in the list"));
    QCOMPARE(f.trace.take().join(u' '), text("activeUserChanged() activeEnvironmentChanged()"));
}

void TestRelationsAndSettings::bandwidthIsKeptPerEnvironment()
{
    tst::Database f;
    const QString home = f.db->activeEnvironment();
    QCOMPARE(f.db->bandwidth(), 2);
    f.db->setBandwidth(5);
    const QString office = f.db->environments()->add(text("Office"));
    f.db->setActiveEnvironment(office);
    QCOMPARE(f.db->bandwidth(), 5);
    f.db->setBandwidth(1);
    f.db->setActiveEnvironment(home);
    QCOMPARE(f.db->bandwidth(), 5);
}

void TestRelationsAndSettings::transponderDefaults()
{
    tst::Database f;
    tst::CallLogDestination target;
    f.db->save(&target, false);
    const qsizetype at = target.calls().indexOf(text("beginGroup DefaultRecordingTransponder"));
    QCOMPARE(target.calls().mid(at + 1, 11).join(QLatin1Char(' ')),
        text(
            "setValue IP QVariant(QString, \"\") setValue Port QVariant(int, 80) "
            "setValue SSL QVariant(bool, false) setValue Path QVariant(QString, \"\") "
            "setValue PreviewMode QVariant(int, 3) setValue Framerate QVariant(float, 1) "
            "setValue Quality QVariant(int, 40) setValue ResolutionX QVariant(int, 320) "
            "setValue ResolutionY QVariant(int, 240) setValue Sound QVariant(bool, false) "
            "setValue User QVariant(QVariantList, QList(QVariant(QString, \"\"), QVariant(bool, false)))"));
}

QTEST_GUILESS_MAIN(TestRelationsAndSettings)
#include "tst_relationsandsettings.moc"
