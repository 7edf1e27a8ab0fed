// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "integration/programtest.h"
#include "shared/databasefixture.h"

#include <QTest>

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
            arguments.replace(QByteArray("N") + n, tst::simulatedId(QByteArray("192.0.2.") + n));
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

    Run drawn(const QString& store) const
    {
        return run({ text("--plugins"), text(SIMULATED_FOLDER), text("--store"), store,
            text("view"), text("show") });
    }
};

void TestViewCommand::viewsAreArrangedAndKept_data()
{
    QTest::addColumn<QString>("store");
    QTest::addColumn<QString>("converted");
    QTest::newRow("ini") << text("devices.ini") << text("copy.db");
    QTest::newRow("sqlite") << text("devices.db") << text("copy.ini");
}

void TestViewCommand::viewsAreArrangedAndKept()
{
    QFETCH(QString, store);
    QFETCH(QString, converted);
    begin();
    m_store = path(qPrintable(store));
    QCOMPARE(addNodes(), QByteArray());
    QCOMPARE(callAll({ "view add Site", "view add Yard --in Site", "view add Gate --in Site --at 1",
                 "view add N1 N2 --to Gate", "view add N3 Gate N3 --to Yard",
                 "view add Yard N1 --to / --at 1" }),
        QByteArray());
    QCOMPARE(text(drawn(store).out), text(R"(/
├─ Yard
│  ├─ Three  192.0.2.3
│  └─ Gate
│     ├─ One  192.0.2.1
│     └─ Two  192.0.2.2
├─ One  192.0.2.1
└─ Site
   ├─ Gate … see above
   └─ Yard … see above
)"));
    const QJsonArray shown = call("view show").items();
    QJsonArray places;
    for (const QJsonValue& item : shown)
        places.append(item[text("Kind")].toString().left(1) + item[text("Name")].toString()
            + QString::number(item[text("Depth")].toInt())
            + (item[text("Repeated")].toBool() ? text(" again") : QString()));
    QCOMPARE(places,
        QJsonArray({ text("vYard1"), text("nThree2"), text("vGate2"), text("nOne3"), text("nTwo3"),
            text("nOne1"), text("vSite1"), text("vGate2 again"), text("vYard2 again") }));
    QCOMPARE(shown[1][text("IP")], call("show N3").item()[text("IP")]);
    QCOMPARE(shown[0][text("Under")].toString(), text("/"));
    QCOMPARE(shown[3][text("Under")], shown[2][text("ID")]);
    const QJsonArray holders = call("view list").item(1)[text("In")].toArray(); // Gate's
    QCOMPARE(holders.size(), 2);
    QVERIFY(holders.contains(shown[0][text("ID")]) && holders.contains(shown[6][text("ID")]));
    QCOMPARE(callAll({ "view move N2 N1 --from Gate --at 1",
                 "view move N2 --from Gate --to Yard --at 2", "view rename Yard Court",
                 "view rename Court Court", "view remove Court --from /", "remove N1" }),
        QByteArray());
    QCOMPARE(text(drawn(store).out), text(R"(/
└─ Site
   ├─ Gate (empty)
   └─ Court
      ├─ Three  192.0.2.3
      ├─ Two  192.0.2.2
      └─ Gate (empty)
)"));
    QCOMPARE(call("convert " + store.toUtf8() + ' ' + converted.toUtf8()).code, 0);
    QCOMPARE(drawn(converted).out, drawn(store).out);

    const Run rows = call("view list");
    QCOMPARE(rows.items().size(), 3);
    QCOMPARE(rows.item(1)[text("InNames")], QJsonArray({ text("Court"), text("Site") }));
    QCOMPARE(rows.item(0)[text("InNames")], QJsonArray({ text("/") }));
    QCOMPARE(rows.item(2)[text("Nodes")].toInt(), 2);
    QCOMPARE(call("view add Shed --in Court").code, 0);
    const QJsonObject removed = call("view remove Court").document();
    QCOMPARE(removed[text("viewsGone")].toInt(), 1); // the gate is in the site as well
    QCOMPARE(removed[text("nodesInNoView")].toInt(), 2);
    QCOMPARE(call("view remove Site Gate").document()[text("viewsGone")].toInt(), 0);
    QCOMPARE(drawn(store).out, QByteArray("/ (empty)\n"));
    QCOMPARE(call("list").items().size(), 2);
}

void TestViewCommand::refusedCallsNameTheValueAndChangeNothing_data()
{
    QTest::addColumn<QByteArray>("arguments");
    QTest::addColumn<int>("code");
    QTest::addColumn<QByteArray>("named");
    const auto row = [](const char* call, int code, const char* named) {
        QTest::newRow(call) << QByteArray(call) << code << QByteArray(named);
    };
    const char* const cycle =
        "\"Site\" does not go into \"Gate\": Adding this view would lead to a cycle.";
    row("add N3 Site --to Gate", 1, cycle);
    row("move N3 Site --from / --to Gate", 1, cycle);
    row("move Site --from / --to Site", 1, "would lead to a cycle");
    row("add / --to Gate", 1, "\"/\" does not go into \"Gate\"");
    row("add N3 Gate --to Site", 1, "\"Gate\" does not go into \"Site\": it stands there already");
    row("move N1 --from gate-id --to Site", 1, "it stands there already");
    row("add N3 nothing --to Gate", 1, "\"nothing\"");
    row("add N3 --to Nowhere", 1, "\"Nowhere\"");
    row("add New --in Nowhere", 1, "\"Nowhere\"");
    row("remove N2 N3 --from Gate", 1, "\" does not stand in \"Gate\"");
    row("remove Gate Nowhere", 1, "\"Nowhere\"");
    row("move Gate --from Site --to Nowhere", 1, "\"Nowhere\"");
    row("add N1 --to Twin", 1, "several views are called \"Twin\": use the id");
    row("rename Site gate-id", 1, "there is a view \"gate-id\" already");
    row("rename Site \t\n", 1, "not \"\"");
    row("add New\nline", 1, "not \"New\\u000aline\"");
    row("add Gate\n", 1, "there is a view \"Gate\" already"); // names are trimmed
    row("add N1", 1, "uuid:");
    row("add /", 1, "\"/\"");
    row("rename / Top", 1, "the top");
    row("remove /", 1, "the top");
    // What a list of ids leaves that turned out empty.
    row("add --to Gate", 2, "--to");
    row("remove --from Gate", 2, "--from");
    row("move --from Gate --to /", 2, "--from");
    row("remove", 2, "VIEW");
    row("remove ", 1, "\"\"");
    row("add Gate N3", 2, "--to");
    row("add N3 --to Gate --at 4", 2, "1 to 3, not \"4\"");
    row("add N3 --to Gate --at 0", 2, "\"0\"");
    row("move N1 --from Gate --at 3", 2, "\"3\"");
    row("move N1 --from Gate", 2, "--to");
    row("move N1 --to /", 2, "--from");
    row("add N3 --to Gate --in Site", 2, "--in");
    row("paint", 2, "paint");

    begin();
    m_store = path("devices.ini");
    QCOMPARE(addNodes(), QByteArray());
    QCOMPARE(callAll({ "view add Site", "view add Gate --in Site", "view add N1 N2 --to Gate",
                 "view add N1 --to Site", "view add N3 --to /", "view add Twin", "view add TWIN",
                 "view add Blank" }),
        QByteArray());
    // Other programs may give views one name, none, and any ids.
    const QByteArray id = call("view list").item(1)[text("ID")].toString().toUtf8();
    tst::write(m_store,
        tst::contentOf(m_store)
            .replace("TWIN", "Twin")
            .replace("Name=Blank", "Name=")
            .replace(id, "gate-id"));
    QCOMPARE(call("convert devices.ini devices.db").code, 0);
}

void TestViewCommand::refusedCallsNameTheValueAndChangeNothing()
{
    QFETCH(QByteArray, arguments);
    QFETCH(int, code);
    QFETCH(QByteArray, named);
    const auto before = hashes();
    for (const char* store : { "devices.ini", "devices.db" }) {
        m_store = path(store);
        const Run run = call("view " + arguments);
        QCOMPARE(run.code, code);
        QVERIFY2(run.error.contains(named), run.error);
        QCOMPARE(hashes(), before);
    }
}

void TestViewCommand::cyclesInStoresAreCut()
{
    begin();
    writeViews(path("hand.ini"), { "A:x B", "B:A C", "C:A y" });
    const auto before = hashes();
    const Run run = drawn(text("hand.ini"));
    QCOMPARE(run.code, 0);
    QCOMPARE(text(run.out), text(R"(/
└─ a\u000a
   ├─ x (not known)
   └─ b\u000a
      └─ c\u000a
         └─ y (not known)
)"));
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
                + (i + 1 == k_levels ? QByteArray(":x") : ":A" + next + " B" + next));
    }
    begin();
    writeViews(path("wide.ini"), views);
    const Run run = drawn(text("wide.ini"));
    QCOMPARE(run.error, QByteArray());
    QCOMPARE(run.out.count('\n'), 1 + 1 + 2 + (k_levels - 1) * 4 + 2);
    QCOMPARE(run.out.count("see above"), (k_levels - 1) * 2);
}

QTEST_GUILESS_MAIN(TestViewCommand)
#include "tst_viewcommand.moc"
