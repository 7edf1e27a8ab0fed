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

using namespace Qt::StringLiterals;
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
    const QString address = u"00:1a:2b:3c:4d:5e"_s;
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
    set.emplace<tqgen::IntProperty>(u"b"_s, u"B"_s, 1);
    set.emplace<tqgen::StringProperty>(u"a"_s, u"A"_s, u"x"_s);
    set.emplace<tqgen::IntProperty>(u"b"_s, u"B"_s, 2);
    QCOMPARE(set.names(), QStringList({ u"b"_s, u"a"_s }));
    QCOMPARE(set.find(u"b"_s)->value(), QVariant(2));

    tqgen::PropertySet outer;
    outer.emplace<tqgen::PropertySetProperty>(u"inner"_s, QString(), set);
    const tqgen::PropertySet copy = outer;
    QVERIFY(copy == outer);
    set.setValue(u"a"_s, u"y"_s);
    outer.setValue(u"inner"_s, QVariant::fromValue(set));
    const auto inner = tqgen::getValue(copy.find(u"inner"_s), tqgen::PropertySet());
    QCOMPARE(inner.find(u"a"_s)->value(), QVariant(u"x"_s));
}

void TestPlatform::propertiesTakeOnlyWhatConverts()
{
    tqgen::IntProperty number(u"n"_s, QString(), 7);
    QVERIFY(number.setValue(u"12"_s));
    QVERIFY(!number.setValue(u"twelve"_s));
    QVERIFY(!number.setValue(QVariant()));
    QCOMPARE(number.get(), 12);

    const tqgen::VariantProperty text(u"v"_s, QString(), u"1.5"_s);
    QCOMPARE(tqgen::getValue(text, 0.0), 1.5);
    QCOMPARE(tqgen::getValue(text, QRect(1, 2, 3, 4)), QRect(1, 2, 3, 4));
    QCOMPARE(tqgen::getValue<int>(static_cast<const tqgen::BaseProperty*>(nullptr), 9), 9);
}

void TestPlatform::logLinesFollowTheLevelAndLeaveNoFormatBehind()
{
    tst::LogCapture log(Log::eSurvived);
    LogQt::instance().getStream(Log::eSurvived).setNumberFlags(QTextStream::ShowBase);
    logLine(Log::eProgress, "hidden");
    logLine(Log::eSurvived, "count: ", 3, " of ", u"three"_s);
    logLine(Log::eMissing, "gone");
    QCOMPARE(log.lines(), QStringList({ u"2 count: 3 of three"_s, u"3 gone"_s }));
    QCOMPARE(LogQt::instance().getStream(Log::eSurvived).numberFlags(),
        QTextStream::NumberFlags(QTextStream::ShowBase));
}

void TestPlatform::logValuesCannotForgeLines()
{
    tst::LogCapture log;
    logLine(Log::eSurvived, "id ",
        u"a\nb\u2028c\u202ed\x1b"
        "é%1 /"_s);
    QCOMPARE(log.lines(), QStringList(u"2 id a\\u000ab\\u2028c\\u202ed\\u001bé%1 /"_s));
}

void TestPlatform::exceptionsCarryValueMessageAndCause()
{
    const auto cause = std::make_shared<const ExceptionQt>(u"first"_s);
    try {
        throw IllegalArgumentException(u"bob"_s, u"unknown user"_s, cause);
    } catch (const ExceptionQt& e) {
        QCOMPARE(e.message(), u"unknown user"_s);
        QCOMPARE(QByteArray(e.what()), QByteArray("unknown user: bob (first)"));
        const auto* argument = dynamic_cast<const IllegalArgumentException*>(&e);
        QVERIFY(argument);
        QCOMPARE(argument->value(), u"bob"_s);
    }
}

void TestPlatform::pathsThatOthersMayWriteToAreNotTrusted()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(u"library.so"_s);
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(plugin::whyNotTrusted(path).isEmpty());
    QVERIFY(file.setPermissions(file.permissions() | QFile::WriteOther));
    QVERIFY(plugin::whyNotTrusted(path).contains(u"anybody"_s));
    QVERIFY(!plugin::whyNotTrusted(path + u".absent"_s).isEmpty());
}

QTEST_GUILESS_MAIN(TestPlatform)
#include "tst_platform.moc"
