// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "contract/filestorecontract.h"
#include "contract/scripts.h"
#include "shared/files.h"
#include "shared/logcapture.h"

#include <QDebug>
#include <QRect>
#include <QSettings>
#include <QTest>

using namespace Qt::StringLiterals;

class TestSettingsDestination : public tst::FileStoreContract
{
    Q_OBJECT
public:
    TestSettingsDestination() : FileStoreContract(u"ini:"_s, u"devices.ini"_s) { }

private slots:
    void filesOfQSettingsReadAsQSettingsReadsThem();
    void plainValuesStayReadableForQSettings();
    void foreignOddities_data();
    void foreignOddities();
    void arraysEndWithTheirLastEntry_data();
    void arraysEndWithTheirLastEntry();
    void filesOfOneSizeAreNotConfused();
};

void TestSettingsDestination::filesOfQSettingsReadAsQSettingsReadsThem()
{
    const QVariantList values = tst::valuesOfEveryType();
    const auto write = [&](QSettings& settings) {
        settings.setValue(u"odd Kéy €"_s, 1);
        settings.beginGroup(u"Grüße, general"_s);
        settings.beginWriteArray(u"Values"_s);
        for (int i = 0; i < values.size(); ++i) {
            settings.setArrayIndex(i);
            settings.setValue(u"V"_s, values[i]);
        }
        settings.endArray();
        settings.endGroup();
    };
    {
        QSettings settings(m_path, QSettings::IniFormat);
        write(settings);
    }
    // Another name, or QSettings would hand out what it still remembers.
    const QString copy = m_path + u".copy.ini"_s;
    QVERIFY(QFile::copy(m_path, copy));
    QSettings peer(copy, QSettings::IniFormat);
    const auto store = open();
    QVERIFY(!store->isDamaged());
    QCOMPARE(store->value(u"odd Kéy €"_s), QVariant(u"1"_s));
    peer.beginGroup(u"Grüße, general"_s);
    store->beginGroup(u"Grüße, general"_s);
    QCOMPARE(store->beginReadArray(u"Values"_s), int(values.size()));
    peer.beginReadArray(u"Values"_s);
    for (int i = 0; i < values.size(); ++i) {
        peer.setArrayIndex(i);
        store->setArrayIndex(i);
        const QVariant expected = peer.value(u"V"_s, u"default"_s);
        const QVariant value = store->value(u"V"_s, u"default"_s);
        QVERIFY2(value == expected && value.metaType() == expected.metaType(),
            qPrintable(QDebug::toString(value) + QDebug::toString(expected)));
    }
}

void TestSettingsDestination::plainValuesStayReadableForQSettings()
{
    const QVariantList login{ u"root"_s, true, QByteArray("a,\"\0b", 5) };
    const auto store = open();
    store->setValue(u"Text"_s, u"a, \"b\"; \\ \n@grüße"_s);
    store->setValue(u"Number"_s, u"80"_s);
    store->setValue(u"Flag"_s, true);
    store->setValue(u"Login"_s, login);
    store->setValue(u"Window"_s, QRect(1, 2, 3, 4));
    store->sync();
    QVERIFY(tst::contentOf(m_path).contains("\nFlag=true\n"));

    const QSettings settings(m_path, QSettings::IniFormat);
    QCOMPARE(settings.value(u"Text"_s), store->value(u"Text"_s));
    QCOMPARE(settings.value(u"Number"_s).toString(), u"80"_s);
    QVERIFY(settings.value(u"Flag"_s).toBool());
    QCOMPARE(settings.value(u"Window"_s).toRect(), QRect(1, 2, 3, 4));
    const QVariantList read = settings.value(u"Login"_s).toList();
    QCOMPARE(read.value(0).toString(), u"root"_s);
    QCOMPARE(read.value(2).toByteArray(), login[2].toByteArray());
}

void TestSettingsDestination::foreignOddities_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QStringList>("tree");
    QTest::addColumn<bool>("isDamaged");
    const auto lines = [](const char* text) { return QString::fromUtf8(text).split(QChar(u'|')); };
    QTest::newRow("size that is a value")
        << "[A]\nsize=3\nk=v\n"_ba << lines("A/k=QString v|A/size=QString 3") << false;
    QTest::newRow("index 0, huge index")
        << "[A]\n0\\k=v\n99999999999\\k=w\n"_ba
        << lines("A/0/k=QString v|A/99999999999/k=QString w") << false;
    QTest::newRow("lines that mean nothing")
        << "x\n[A]\nk=v\nnonsense\n[B\n"_ba << lines("A/k=QString v") << true;
    QTest::newRow("a broken variant")
        << "k=v\nl=@Variant(\\0\\0\\0\\xff)\n"_ba << lines("k=QString v") << true;
    QTest::newRow("nested without end") << "k=v\n" + "g\\"_ba.repeated(100000) + "k=v\n"
                                        << lines("k=QString v") << true;
    QTest::newRow("parts without a name")
        << "=x\n[A]\nk=v\nb\\\\k=w\n"_ba << lines("A/k=QString v") << true;
    QTest::newRow("marks in names and texts")
        << "a@b=me@home\n[A@\\x40]\n@k=@Rect(1 2)\n"_ba
        << lines("a@b=QString me@home|A@/x40/@k=QString @Rect(1 2)") << false;
    for (const char* start :
        { "@Variant", "\\x40Variant", "\\100Variant", "@\\qVariant", "x\", @\"Variant" }) {
        const QByteArray nested = "\\0\\0\\0\\t\\0\\0\\0\\x1"_ba.repeated(25000);
        QTest::addRow("nested without end: %s", start)
            << "k=v\nl=\"" + QByteArray(start) + '(' + nested + ")\"\n"
            << lines("k=QString v") << true;
    }
}

void TestSettingsDestination::arraysEndWithTheirLastEntry_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("tree");
    QTest::addColumn<QString>("told");
    QTest::addColumn<bool>("isDamaged");
    const auto row = [](const char* name, const char* content, const char* tree, const char* told,
                         bool isDamaged) {
        QTest::newRow(name) << QByteArray(content) << QString::fromLatin1(tree)
                            << QString::fromLatin1(told) << isDamaged;
    };
    const auto ours = [&](const char* name, const QByteArray& content, const char* tree,
                          const char* told, bool isDamaged) {
        const QByteArray file = "; nodedb store, version 1\n" + content + "; end of store\n";
        row(name, file.constData(), tree, told, isDamaged);
    };
    row("beyond", "[A]\r\n1\\k=v\r\nsize=2000000000\r\n", "A#1|A[0]/k=QString v",
        "A: the size 2000000000, but the last entry is 1", false);
    row("short", "[A]\nB\\1\\k=v\nB\\2\\k=w\nB\\size=1\n", "A/B#1|A/B[0]/k=QString v",
        "A/B: the size 1, but the last entry is 2", false);
    row("negative", "[A]\nsize=-1\n1\\k=v\n", "A/size=QString -1|A/1/k=QString v", "the size -1",
        true);
    row("too big", "[A]\nsize=2147483648\n1\\k=v\n", "A/size=QString 2147483648|A/1/k=QString v",
        "the size 2147483648", true);
    row("empty", "[A]\nB\\size=0\nk=v\n", "A/k=QString v", "", false);
    ours("ours, beyond", "[A]\n1\\k=v\nsize=7\n", "A#1|A[0]/k=QString v", "the size 7", false);
    ours("ours, short", "[A]\n1\\k=v\n2\\k=w\nsize=1\n", "A#2|A[0]/k=QString v|A[1]/k=QString w",
        "the size 1", true);
    ours("ours, absent", "[A]\n1\\k=v\n", "A/1/k=QString v", "A: an array without", true);
    ours("ours, a key twice", "[A]\n1\\k=v\n1\\k=w\nsize=1\n", "A#1|A[0]/k=QString w", "twice",
        true);
}

void TestSettingsDestination::arraysEndWithTheirLastEntry()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, tree);
    QFETCH(QString, told);
    QFETCH(bool, isDamaged);
    tst::write(m_path, content);
    const tst::LogCapture log;
    const auto store = open();
    QCOMPARE(tst::flat(store->tree()).join(u'|'), tree);
    QCOMPARE(store->isDamaged(), isDamaged);
    QCOMPARE(log.linesWith(m_path).size(), told.isEmpty() ? 0 : 1);
    QVERIFY2(told.isEmpty() || log.linesWith(told).size() == 1, qPrintable(log.lines().join(u'|')));
}

void TestSettingsDestination::filesOfOneSizeAreNotConfused()
{
    for (int i = 0; i < 100; ++i) {
        tst::write(m_path, "k="_ba + char('a' + i % 26) + '\n');
        QCOMPARE(open()->value(u"k"_s).toString(), QString(QChar('a' + i % 26)));
    }
}

void TestSettingsDestination::foreignOddities()
{
    QFETCH(QByteArray, content);
    QFETCH(QStringList, tree);
    QFETCH(bool, isDamaged);
    tst::write(m_path, content);
    const tst::LogCapture log;
    const auto store = open();
    QCOMPARE(tst::flat(store->tree()), tree);
    QCOMPARE(store->isDamaged(), isDamaged);
    QCOMPARE(!log.linesWith(m_path).isEmpty(), isDamaged);
}

int main(int argc, char* argv[])
{
    TestSettingsDestination test;
    return tst::runContract(argc, argv, test);
}

#include "tst_settingsdestination.moc"
