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

using namespace Qt::StringLiterals;

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

/** Writes a value into a group. */
void put(Target& t, const char* group, const char* key, int value)
{
    t.beginGroup(str(group));
    t.setValue(str(key), value);
    t.endGroup();
}

void enter(Target& t, const char* array, int index)
{
    t.beginWriteArray(str(array));
    t.setArrayIndex(index);
}

/** Adds a script with the lines of the tree that it leaves, bars between them. */
void addRow(const char* name, const char* tree, const Script& script)
{
    QTest::newRow(name) << script << str(tree).split(u'|', Qt::SkipEmptyParts);
}

void addArrayScripts()
{
    addRow("arrays in arrays",
        "A#2|A[0]/B#2|A[0]/B[0]/k=int 1|A[0]/B[1]/k=int 1|A[1]/B#1|A[1]/B[0]/k=int 2",
        [](Target& t) {
            enter(t, "A", 0);
            fill(t, "B", 0, 1, "k", 1);
            t.setArrayIndex(1);
            fill(t, "B", 0, 0, "k", 2);
            t.endArray();
        });
    addRow("two arrays of one name merge",
        "G/A#2|G/A[0]/x=int 1|G/A[0]/y=int 2|G/A[1]/x=int 1|G/A[1]/y=int 2", [](Target& t) {
            t.beginGroup(u"G"_s);
            fill(t, "A", 0, 1, "x", 1);
            fill(t, "A", 0, 1, "y", 2);
            t.endGroup();
        });
    addRow("two arrays of one name merge inside an entry",
        "L#1|L[0]/A#2|L[0]/A[0]/x=int 1|L[0]/A[0]/y=int 2|L[0]/A[1]/x=int 1|"
        "L[0]/B#1|L[0]/B[0]/z=int 3",
        [](Target& t) {
            enter(t, "L", 0);
            fill(t, "A", 0, 1, "x", 1);
            fill(t, "B", 0, 0, "z", 3);
            fill(t, "A", 0, 0, "y", 2);
            t.endArray();
        });
    addRow("a reopened array does not shrink", "A#3|A[0]/x=int 2|A[1]/x=int 1|A[2]/x=int 1",
        [](Target& t) {
            fill(t, "A", 0, 2, "x", 1);
            t.sync();
            fill(t, "A", 0, 0, "x", 2);
        });
}

void addOddArrayScripts()
{
    addRow("names like escapes",
        "A/x40/k=int 2|A#101|A[63]/k=int 1|A[64]/k=int 1|A[99]/k=int 3|A[100]/k=int 3",
        [](Target& t) {
            fill(t, "A", 63, 64, "k", 1);
            fill(t, "A", 99, 100, "k", 3);
            t.beginGroup(u"A"_s);
            put(t, "x40", "k", 2);
            t.endGroup();
        });
    addRow("skipped, empty and announced entries count", "A#4|A[3]/x=int 1|B#2|C#5|L#1|L[0]/D#3",
        [](Target& t) {
            fill(t, "A", 3, 3, "x", 1);
            enter(t, "B", 1);
            t.endArray();
            t.beginWriteArray(u"C"_s, 5);
            t.endArray();
            enter(t, "L", 0);
            t.beginWriteArray(u"D"_s, 3);
            t.endArray();
            t.endArray();
            t.beginWriteArray(u"None"_s);
            t.endArray();
        });
}

void addRemovalScripts()
{
    addRow("remove takes value, group and array, here only", "G/A#1|G/A[0]/k=int 1|Gx/k=int 1",
        [](Target& t) {
            for (int i = 0; i < 2; ++i) {
                t.setValue(u"A"_s, 1);
                fill(t, "A", 0, 1, "k", 1);
                t.beginGroup(u"A"_s);
                t.setValue(u"k"_s, 1);
                fill(t, "A", 0, 1, "k", 1);
                t.endGroup();
                t.remove(u"A"_s);
                t.sync();
            }
            t.beginGroup(u"G"_s);
            fill(t, "A", 0, 0, "k", 1);
            t.endGroup();
            put(t, "Gx", "k", 1);
            t.remove(u"A"_s);
            t.remove(u"none"_s);
        });
    addRow("remove inside an entry", "A#2|A[0]/k=int 1|A[1]/B#1|A[1]/B[0]/k=int 5", [](Target& t) {
        enter(t, "A", 0);
        t.setValue(u"k"_s, 1);
        t.setValue(u"gone"_s, 1);
        t.setArrayIndex(1);
        fill(t, "B", 0, 3, "k", 4);
        t.setArrayIndex(0);
        t.remove(u"gone"_s);
        t.setArrayIndex(1);
        t.remove(u"B"_s);
        fill(t, "B", 0, 0, "k", 5);
        t.endArray();
    });
    addRow("written again after remove", "G/k=int 2", [](Target& t) {
        t.beginGroup(u"G"_s);
        t.setValue(u"k"_s, 1);
        t.setValue(u"l"_s, 1);
        t.endGroup();
        t.sync();
        t.remove(u"G"_s);
        put(t, "G", "k", 2);
    });
}

QVariant nestedList(int depth)
{
    return depth == 0 ? QVariant(1) : QVariant(QVariantList{ nestedList(depth - 1), u"x"_s });
}

} // namespace

void addScripts()
{
    QTest::addColumn<Script>("script");
    QTest::addColumn<QStringList>("tree");
    addArrayScripts();
    addOddArrayScripts();
    addRemovalScripts();
    addRow("one name thrice", "N=int 1|N/k=int 2|N#1|N[0]/k=int 3", [](Target& t) {
        t.setValue(u"N"_s, 1);
        put(t, "N", "k", 2);
        fill(t, "N", 0, 0, "k", 3);
    });
    addRow("odd names",
        "=int 1|%41=int 1|1=int 1|General=int 1|a/b=int 1|a\\b=int 1|general=int 1|size=int 1|ü€ =int 1|"
        "/k=int 2|%41/k=int 2|1/k=int 2|General/k=int 2|a/b/k=int 2|a\\b/k=int 2|general/k=int 2|"
        "size/k=int 2|ü€ /k=int 2",
        [](Target& t) {
            for (const char* name :
                { "", "%41", "1", "General", "general", "a/b", "a\\b", "size", "ü€ " }) {
                t.setValue(str(name), 1);
                put(t, name, "k", 2);
            }
        });
    addRow("noncharacters", "\xef\xb7\x90@=QString \xef\xb7\x90@",
        [](Target& t) { t.setValue(str("\xef\xb7\x90@"), str("\xef\xb7\x90@")); });
    addRow("a group that looks like an array", "G/size=int 2|G/1/k=int 1", [](Target& t) {
        t.beginGroup(u"G"_s);
        t.setValue(u"size"_s, 2);
        put(t, "1", "k", 1);
        t.endGroup();
    });
}

void addUnmatchedCalls()
{
    QTest::addColumn<Script>("script");
    QTest::addColumn<QStringList>("tree");
    const char* const one = "A#1|A[0]/k=int 1";
    addRow("an end too many", one, [](Target& t) {
        t.endGroup();
        fill(t, "A", 0, 0, "k", 1);
    });
    addRow("a group left open in an entry", "A#2|A[0]/G/k=int 1|A[1]/k=int 2", [](Target& t) {
        enter(t, "A", 0);
        t.beginGroup(u"G"_s);
        t.setValue(u"k"_s, 1);
        t.setArrayIndex(1);
        t.setValue(u"k"_s, 2);
        t.endArray();
    });
    addRow("an array left open in a group", "k=int 2|G/A#1|G/A[0]/k=int 1", [](Target& t) {
        t.beginGroup(u"G"_s);
        enter(t, "A", 0);
        t.setValue(u"k"_s, 1);
        t.endGroup();
        t.setValue(u"k"_s, 2);
    });
    addRow("left open at the sync", one, [](Target& t) {
        enter(t, "A", 0);
        t.setValue(u"k"_s, 1);
    });
    addRow("no entry selected", "", [](Target& t) {
        t.beginWriteArray(u"A"_s);
        t.setValue(u"k"_s, 1);
        t.endArray();
    });
    addRow("an entry beyond every array", "", [](Target& t) {
        t.beginWriteArray(u"A"_s);
        t.setArrayIndex(std::numeric_limits<int>::max());
        t.endArray();
    });
    addRow("nested without end", "", [](Target& t) {
        for (int i = 0; i < 100; ++i)
            t.beginGroup(u"G"_s);
        t.setValue(u"k"_s, 1);
        for (int i = 0; i < 100; ++i)
            t.endGroup();
    });
}

QVariantList valuesOfEveryType()
{
    const QString nul = u"a"_s + QChar(0) + u"b"_s + QChar(0)
        + u"1\n\r\t\x01"
          "f\x7f"_s;
    const QByteArray bytes = QByteArray("\0\xff\n,;=\"@)\\", 10);
    return { QVariant(), true, false, 0, -1, std::numeric_limits<int>::min(), 4000000000u,
        qlonglong(-1) << 62, std::numeric_limits<qulonglong>::max(), QVariant(0.1f), 0.1, 1e300,
        1.0, HUGE_VAL, QString(), u"plain"_s, u"true"_s, u"80"_s, u"080"_s, u"@Rect(1)"_s, u"@"_s,
        u"@@list"_s, u" blanks "_s, u"a, b; c=\"d\" \\ %41 {x}/y [z]"_s,
        str("grüße \xe2\x82\xac \xf0\x9f\x98\x80 \xe2\x80\xa8"), nul, u"@@"_s + nul,
        u"me@home @Variant(x)"_s, QString(QChar(0xd800)), QString(5000, u'x'), QByteArray(), bytes,
        "80"_ba, "packed:"_ba, QRect(), QRect(-3, 4, 640, 480),
        QVariantList{ u"root"_s, true, "secret"_ba }, QVariantList{ u"root"_s, false },
        QVariantList{ u"80"_s, 80, "80"_ba }, QVariantList{ u"a"_s, u"b"_s },
        QVariantList{ u"a"_s }, QVariantList{ QVariant() }, QVariantList(), QStringList(),
        QStringList{ u"a"_s }, QStringList{ u"1"_s, u""_s, u"a, b"_s, u"@list"_s },
        QVariantList{ QVariantList(), QStringList{ u"x"_s }, QRect(1, 2, 3, 4), 2.5 },
        nestedList(40), QVariantMap{ { u"k"_s, 1 }, { u"m"_s, QVariantMap() } }, QPoint(1, -2),
        QDateTime(QDate(2026, 2, 3), QTime(4, 5, 6, 7), Qt::UTC) };
}

void writeDevices(Target& t, int count)
{
    t.setValue(u"Old"_s, u"none"_s);
    t.beginGroup(u"Devices"_s);
    t.setValue(u"Active"_s, true);
    t.beginWriteArray(u"Devices"_s);
    for (int i = 0; i < count; ++i) {
        t.setArrayIndex(i);
        t.setValue(u"ID"_s, u"id-%1"_s.arg(i));
        t.setValue(u"Name"_s, u"Gerät, %1"_s.arg(i));
        t.setValue(u"Window"_s, QRect(0, 0, i, i));
        t.setValue(u"User"_s, QVariantList{ u"root"_s, true, "secret"_ba });
        t.beginGroup(u"Port"_s);
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
