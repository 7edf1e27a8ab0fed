// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "integration/programtest.h"
#include "plugins/onvifdevice.h"

#include <QTest>

using tst::contentOf;
using tst::OnvifDevice;
using tst::OnvifManner;
using tst::Run;
using tst::write;

namespace {

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

OnvifManner lockedWith(const char* reference)
{
    OnvifManner manner = tst::locked();
    manner.reference = reference;
    return manner;
}

} // namespace

/** What a person sees of devices at several sites that use the same private addresses. */
class TestSites : public tst::ProgramTest
{
    Q_OBJECT

private slots:
    void init() { begin(); }

    void theCameraOfAnotherSiteIsAnother();
    void theIdDoesNotDependOnTheLogin_data();
    void theIdDoesNotDependOnTheLogin();
    void aScanConfirmsWhereDevicesAre();
    void anEmptyEnvironmentTakesNoAddressesOver();
    void storesFromBeforeKeepIdsAndTheActiveAddresses();

private:
    Run add(
        const OnvifDevice& device, const QByteArray& password, const QByteArray& more = {}) const
    {
        write(path("password"), password + '\n');
        const QByteArray call = "add 127.0.0.1 --port " + QByteArray::number(device.serverPort());
        return onStore(
            password.isEmpty() ? call : call + " --user root --password-file password" + more);
    }

    void goTo(const QByteArray& environment, const QByteArray& how = {}) const
    {
        QCOMPARE(onStore("environment add " + environment + how).code, 0);
        QCOMPARE(onStore("environment use " + environment).code, 0);
    }

    QJsonValue valueOf(const QByteArray& id, const char* name) const
    {
        return onStore("show " + id).item()[text(name)];
    }
};

void TestSites::theCameraOfAnotherSiteIsAnother()
{
    OnvifDevice device(lockedWith("urn:uuid:a"));
    const Run first = add(device, "secret");
    QVERIFY2(first.code == 0, first.error);
    const QByteArray id = first.id();
    QCOMPARE(first.item()[text("MAC")].toString(), text("02:77:0a:4d:00:0b"));

    // Another web server at a known address is that device's, on whatever port.
    const Run again = add(OnvifDevice(), QByteArray());
    QVERIFY2(again.error.contains("is known already, as \"" + id), again.error);

    // At site B, quite another camera answers at the same address.
    goTo("Harbour");
    const OnvifManner before = device.manner;
    device.manner = lockedWith("urn:uuid:b");
    const auto logins = device.logins().size();
    const Run read = onStore("read " + id);
    QCOMPARE(read.code, 1);
    QVERIFY2(read.error.contains("is another device than"), read.error);
    const Run second = add(device, QByteArray());
    QVERIFY2(second.code == 0, second.error);
    QVERIFY(second.id() != id);
    QCOMPARE(onStore("list").items().size(), 2);
    QCOMPARE(device.logins().size(), logins);

    // A camera that has moved from A to C is known there by what it says, and read.
    goTo("Island");
    device.manner = before;
    const Run moved = add(device, QByteArray());
    QVERIFY2(moved.code == 0, moved.error);
    QCOMPARE(moved.id(), id);
    QCOMPARE(valueOf(id, "AddressConfirmed").toBool(), true);
    QCOMPARE(onStore("read " + id).code, 0);
    QVERIFY(device.logins().size() > logins);
}

void TestSites::theIdDoesNotDependOnTheLogin_data()
{
    QTest::addColumn<bool>("isLocked");
    QTest::addColumn<QByteArray>("password");
    QTest::addColumn<QByteArray>("more");
    QTest::addColumn<int>("code");
    QTest::newRow("right") << true << QByteArray("secret") << QByteArray() << 0;
    QTest::newRow("wrong") << true << QByteArray("wrong") << QByteArray() << 1;
    QTest::newRow("wrong, unchecked")
        << true << QByteArray("wrong") << QByteArray(" --unchecked") << 0;
    QTest::newRow("nobody asks for one") << false << QByteArray("wrong") << QByteArray() << 0;
}

void TestSites::theIdDoesNotDependOnTheLogin()
{
    QFETCH(bool, isLocked);
    QFETCH(QByteArray, password);
    QFETCH(QByteArray, more);
    const OnvifDevice device(isLocked ? tst::locked() : OnvifManner());
    const Run run = add(device, password, more);
    QTEST(run.code, "code");
    QCOMPARE(device.logins().isEmpty(), !isLocked || !more.isEmpty());
    if (run.code == 0) {
        QCOMPARE(run.id().left(4), QByteArray(isLocked ? "uuid" : "mac:"));
        QCOMPARE(onStore("list").items().size(), 1);
        return;
    }
    QVERIFY2(run.error.contains("the device refused the login of root"), run.error);
    QVERIFY(!hashes().contains(text("devices.db")));
}

void TestSites::aScanConfirmsWhereDevicesAre()
{
    // Two that a person entered, whose data no scan changes; one told its MAC.
    const QByteArray id = onStore("--simulate small add 10.77.0.11").id();
    QCOMPARE(id, QByteArray("mac:025a17000011"));
    const QByteArray other = onStore("--simulate small add 10.77.0.12").id();
    goTo("Harbour");
    QCOMPARE(onStore("list --where AddressConfirmed=yes").items().size(), 0);
    QCOMPARE(onStore("--simulate small scan --for 2 --speed 100").code, 0);
    QCOMPARE(valueOf(id, "AddressConfirmed").toBool(), true);
    // Nobody can tell it from another site's at that address, which is there now.
    QCOMPARE(valueOf(other, "AddressConfirmed").toBool(), false);
    QCOMPARE(onStore("list --where IP=10.77.0.12").items().size(), 2);
}

void TestSites::anEmptyEnvironmentTakesNoAddressesOver()
{
    const QByteArray id = onStore("add 192.0.2.5 --type 2").id();
    QCOMPARE(onStore("environment list --empty").code, 2);
    QCOMPARE(onStore("environment add Bare --empty").code, 0);
    QCOMPARE(valueOf(id, "IP").toString(), text("192.0.2.5"));
    QCOMPARE(onStore("environment use Bare").code, 0);
    QCOMPARE(valueOf(id, "IP").toString(), QString());
    QCOMPARE(onStore("environment use Default").code, 0);

    goTo("Full");
    QCOMPARE(valueOf(id, "IP").toString(), text("192.0.2.5"));
    QCOMPARE(valueOf(id, "AddressConfirmed").toBool(), false);
    const Run read = onStore("read " + id);
    QVERIFY2(read.error.contains("(set " + id + " IP=192.0.2.5)"), read.error);
    QCOMPARE(onStore("set " + id + " IP=192.0.2.5").code, 0);
    QCOMPARE(valueOf(id, "AddressConfirmed").toBool(), true);
}

void TestSites::storesFromBeforeKeepIdsAndTheActiveAddresses()
{
    QByteArray id = onStore("add 192.0.2.5 --type 2").id();
    QCOMPARE(onStore("environment add Office").code, 0);
    QCOMPARE(onStore("convert devices.db old.ini").code, 0);
    m_store = path("old.ini");
    QByteArrayList lines = contentOf(m_store).split('\n');
    lines.removeIf([](const QByteArray& line) { return line.contains("ConfirmedIn"); });
    QByteArray old = lines.join('\n');
    QVERIFY(old.contains(id));
    write(m_store, old.replace(id, "ip:192.0.2.5:80"));
    id = "ip:192.0.2.5:80";
    const Run set = onStore("set " + id + " Note=x"); // writes the entry anew
    QVERIFY2(set.code == 0, set.error);
    QCOMPARE(valueOf(id, "AddressConfirmed").toBool(), true);
    QCOMPARE(onStore("environment use Office").code, 0);
    QCOMPARE(valueOf(id, "AddressConfirmed").toBool(), false);
}

QTEST_GUILESS_MAIN(TestSites)
#include "tst_sites.moc"
