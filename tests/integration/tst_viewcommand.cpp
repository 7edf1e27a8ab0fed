// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "integration/programtest.h"
#include "shared/databasefixture.h"

#include <QTest>

using namespace Qt::StringLiterals;
using tst::Run;
using tst::text;

namespace {

/** Drivers of every type, which ask no device. */
const QByteArray k_plugins = "--plugins " SIMULATED_FOLDER " ";

/** Writes a store by hand: views as "ID:entry entry", the first one at the top; capitals are
 * views. */
void writeViews(const QString& path, const QList<QByteArray>& views)
{
    QByteArray content = "[NodeViews]\nEntries\\1\\ViewID=" + views[0].split(':')[0]
        + "\nEntries\\size=1\nViews\\size=" + QByteArray::number(views.size()) + '\n';
    for (qsizetype i = 0; i < views.size(); ++i) {
        const QByteArray view = "Views\\" + QByteArray::number(i + 1) + '\\';
        const QByteArray id = views[i].split(':')[0];
        const QList<QByteArray> entries = views[i].split(':')[1].split(' ');
        content += view + "ID=" + id + '\n' + view + "Name=" + id.toLower() + "\\n\n" + view
            + "Entries\\size=" + QByteArray::number(entries.size()) + '\n';
        for (qsizetype n = 0; n < entries.size(); ++n)
            content += view + "Entries\\" + QByteArray::number(n + 1)
                + (entries[n] < "a" ? "\\ViewID=" : "\\NodeID=") + entries[n] + '\n';
    }
    tst::write(path, content);
}

} // namespace

class TestViewCommand : public tst::ProgramTest
{
    Q_OBJECT

private slots:
    void viewsAreArrangedAndKept_data();
    void viewsAreArrangedAndKept();
    void refusedCallsNameTheValueAndChangeNothing_data();
    void refusedCallsNameTheValueAndChangeNothing();
    void cyclesInStoresAreCut();
    void outputIsAsLongAsTheViews();

private:
    /** "N1" and so on stand for the ids of nodes. */
    Run call(QByteArray arguments) const
    {
        for (const char n : { '1', '2', '3' })
            arguments.replace("N"_ba + n, tst::simulatedId("192.0.2."_ba + n));
        return onStore(k_plugins + arguments);
    }

    /** Makes all calls; returns the first one that does not end well. */
    QByteArray callAll(const QList<QByteArray>& calls) const
    {
        for (const QByteArray& each : calls) {
            if (const Run run = call(each); run.code != 0)
                return each + ": " + run.error;
        }
        return QByteArray();
    }

    QByteArray addNodes() const
    {
        return callAll({ "add 192.0.2.1 --type 2 --name One", "add 192.0.2.2 --type 2 --name Two",
            "add 192.0.2.3 --type 2 --name Three" });
    }

    Run drawn() const { return inWords(k_plugins + "view show"); }
};

void TestViewCommand::viewsAreArrangedAndKept_data()
{
    QTest::addColumn<QByteArray>("store");
    QTest::addColumn<QByteArray>("converted");
    QTest::newRow("ini") << QByteArray("devices.ini") << QByteArray("copy.db");
    QTest::newRow("sqlite") << QByteArray("devices.db") << QByteArray("copy.ini");
}

void TestViewCommand::viewsAreArrangedAndKept()
{
    QFETCH(QByteArray, store);
    QFETCH(QByteArray, converted);
    begin();
    m_store = path(store);
    QCOMPARE(addNodes(), QByteArray());
    QCOMPARE(callAll({ "view add Site", "view add Yard --in Site", "view add Gate --in Site --at 1",
                 "view add N1 N2 --to Gate", "view add N3 Gate N3 --to Yard",
                 "view add Yard N1 --to / --at 1" }),
        QByteArray());
    QCOMPARE(text(drawn().out), uR"(/
├─ Yard
│  ├─ Three  192.0.2.3
│  └─ Gate
│     ├─ One  192.0.2.1
│     └─ Two  192.0.2.2
├─ One  192.0.2.1
└─ Site
   ├─ Gate … see above
   └─ Yard … see above
)"_s);
    const QJsonArray shown = call("view show").items();
    QJsonArray places;
    for (const QJsonValue& item : shown)
        places.append(item[u"Kind"_s].toString().left(1) + item[u"Name"_s].toString()
            + QString::number(item[u"Depth"_s].toInt())
            + (item[u"Repeated"_s].toBool() ? u" again"_s : QString()));
    QCOMPARE(places,
        QJsonArray({ u"vYard1"_s, u"nThree2"_s, u"vGate2"_s, u"nOne3"_s, u"nTwo3"_s, u"nOne1"_s,
            u"vSite1"_s, u"vGate2 again"_s, u"vYard2 again"_s }));
    QCOMPARE(shown[1][u"IP"_s], call("show N3").item()[u"IP"_s]);
    QCOMPARE(shown[0][u"Under"_s].toString(), u"/"_s);
    QCOMPARE(shown[3][u"Under"_s], shown[2][u"ID"_s]);
    const QJsonArray holders = call("view list").item(1)[u"In"_s].toArray(); // Gate's
    QCOMPARE(holders.size(), 2);
    QVERIFY(holders.contains(shown[0][u"ID"_s]) && holders.contains(shown[6][u"ID"_s]));
    QCOMPARE(callAll({ "view move N2 N1 --from Gate --at 1",
                 "view move N2 --from Gate --to Yard --at 2", "view rename Yard Court",
                 "view rename Court Court", "view remove Court --from /", "remove N1" }),
        QByteArray());
    QCOMPARE(text(drawn().out), uR"(/
└─ Site
   ├─ Gate (empty)
   └─ Court
      ├─ Three  192.0.2.3
      ├─ Two  192.0.2.2
      └─ Gate (empty)
)"_s);
    QCOMPARE(call("convert " + store + ' ' + converted).code, 0);
    const QByteArray arranged = drawn().out;
    m_store = path(converted);
    QCOMPARE(drawn().out, arranged);
    m_store = path(store);

    const Run rows = call("view list");
    QCOMPARE(rows.items().size(), 3);
    QCOMPARE(rows.item(1)[u"InNames"_s], QJsonArray({ u"Court"_s, u"Site"_s }));
    QCOMPARE(rows.item(0)[u"InNames"_s], QJsonArray({ u"/"_s }));
    QCOMPARE(rows.item(2)[u"Nodes"_s].toInt(), 2);
    QCOMPARE(call("view add Shed --in Court").code, 0);
    const QJsonObject removed = call("view remove Court").document();
    QCOMPARE(removed[u"viewsGone"_s].toInt(), 1); // the gate is in the site as well
    QCOMPARE(removed[u"nodesInNoView"_s].toInt(), 2);
    QCOMPARE(call("view remove Site Gate").document()[u"viewsGone"_s].toInt(), 0);
    QCOMPARE(drawn().out, "/ (empty)\n"_ba);
    QCOMPARE(call("list").items().size(), 2);
}

void TestViewCommand::refusedCallsNameTheValueAndChangeNothing_data()
{
    const char* const cycle =
        "\"Site\" does not go into \"Gate\": Adding this view would lead to a cycle.";
    tst::addRefusals({
        { "add N3 Site --to Gate", 1, cycle },
        { "move N3 Site --from / --to Gate", 1, cycle },
        { "move Site --from / --to Site", 1, "would lead to a cycle" },
        { "add / --to Gate", 1, "\"/\" does not go into \"Gate\"" },
        { "add N3 Gate --to Site", 1,
            "\"Gate\" does not go into \"Site\": it stands there already" },
        { "move N1 --from gate-id --to Site", 1, "it stands there already" },
        { "add N3 nothing --to Gate", 1, "\"nothing\"" },
        { "add N3 --to Nowhere", 1, "\"Nowhere\"" },
        { "add New --in Nowhere", 1, "\"Nowhere\"" },
        { "remove N2 N3 --from Gate", 1, "\" does not stand in \"Gate\"" },
        { "remove Gate Nowhere", 1, "\"Nowhere\"" },
        { "move Gate --from Site --to Nowhere", 1, "\"Nowhere\"" },
        { "add N1 --to Twin", 1, "several views are called \"Twin\": use the id" },
        { "rename Site gate-id", 1, "there is a view \"gate-id\" already" },
        { "rename Site \t\n", 1, "not \"\"" },
        { "add New\nline", 1, "not \"New\\u000aline\"" },
        { "add Gate\n", 1, "there is a view \"Gate\" already" }, // names are trimmed
        { "add N1", 1, "uuid:" },
        { "add /", 1, "\"/\"" },
        { "rename / Top", 1, "the top" },
        { "remove /", 1, "the top" },
        // What a list of ids leaves that turned out empty.
        { "add --to Gate", 2, "--to" },
        { "remove --from Gate", 2, "--from" },
        { "move --from Gate --to /", 2, "--from" },
        { "remove", 2, "VIEW" },
        { "remove ", 1, "\"\"" },
        { "add Gate N3", 2, "--to" },
        { "add N3 --to Gate --at 4", 2, "1 to 3, not \"4\"" },
        { "add N3 --to Gate --at 0", 2, "\"0\"" },
        { "move N1 --from Gate --at 3", 2, "\"3\"" },
        { "move N1 --from Gate", 2, "--to" },
        { "move N1 --to /", 2, "--from" },
        { "add N3 --to Gate --in Site", 2, "--in" },
        { "paint", 2, "paint" },
    });

    begin();
    m_store = path("devices.ini");
    QCOMPARE(addNodes(), QByteArray());
    QCOMPARE(callAll({ "view add Site", "view add Gate --in Site", "view add N1 N2 --to Gate",
                 "view add N1 --to Site", "view add N3 --to /", "view add Twin", "view add TWIN",
                 "view add Blank" }),
        QByteArray());
    // Other programs may give views one name, none, and any ids.
    const QByteArray id = call("view list").id(1);
    tst::write(m_store,
        tst::contentOf(m_store)
            .replace("TWIN", "Twin")
            .replace("Name=Blank", "Name=")
            .replace(id, "gate-id"));
    QCOMPARE(call("convert devices.ini devices.db").code, 0);
}

void TestViewCommand::refusedCallsNameTheValueAndChangeNothing()
{
    for (const char* store : { "devices.ini", "devices.db" }) {
        m_store = path(store);
        verifyRefusal([this](const QByteArray& arguments) { return call("view " + arguments); });
    }
}

void TestViewCommand::cyclesInStoresAreCut()
{
    begin();
    m_store = path("hand.ini");
    writeViews(m_store, { "A:x B", "B:A C", "C:A y" });
    const auto before = hashes();
    const Run run = drawn();
    QCOMPARE(run.code, 0);
    QCOMPARE(text(run.out), uR"(/
└─ a\u000a
   ├─ x (not known)
   └─ b\u000a
      └─ c\u000a
         └─ y (not known)
)"_s);
    QVERIFY(run.error.contains("Stored views lead to a cycle, which is cut: C holds A\n"));
    QVERIFY(run.error.contains("Stored views lead to a cycle, which is cut: B holds A\n"));
    QCOMPARE(hashes(), before);
}

void TestViewCommand::outputIsAsLongAsTheViews()
{
    // Two views on each of 100 levels, each of which holds both of the next one: 2^99 ways.
    constexpr int k_levels = 100;
    QList<QByteArray> views{ "TOP:A0 B0" };
    for (int i = 0; i < k_levels; ++i) {
        const QByteArray next = QByteArray::number(i + 1);
        for (const char* letter : { "A", "B" })
            views.append(letter + QByteArray::number(i)
                + (i + 1 == k_levels ? ":x"_ba : ":A" + next + " B" + next));
    }
    begin();
    m_store = path("wide.ini");
    writeViews(m_store, views);
    const Run run = drawn();
    QCOMPARE(run.error, QByteArray());
    QCOMPARE(run.out.count('\n'), 1 + 1 + 2 + (k_levels - 1) * 4 + 2);
    QCOMPARE(run.out.count("see above"), (k_levels - 1) * 2);
}

QTEST_GUILESS_MAIN(TestViewCommand)
#include "tst_viewcommand.moc"
