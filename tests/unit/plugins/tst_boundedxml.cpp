// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "parts/boundedxml.h"

#include <QStringEncoder>
#include <QTest>

using namespace tq;

namespace {

const QString k_greeting = QString::fromUtf8("Gr\u00fc\u00dfe \U0001F600");

QByteArray declared(const char* encoding, const QString& text = k_greeting)
{
    return QStringLiteral("<?xml version='1.0' encoding='%1'?><a>%2</a>")
        .arg(QLatin1String(encoding), text)
        .toUtf8();
}

QByteArray inUtf16(const QByteArray& utf8, QStringConverter::Encoding encoding, bool hasMark)
{
    QStringEncoder encoder(
        encoding, hasMark ? QStringConverter::Flag::WriteBom : QStringConverter::Flag::Default);
    return encoder(QString::fromUtf8(utf8));
}

QByteArray nested(int depth)
{
    return QByteArrayLiteral("<a>").repeated(depth) + QByteArrayLiteral("</a>").repeated(depth);
}

QByteArray inRoot(const QByteArray& content)
{
    return "<a>" + content + "</a>";
}

QByteArray withAttributes(int count)
{
    QByteArray result = "<a";
    for (int i = 0; i < count; ++i)
        result += " b" + QByteArray::number(i) + "=''";
    return result + "/>";
}

} // namespace

class TestBoundedXml : public QObject
{
    Q_OBJECT

private slots:
    void buildsATree();
    void readsItsEncodings_data();
    void readsItsEncodings();
    void refuses_data();
    void refuses();
    void readsUpToItsBounds();
    void survivesEveryTruncation();
};

void TestBoundedXml::buildsATree()
{
    QString error = QStringLiteral("old");
    const auto root = readBoundedXml("<?xml version='1.0'?><!-- x --><s:A xmlns:s='urn:s' "
                                     "xmlns='urn:d'> one<B>&lt;&#x41;<![CDATA[&B;]]> </B>"
                                     "<C><E>deep</E></C><s:D/><?x y?>two\n<E>flat</E></s:A>",
        &error);
    QVERIFY2(root, qPrintable(error));
    QVERIFY(error.isEmpty());
    QCOMPARE(root->ns + root->name, QStringLiteral("urn:sA"));
    QCOMPARE(root->text, QStringLiteral("onetwo"));
    QCOMPARE(root->children.size(), 4);
    QCOMPARE(root->child(u"B")->ns, QStringLiteral("urn:d"));
    QCOMPARE(root->child(u"B")->text, QStringLiteral("<A&B;"));
    QCOMPARE(root->child(u"D")->ns, QStringLiteral("urn:s"));
    QCOMPARE(root->child(u"E")->text, QStringLiteral("flat"));
    QCOMPARE(root->find(u"E")->text, QStringLiteral("deep"));
    QVERIFY(!root->child(u"s:D") && !root->find(u"A") && !root->find(u"F"));
}

void TestBoundedXml::readsItsEncodings_data()
{
    const QByteArray bare = inRoot(k_greeting.toUtf8());
    QTest::addColumn<QByteArray>("document");
    QTest::newRow("nothing said") << bare;
    QTest::newRow("a mark") << "\xef\xbb\xbf" + bare;
    QTest::newRow("UTF-8 declared") << declared("utf-8");
    QTest::newRow("UTF-8 declared, a mark") << "\xef\xbb\xbf" + declared("UTF-8");
    QTest::newRow("Latin declared")
        << "<?xml version='1.0' encoding='iso-8859-1'?>" + inRoot(k_greeting.left(5).toLatin1());
    for (const auto encoding : { QStringConverter::Utf16LE, QStringConverter::Utf16BE }) {
        const char* const name = QStringConverter::nameForEncoding(encoding);
        QTest::addRow("%s, nothing said", name) << inUtf16(bare, encoding, false);
        QTest::addRow("%s, a mark", name) << inUtf16(bare, encoding, true);
        QTest::addRow("%s, declared with a mark", name)
            << inUtf16(declared("UTF-16"), encoding, true);
        QTest::addRow("%s, declared", name) << inUtf16(declared(name), encoding, false);
    }
}

void TestBoundedXml::readsItsEncodings()
{
    QFETCH(const QByteArray, document);
    QString error;
    const auto root = readBoundedXml(document, &error);
    QVERIFY2(root, qPrintable(error));
    QCOMPARE(root->text, document.contains("8859") ? k_greeting.left(5) : k_greeting);
}

void TestBoundedXml::refuses_data()
{
    QTest::addColumn<QByteArray>("document");
    for (const char* const document : { "", "hello", "<!DOCTYPE a><a/>", "<a>&b;</a>",
             "<!DOCTYPE a [<!ENTITY b 'bbb'>]><a>&b;</a>", "<!DOCTYPE a SYSTEM '/dev/zero'><a/>",
             "<a b='&c;'/>", "<a:b/>", "<a/><a/>", "<a>&#0;</a>", "<a>&#xd800;</a>",
             "<a>&#x100000041;</a>" })
        QTest::addRow("text '%s'", document) << QByteArray(document);
    // Control characters, no UTF-8, half a character, and a bracket in two bytes.
    for (const auto& content :
        { QByteArray(1, '\0'), QByteArray("\x01"), QByteArray("\x0b"), QByteArray("\x1b"),
            QByteArray("\xff\xfe"), QByteArray("\xc3"), QByteArray("\xc0\xbc") })
        QTest::addRow("bytes %s", content.toHex().constData()) << inRoot(content);
    QTest::newRow("bytes after the end") << QByteArray("<a/>\0\0", 6);
    QTest::newRow("declared UTF-16, written in bytes") << declared("UTF-16");
    for (const char* const name : { "UTF-8", "ISO-8859-1", "US-ASCII", "UTF-16BE", "UTF-32" })
        QTest::addRow("declared %s, written in UTF-16LE", name)
            << inUtf16(declared(name), QStringConverter::Utf16LE, true);
    for (const char* const name : { "UTF-7", "EBCDIC-CP-US", "windows-1252", "x", "", "\x1b[2J" })
        QTest::addRow("declared %s", name) << declared(name, QStringLiteral("a"));
    QTest::newRow("half a UTF-16 character") << inUtf16("<a>", QStringConverter::Utf16LE, false)
            + QByteArray("\x00\xd8", 2) + inUtf16("</a>", QStringConverter::Utf16LE, false);
    QTest::newRow("too large") << inRoot(QByteArray(64 * 1024 - 6, 'b'));
    QTest::newRow("too deep") << nested(33);
    QTest::newRow("bottomless") << QByteArrayLiteral("<a>").repeated(20000);
    QTest::newRow("too many elements") << inRoot(QByteArrayLiteral("<a/>").repeated(2000));
    QTest::newRow("too many attributes") << withAttributes(251);
    QTest::newRow("a name without end") << "<" + QByteArray(65000, 'a');
    QTest::newRow("an entity without end") << inRoot("&" + QByteArray(65000, 'a') + ";");
}

void TestBoundedXml::refuses()
{
    QFETCH(const QByteArray, document);
    QString error;
    QVERIFY(!readBoundedXml(document, &error));
    QVERIFY(!error.isEmpty());
    QVERIFY(error.size() <= 200);
    QVERIFY(!readBoundedXml(document, nullptr));
}

void TestBoundedXml::readsUpToItsBounds()
{
    QString error;
    for (const QByteArray& document : { inRoot(QByteArray(64 * 1024 - 7, 'b')), nested(32),
             inRoot(QByteArrayLiteral("<a/>").repeated(1999)), withAttributes(250) })
        QVERIFY2(readBoundedXml(document, &error), qPrintable(error));
}

void TestBoundedXml::survivesEveryTruncation()
{
    const QByteArray whole = "<?xml version='1.0' encoding='%1'?><a b='&lt;&#x41;' xmlns:c='d'>"
                             "<c:e><![CDATA[f]]></c:e><!-- g --><?h i?>\xc3\xbc&amp;</a>";
    for (const QByteArray& document :
        { QByteArray(whole).replace("%1", "UTF-8"),
            inUtf16(QByteArray(whole).replace("%1", "UTF-16"), QStringConverter::Utf16LE, true) }) {
        QVERIFY(readBoundedXml(document, nullptr));
        for (qsizetype size = 0; size < document.size(); ++size) {
            // On a heap of its own: a sanitizer sees a read beyond it.
            const QByteArray head(document.constData(), size);
            QVERIFY2(!readBoundedXml(head, nullptr), qPrintable(QString::number(size)));
        }
    }
}

QTEST_GUILESS_MAIN(TestBoundedXml)
#include "tst_boundedxml.moc"
