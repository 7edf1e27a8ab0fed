// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "platform/component.h"
#include "platform/exceptions.h"
#include "platform/logline.h"
#include "platform/macaddress.h"
#include "platform/properties/properties.h"
#include "platform/properties/propertysetproperty.h"
#include "platform/properties/variantproperty.h"
#include "platform/smart.h"
#include "platform/trustedpath_p.h"
#include "shared/logcapture.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace tq;

namespace {

struct Extra : public virtual IInterface
{
    IInterface* getInterface(const std::string&) override { return this; }
    const IInterface* getInterface(const std::string&) const override { return this; }
};

struct Plain : public IComponent
{
    IInterface* getInterface(const std::string&) override { return nullptr; }
    const IInterface* getInterface(const std::string&) const override { return nullptr; }
};

struct Rich : public IComponent, public Extra
{
};

} // namespace

class TestPlatform : public QObject
{
    Q_OBJECT

private slots:
    void handlesConvertByCheckedCast();
    void handlesUseTheDeleterOfTheirGroup();
    void macNotations_data();
    void macNotations();
    void propertySetsKeepOrderAndCopyDeeply();
    void propertiesTakeOnlyWhatConverts();
    void logLinesFollowTheLevelAndLeaveNoFormatBehind();
    void logValuesCannotForgeLines();
    void exceptionsCarryValueMessageAndCause();
    void pathsThatOthersMayWriteToAreNotTrusted();
};

void TestPlatform::handlesConvertByCheckedCast()
{
    const tqm::smart<IComponent> rich(new Rich);
    const tqm::smart<Extra> extra = rich;
    QCOMPARE(extra.get(), dynamic_cast<Extra*>(rich.get()));
    QCOMPARE(rich.useCount(), 2L);
    const tqm::smart<const IComponent> constant = extra;
    QCOMPARE(rich.useCount(), 3L);
    QVERIFY(constant == rich);

    const tqm::smart<IComponent> plain(new Plain);
    const tqm::smart<Extra> refused = plain;
    QVERIFY(refused.null());
    QCOMPARE(plain.useCount(), 1L);
    QVERIFY(tqm::smart<Extra>(tqm::smart<IComponent>()).null());
    static_assert(!std::is_constructible_v<tqm::smart<Extra>, tqm::smart<const IComponent>>);
}

void TestPlatform::handlesUseTheDeleterOfTheirGroup()
{
    int deleted = 0;
    tqm::smart<IComponent> first;
    first.createGroup(new Rich, [&](IComponent* pointee) {
        ++deleted;
        delete pointee;
    });
    tqm::smart<Extra> second = first;
    first.reset();
    QVERIFY(first.null());
    QCOMPARE(deleted, 0);
    second.reset();
    QCOMPARE(deleted, 1);
}

void TestPlatform::macNotations_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("valid");
    QTest::addColumn<QString>("printed");
    const QString address = QStringLiteral("00:1a:2b:3c:4d:5e");
    QTest::newRow("colons") << "00:1A:2b:3C:4d:5e" << true << address;
    QTest::newRow("short") << "0:1a:2b:3c:4d:5e" << true << address;
    QTest::newRow("hyphens") << " 00-1a-2b-3c-4d-5e " << true << address;
    QTest::newRow("dots") << "001a.2b3c.4d5e" << true << address;
    QTest::newRow("plain") << "001A2B3C4D5E" << true << address;
    QTest::newRow("empty") << "" << true << "";
    QTest::newRow("mixed") << "00:1a-2b:3c:4d:5e" << false << "";
    QTest::newRow("seven") << "00:1a:2b:3c:4d:5e:6f" << false << "";
    QTest::newRow("no digits") << "00:1a:2b:3c:4d:5g" << false << "";
}

void TestPlatform::macNotations()
{
    QFETCH(QString, text);
    QFETCH(bool, valid);
    QFETCH(QString, printed);
    QCOMPARE(MACAddress::parse(text).has_value(), valid);
    QCOMPARE(MACAddress(text).toString(), printed);
    QCOMPARE(MACAddress(text).isEmpty(), printed.isEmpty());
    QVERIFY(!MACAddress(MACAddress::Bytes{}).isEmpty());
}

void TestPlatform::propertySetsKeepOrderAndCopyDeeply()
{
    tqgen::PropertySet set;
    set.emplace<tqgen::IntProperty>(QStringLiteral("b"), QStringLiteral("B"), 1);
    set.emplace<tqgen::StringProperty>(
        QStringLiteral("a"), QStringLiteral("A"), QStringLiteral("x"));
    set.emplace<tqgen::IntProperty>(QStringLiteral("b"), QStringLiteral("B"), 2);
    QCOMPARE(set.names(), QStringList({ QStringLiteral("b"), QStringLiteral("a") }));
    QCOMPARE(set.find(QStringLiteral("b"))->value(), QVariant(2));

    tqgen::PropertySet outer;
    outer.emplace<tqgen::PropertySetProperty>(QStringLiteral("inner"), QString(), set);
    const tqgen::PropertySet copy = outer;
    QVERIFY(copy == outer);
    set.setValue(QStringLiteral("a"), QStringLiteral("y"));
    outer.setValue(QStringLiteral("inner"), QVariant::fromValue(set));
    const auto inner = tqgen::getValue(copy.find(QStringLiteral("inner")), tqgen::PropertySet());
    QCOMPARE(inner.find(QStringLiteral("a"))->value(), QVariant(QStringLiteral("x")));
}

void TestPlatform::propertiesTakeOnlyWhatConverts()
{
    tqgen::IntProperty number(QStringLiteral("n"), QString(), 7);
    QVERIFY(number.setValue(QStringLiteral("12")));
    QVERIFY(!number.setValue(QStringLiteral("twelve")));
    QVERIFY(!number.setValue(QVariant()));
    QCOMPARE(number.get(), 12);

    const tqgen::VariantProperty text(QStringLiteral("v"), QString(), QStringLiteral("1.5"));
    QCOMPARE(tqgen::getValue(text, 0.0), 1.5);
    QCOMPARE(tqgen::getValue(text, QRect(1, 2, 3, 4)), QRect(1, 2, 3, 4));
    QCOMPARE(tqgen::getValue<int>(static_cast<const tqgen::BaseProperty*>(nullptr), 9), 9);
}

void TestPlatform::logLinesFollowTheLevelAndLeaveNoFormatBehind()
{
    tst::LogCapture log(Log::eSurvived);
    LogQt::instance().getStream(Log::eSurvived).setNumberFlags(QTextStream::ShowBase);
    logLine(Log::eProgress, "hidden");
    logLine(Log::eSurvived, "count: ", 3, " of ", QStringLiteral("three"));
    logLine(Log::eMissing, "gone");
    QCOMPARE(log.lines(),
        QStringList({ QStringLiteral("2 count: 3 of three"), QStringLiteral("3 gone") }));
    QCOMPARE(LogQt::instance().getStream(Log::eSurvived).numberFlags(),
        QTextStream::NumberFlags(QTextStream::ShowBase));
}

void TestPlatform::logValuesCannotForgeLines()
{
    tst::LogCapture log;
    logLine(Log::eSurvived, "id ",
        QStringLiteral("a\nb\u2028c\u202ed\x1b"
                       "é%1 /"));
    QCOMPARE(
        log.lines(), QStringList(QStringLiteral("2 id a\\u000ab\\u2028c\\u202ed\\u001bé%1 /")));
}

void TestPlatform::exceptionsCarryValueMessageAndCause()
{
    const auto cause = std::make_shared<const ExceptionQt>(QStringLiteral("first"));
    try {
        throw IllegalArgumentException(
            QStringLiteral("bob"), QStringLiteral("unknown user"), cause);
    } catch (const ExceptionQt& e) {
        QCOMPARE(e.message(), QStringLiteral("unknown user"));
        QCOMPARE(QByteArray(e.what()), QByteArray("unknown user: bob (first)"));
        const auto* argument = dynamic_cast<const IllegalArgumentException*>(&e);
        QVERIFY(argument);
        QCOMPARE(argument->value(), QStringLiteral("bob"));
    }
}

void TestPlatform::pathsThatOthersMayWriteToAreNotTrusted()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("library.so"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(plugin::whyNotTrusted(path).isEmpty());
    QVERIFY(file.setPermissions(file.permissions() | QFile::WriteOther));
    QVERIFY(plugin::whyNotTrusted(path).contains(QStringLiteral("anybody")));
    QVERIFY(!plugin::whyNotTrusted(path + QStringLiteral(".absent")).isEmpty());
}

QTEST_GUILESS_MAIN(TestPlatform)
#include "tst_platform.moc"
