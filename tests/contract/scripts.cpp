// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "contract/scripts.h"

#include <QDateTime>
#include <QPoint>
#include <QRandomGenerator>
#include <QRect>
#include <QTest>

#include <cmath>
#include <limits>

namespace tst {

namespace {

using Target = tq::IPersistDestination;

QString str(const char* text)
{
    return QString::fromUtf8(text);
}

/** Writes `key` = `value` into the entries from `first` to `last` of an array. */
void fill(Target& t, const char* array, int first, int last, const char* key, int value)
{
    t.beginWriteArray(str(array));
    for (int i = first; i <= last; ++i) {
        t.setArrayIndex(i);
        t.setValue(str(key), value);
    }
    t.endArray();
}

void addRow(const char* name, const QStringList& tree, const Script& script)
{
    QTest::newRow(name) << script << tree;
}

void addArrayScripts()
{
    addRow("arrays in arrays",
        { str("A#2"), str("A[0]/B#2"), str("A[0]/B[0]/k=int 1"), str("A[0]/B[1]/k=int 1"),
            str("A[1]/B#1"), str("A[1]/B[0]/k=int 2") },
        [](Target& t) {
            t.beginWriteArray(str("A"));
            t.setArrayIndex(0);
            fill(t, "B", 0, 1, "k", 1);
            t.setArrayIndex(1);
            fill(t, "B", 0, 0, "k", 2);
            t.endArray();
        });
    addRow("two arrays of one name merge",
        { str("G/A#2"), str("G/A[0]/x=int 1"), str("G/A[0]/y=int 2"), str("G/A[1]/x=int 1"),
            str("G/A[1]/y=int 2") },
        [](Target& t) {
            t.beginGroup(str("G"));
            fill(t, "A", 0, 1, "x", 1);
            fill(t, "A", 0, 1, "y", 2);
            t.endGroup();
        });
    addRow("two arrays of one name merge inside an entry",
        { str("L#1"), str("L[0]/A#2"), str("L[0]/A[0]/x=int 1"), str("L[0]/A[0]/y=int 2"),
            str("L[0]/A[1]/x=int 1"), str("L[0]/B#1"), str("L[0]/B[0]/z=int 3") },
        [](Target& t) {
            t.beginWriteArray(str("L"));
            t.setArrayIndex(0);
            fill(t, "A", 0, 1, "x", 1);
            fill(t, "B", 0, 0, "z", 3);
            fill(t, "A", 0, 0, "y", 2);
            t.endArray();
        });
    addRow("a reopened array does not shrink",
        { str("A#3"), str("A[0]/x=int 2"), str("A[1]/x=int 1"), str("A[2]/x=int 1") },
        [](Target& t) {
            fill(t, "A", 0, 2, "x", 1);
            t.sync();
            fill(t, "A", 0, 0, "x", 2);
        });
}

void addOddArrayScripts()
{
    addRow("names like escapes",
        { str("A/x40/k=int 2"), str("A#101"), str("A[63]/k=int 1"), str("A[64]/k=int 1"),
            str("A[99]/k=int 3"), str("A[100]/k=int 3") },
        [](Target& t) {
            fill(t, "A", 63, 64, "k", 1);
            fill(t, "A", 99, 100, "k", 3);
            t.beginGroup(str("A"));
            t.beginGroup(str("x40"));
            t.setValue(str("k"), 2);
            t.endGroup();
            t.endGroup();
        });
    addRow("skipped, empty and announced entries count",
        { str("A#4"), str("A[3]/x=int 1"), str("B#2"), str("C#5"), str("L#1"), str("L[0]/D#3") },
        [](Target& t) {
            fill(t, "A", 3, 3, "x", 1);
            t.beginWriteArray(str("B"));
            t.setArrayIndex(1);
            t.endArray();
            t.beginWriteArray(str("C"), 5);
            t.endArray();
            t.beginWriteArray(str("L"));
            t.setArrayIndex(0);
            t.beginWriteArray(str("D"), 3);
            t.endArray();
            t.endArray();
            t.beginWriteArray(str("None"));
            t.endArray();
        });
}

void addRemovalScripts()
{
    addRow("remove takes value, group and array, here only",
        { str("G/A#1"), str("G/A[0]/k=int 1"), str("Gx/k=int 1") }, [](Target& t) {
            for (int i = 0; i < 2; ++i) {
                t.setValue(str("A"), 1);
                fill(t, "A", 0, 1, "k", 1);
                t.beginGroup(str("A"));
                t.setValue(str("k"), 1);
                fill(t, "A", 0, 1, "k", 1);
                t.endGroup();
                t.remove(str("A"));
                t.sync();
            }
            t.beginGroup(str("G"));
            fill(t, "A", 0, 0, "k", 1);
            t.endGroup();
            t.beginGroup(str("Gx"));
            t.setValue(str("k"), 1);
            t.endGroup();
            t.remove(str("A"));
            t.remove(str("none"));
        });
    addRow("remove inside an entry",
        { str("A#2"), str("A[0]/k=int 1"), str("A[1]/B#1"), str("A[1]/B[0]/k=int 5") },
        [](Target& t) {
            t.beginWriteArray(str("A"));
            t.setArrayIndex(0);
            t.setValue(str("k"), 1);
            t.setValue(str("gone"), 1);
            t.setArrayIndex(1);
            fill(t, "B", 0, 3, "k", 4);
            t.setArrayIndex(0);
            t.remove(str("gone"));
            t.setArrayIndex(1);
            t.remove(str("B"));
            fill(t, "B", 0, 0, "k", 5);
            t.endArray();
        });
    addRow("written again after remove", { str("G/k=int 2") }, [](Target& t) {
        t.beginGroup(str("G"));
        t.setValue(str("k"), 1);
        t.setValue(str("l"), 1);
        t.endGroup();
        t.sync();
        t.remove(str("G"));
        t.beginGroup(str("G"));
        t.setValue(str("k"), 2);
        t.endGroup();
    });
}

QVariant nestedList(int depth)
{
    return depth == 0 ? QVariant(1) : QVariant(QVariantList{ nestedList(depth - 1), str("x") });
}

} // namespace

void addScripts()
{
    QTest::addColumn<Script>("script");
    QTest::addColumn<QStringList>("tree");
    addArrayScripts();
    addOddArrayScripts();
    addRemovalScripts();
    addRow("one name thrice", { str("N=int 1"), str("N/k=int 2"), str("N#1"), str("N[0]/k=int 3") },
        [](Target& t) {
            t.setValue(str("N"), 1);
            t.beginGroup(str("N"));
            t.setValue(str("k"), 2);
            t.endGroup();
            fill(t, "N", 0, 0, "k", 3);
        });
    addRow("odd names",
        { str("=int 1"), str("%41=int 1"), str("1=int 1"), str("General=int 1"), str("a/b=int 1"),
            str("a\\b=int 1"), str("general=int 1"), str("size=int 1"), str("ü€ =int 1"),
            str("/k=int 2"), str("%41/k=int 2"), str("1/k=int 2"), str("General/k=int 2"),
            str("a/b/k=int 2"), str("a\\b/k=int 2"), str("general/k=int 2"), str("size/k=int 2"),
            str("ü€ /k=int 2") },
        [](Target& t) {
            for (const char* name :
                { "", "%41", "1", "General", "general", "a/b", "a\\b", "size", "ü€ " }) {
                t.setValue(str(name), 1);
                t.beginGroup(str(name));
                t.setValue(str("k"), 2);
                t.endGroup();
            }
        });
    addRow("noncharacters", { str("\xef\xb7\x90@=QString \xef\xb7\x90@") },
        [](Target& t) { t.setValue(str("\xef\xb7\x90@"), str("\xef\xb7\x90@")); });
    addRow("a group that looks like an array", { str("G/size=int 2"), str("G/1/k=int 1") },
        [](Target& t) {
            t.beginGroup(str("G"));
            t.setValue(str("size"), 2);
            t.beginGroup(str("1"));
            t.setValue(str("k"), 1);
            t.endGroup();
            t.endGroup();
        });
}

void addUnmatchedCalls()
{
    QTest::addColumn<Script>("script");
    QTest::addColumn<QStringList>("tree");
    const QStringList one{ str("A#1"), str("A[0]/k=int 1") };
    addRow("an end too many", one, [](Target& t) {
        t.endGroup();
        fill(t, "A", 0, 0, "k", 1);
    });
    addRow("a group left open in an entry",
        { str("A#2"), str("A[0]/G/k=int 1"), str("A[1]/k=int 2") }, [](Target& t) {
            t.beginWriteArray(str("A"));
            t.setArrayIndex(0);
            t.beginGroup(str("G"));
            t.setValue(str("k"), 1);
            t.setArrayIndex(1);
            t.setValue(str("k"), 2);
            t.endArray();
        });
    addRow("an array left open in a group", { str("k=int 2"), str("G/A#1"), str("G/A[0]/k=int 1") },
        [](Target& t) {
            t.beginGroup(str("G"));
            t.beginWriteArray(str("A"));
            t.setArrayIndex(0);
            t.setValue(str("k"), 1);
            t.endGroup();
            t.setValue(str("k"), 2);
        });
    addRow("left open at the sync", one, [](Target& t) {
        t.beginWriteArray(str("A"));
        t.setArrayIndex(0);
        t.setValue(str("k"), 1);
    });
    addRow("no entry selected", {}, [](Target& t) {
        t.beginWriteArray(str("A"));
        t.setValue(str("k"), 1);
        t.endArray();
    });
    addRow("an entry beyond every array", {}, [](Target& t) {
        t.beginWriteArray(str("A"));
        t.setArrayIndex(std::numeric_limits<int>::max());
        t.endArray();
    });
    addRow("nested without end", {}, [](Target& t) {
        for (int i = 0; i < 100; ++i)
            t.beginGroup(str("G"));
        t.setValue(str("k"), 1);
        for (int i = 0; i < 100; ++i)
            t.endGroup();
    });
}

QVariantList valuesOfEveryType()
{
    const QString nul = str("a") + QChar(0) + str("b") + QChar(0)
        + str("1\n\r\t\x01"
              "f\x7f");
    const QByteArray bytes = QByteArray("\0\xff\n,;=\"@)\\", 10);
    return { QVariant(), true, false, 0, -1, std::numeric_limits<int>::min(), 4000000000u,
        qlonglong(-1) << 62, std::numeric_limits<qulonglong>::max(), QVariant(0.1f), 0.1, 1e300,
        1.0, HUGE_VAL, QString(), str("plain"), str("true"), str("80"), str("080"), str("@Rect(1)"),
        str("@"), str("@@list"), str(" blanks "), str("a, b; c=\"d\" \\ %41 {x}/y [z]"),
        str("grüße \xe2\x82\xac \xf0\x9f\x98\x80 \xe2\x80\xa8"), nul, str("@@") + nul,
        str("me@home @Variant(x)"), QString(QChar(0xd800)), QString(5000, QLatin1Char('x')),
        QByteArray(), bytes, QByteArray("80"), QByteArray("packed:"), QRect(),
        QRect(-3, 4, 640, 480), QVariantList{ str("root"), true, QByteArray("secret") },
        QVariantList{ str("root"), false }, QVariantList{ str("80"), 80, QByteArray("80") },
        QVariantList{ str("a"), str("b") }, QVariantList{ str("a") }, QVariantList{ QVariant() },
        QVariantList(), QStringList(), QStringList{ str("a") },
        QStringList{ str("1"), str(""), str("a, b"), str("@list") },
        QVariantList{ QVariantList(), QStringList{ str("x") }, QRect(1, 2, 3, 4), 2.5 },
        nestedList(40), QVariantMap{ { str("k"), 1 }, { str("m"), QVariantMap() } }, QPoint(1, -2),
        QDateTime(QDate(2026, 2, 3), QTime(4, 5, 6, 7), Qt::UTC) };
}

void writeDevices(Target& t, int count)
{
    t.setValue(str("Old"), str("none"));
    t.beginGroup(str("Devices"));
    t.setValue(str("Active"), true);
    t.beginWriteArray(str("Devices"));
    for (int i = 0; i < count; ++i) {
        t.setArrayIndex(i);
        t.setValue(str("ID"), str("id-%1").arg(i));
        t.setValue(str("Name"), str("Gerät, %1").arg(i));
        t.setValue(str("Window"), QRect(0, 0, i, i));
        t.setValue(str("User"), QVariantList{ str("root"), true, QByteArray("secret") });
        t.beginGroup(str("Port"));
        fill(t, "Environment", 0, 1, "Port", 80 + i);
        fill(t, "Environment", 0, 1, "Key", i);
        t.endGroup();
    }
    t.endArray();
    t.endGroup();
}

void callAtRandom(const std::vector<Target*>& targets, quint32 seed)
{
    QRandomGenerator random(seed);
    std::vector<bool> open; // true: an array
    const auto each = [&targets](const auto& call) {
        for (Target* target : targets)
            call(*target);
    };
    const auto close = [&] {
        each([&open](Target& t) { open.back() ? t.endArray() : t.endGroup(); });
        open.pop_back();
    };
    for (int i = 0; i < 300; ++i) {
        const QString name(QChar(char16_t('a' + random.bounded(3))));
        const int number = random.bounded(4);
        const quint32 kind = random.bounded(16u);
        if (kind < 2 && open.size() < 5) {
            each([&](Target& t) { t.beginGroup(name); });
            open.push_back(false);
        } else if (kind < 4 && open.size() < 5) {
            each([&](Target& t) {
                t.beginWriteArray(name);
                t.setArrayIndex(number);
            });
            open.push_back(true);
        } else if (kind < 7 && !open.empty() && open.back()) {
            each([&](Target& t) { t.setArrayIndex(number); });
        } else if (kind < 8) {
            each([&](Target& t) { t.remove(name); });
        } else if (kind < 11 && !open.empty()) {
            close();
        } else {
            each([&](Target& t) { t.setValue(name, i); });
        }
    }
    while (!open.empty())
        close();
}

} // namespace tst
