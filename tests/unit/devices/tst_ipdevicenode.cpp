// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "discovery/nodehintfromarp.h"
#include "discovery/nodehintipdevice.h"
#include "environments/environments.h"
#include "environments/globalnetworkproxy.h"
#include "shared/calllogdestination.h"
#include "shared/databasefixture.h"

#include "platform/properties/properties.h"

#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

using namespace tq;
using tst::text;

class TestIPDeviceNode : public QObject
{
    Q_OBJECT

private slots:
    void credentialsCarryPasswordsOnlyWhenSaved();
    void oddCredentialListsDecode_data();
    void oddCredentialListsDecode();
    void freshNodeHasDefaultsAndItsEntriesOnce();
    void connectionDataIsAnnouncedOncePerUpdate();
    void editedFieldsMarkLessThanSetters_data();
    void editedFieldsMarkLessThanSetters();
    void loginsFallBackToTheGlobalOneByUser();
    void settingsOfTheDatabaseAreAnnounced();
    void proxyIsOwnElseGlobalUnlessExcepted();
    void valuesFollowTheActiveEnvironment();
    void recognisesItsHostOnly();
    void storedEntryHasItsGroupsAndArrays();
    void simpleValuesFollowAndExportNeedsUsageTwo();
    void copiesAndStoresCarryEverything();
};

void TestIPDeviceNode::credentialsCarryPasswordsOnlyWhenSaved()
{
    const UserAndPassword saved(text("admin"), text("pässwörd"), true);
    const QVariantList list = saved.toVariant().toList();
    QCOMPARE(list.size(), 3);
    QCOMPARE(list.at(2), QVariant(text("pässwörd").toUtf8().toBase64()));
    UserAndPassword read;
    read.fromVariant(list);
    QCOMPARE(read, saved);
    const QVariant unsaved = UserAndPassword(text("u"), text("x"), false).toVariant();
    QCOMPARE(unsaved, QVariant(QVariantList{ text("u"), false }));
    read.fromVariant(unsaved);
    QCOMPARE(read, UserAndPassword(text("u"), QString(), false));
}

void TestIPDeviceNode::oddCredentialListsDecode_data()
{
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<QVariant>("decoded");
    const QVariant before = UserAndPassword(text("old"), text("pw"), true).toVariant();
    const auto record = [](const char* user, const char* password, bool save) {
        return UserAndPassword(text(user), text(password), save).toVariant();
    };
    QTest::newRow("invalid") << QVariant() << before;
    QTest::newRow("no list") << QVariant(7) << before;
    QTest::newRow("text") << QVariant(text("abc")) << before;
    QTest::newRow("bytes") << QVariant(QByteArray("abc")) << before;
    QTest::newRow("empty") << QVariant(QVariantList()) << before;
    QTest::newRow("user only") << QVariant(QVariantList{ text("u") }) << record("u", "", false);
    QTest::newRow("flag without password")
        << QVariant(QVariantList{ text("u"), true }) << record("u", "", true);
    QTest::newRow("all texts") << QVariant(QStringList{ text("u"), text("true"), text("eA==") })
                               << record("u", "x", true);
}

void TestIPDeviceNode::oddCredentialListsDecode()
{
    QFETCH(QVariant, stored);
    QFETCH(QVariant, decoded);
    UserAndPassword record(text("old"), text("pw"), true);
    record.fromVariant(stored);
    QCOMPARE(record.toVariant(), decoded);
}

void TestIPDeviceNode::freshNodeHasDefaultsAndItsEntriesOnce()
{
    const tst::Database fixture;
    const tst::DeviceNode node(text("d"));
    QCOMPARE(node.port(), 80);
    QCOMPARE(node.bandWidth(), -1);
    QVERIFY(node.savePassword() && node.mac().isEmpty() && !node.ssl());
    const QStringList names = node.properties().names();
    QCOMPARE(names.mid(12),
        text("IP Port MAC SSL User SavePassword Password BandWidth ControlMode ProxyAddress "
             "ProxyPort ProxyUser SaveProxyPassword ProxyPassword UseProxy ServiceName FullName "
             "BonjourAvailable RecordingStorageUsage AudioPathID")
            .split(QLatin1Char(' ')));
    QCOMPARE(QSet<QString>(names.begin(), names.end()).size(), names.size());
}

void TestIPDeviceNode::connectionDataIsAnnouncedOncePerUpdate()
{
    tst::DeviceNode node(text("d"));
    QSignalSpy spy(&node, &IPDeviceNode::connectionDataChanged);
    const auto update = [&](auto change) {
        node.beginUpdateNode();
        change();
        node.endUpdateNode();
        node.endUpdateNode();
        const qsizetype announced = spy.size();
        spy.clear();
        return announced;
    };
    QCOMPARE(update([&] { node.setPort(80); }), 0);
    QCOMPARE(update([&] {
        node.setPort(8080);
        node.setHostAddress(text("h"));
    }),
        1);
    QCOMPARE(update([&] { node.setControlMode(3); }), 0);
    QCOMPARE(update([&] { node.setSsl(true); }), 1);
    QCOMPARE(update([&] { node.setBandWidth(4); }), 1);
    QCOMPARE(update([&] { node.setUser(text("u"), text("p")); }), 1);
    QCOMPARE(update([&] { node.setUser(text("u"), text("p")); }), 0);
    QCOMPARE(update([&] { node.setSavePassword(false); }), 0);
    QCOMPARE(update([&] { node.setMac(MACAddress(text("020000000001"))); }), 0);
    QCOMPARE(update([&] { node.proxy().setUseProxy(true); }), 1);
    QCOMPARE(update([&] { node.proxy().setSaveProxyPassword(false); }), 0);
    NodeDB::freeDB();
}

void TestIPDeviceNode::editedFieldsMarkLessThanSetters_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<int>("announced");
    QTest::newRow("IP") << QVariant(text("10.0.0.1")) << 1;
    QTest::newRow("Port") << QVariant(8080) << 1;
    QTest::newRow("User") << QVariant(text("u")) << 1;
    QTest::newRow("SSL") << QVariant(true) << 0;
    QTest::newRow("BandWidth") << QVariant(3) << 0;
    QTest::newRow("Password") << QVariant(text("p")) << 0;
    QTest::newRow("SavePassword") << QVariant(false) << 0;
    QTest::newRow("ControlMode") << QVariant(2) << 0;
    QTest::newRow("MAC") << QVariant(text("02:00:00:00:00:01")) << 0;
    QTest::newRow("UseProxy") << QVariant(true) << 0;
    QTest::newRow("ServiceName") << QVariant(text("s")) << 0;
}

void TestIPDeviceNode::editedFieldsMarkLessThanSetters()
{
    QFETCH(QVariant, value);
    QFETCH(int, announced);
    const tst::Database fixture;
    tst::DeviceNode node(text("d"));
    QSignalSpy spy(&node, &IPDeviceNode::connectionDataChanged);
    const QString name = text(QTest::currentDataTag());
    tqgen::PropertySet set = node.properties();
    QVERIFY(set.setValue(name, value));
    node.beginUpdateNode();
    QVERIFY(node.updateField(*set.find(name)));
    node.endUpdateNode();
    QCOMPARE(spy.size(), announced);
    QCOMPARE(node.properties().find(name)->value(), value);
}

void TestIPDeviceNode::loginsFallBackToTheGlobalOneByUser()
{
    tst::Database fixture;
    tst::DeviceNode node(text("d"));
    QCOMPARE(node.user(true) + node.password(true), text("adminkolvar"));
    QVERIFY(node.user(false).isEmpty() && node.password(false).isEmpty());
    QCOMPARE(node.stringProperty(text("User"), QString()), text("admin"));
    QVERIFY(node.properties().find(text("User"))->value().toString().isEmpty());

    node.setUser(text("own"), QString());
    QVERIFY(node.password(true).isEmpty());
    node.setLoginForApplicationUser(text("ann"), text("a"), text("secret"), false);
    fixture.db->setActiveUser(text("ann"));
    QCOMPARE(node.password(true), text("secret"));
    node.removeLoginForApplicationUser(text("ann"));
    QCOMPARE(node.user(true), text("admin"));
}

void TestIPDeviceNode::settingsOfTheDatabaseAreAnnounced()
{
    tst::Database fixture;
    tst::DeviceNode node(text("d"));
    QSignalSpy spy(&node, &IPDeviceNode::connectionDataChanged);
    fixture.db->setActiveUser(text("ann"));
    fixture.db->setActiveEnvironment(fixture.db->environments()->add(text("Office")));
    fixture.db->setGlobalAuthentication(text("u"), text("p"));
    fixture.db->globalProxy()->addException(text("x"));
    QCOMPARE(spy.size(), 4);
    node.setUser(text("own"), text("p"));
    node.proxy().setUseProxy(true);
    fixture.db->setGlobalAuthentication(text("v"), text("p"));
    fixture.db->globalProxy()->addException(text("y"));
    fixture.db->globalProxy()->setProxyAddress(text("p"), 1);
    QCOMPARE(spy.size(), 4);
}

void TestIPDeviceNode::proxyIsOwnElseGlobalUnlessExcepted()
{
    tst::Database fixture;
    tst::DeviceNode node(text("d"), text("192.168.1.7"));
    GlobalNetworkProxy* const global = fixture.db->globalProxy();
    global->setProxyAddress(text("global"), 3128);
    QCOMPARE(node.proxyPort(), 0);
    global->setUseProxy(true);
    QCOMPARE(node.proxyAddress() + QString::number(node.proxyPort()), text("global3128"));
    global->addException(text("192\\.168\\..*"));
    QCOMPARE(node.proxyAddress() + QString::number(node.proxyPort()), text("0"));
    node.proxy().setProxyAddress(text("own"), 1);
    node.proxy().setUseProxy(true);
    QCOMPARE(node.proxyAddress(), text("own"));
}

void TestIPDeviceNode::valuesFollowTheActiveEnvironment()
{
    tst::Database fixture;
    tst::DeviceNode node(text("d"), text("here"));
    const QString home = fixture.db->activeEnvironment();
    const QString office = fixture.db->environments()->add(text("Office"));
    fixture.db->setActiveEnvironment(office);
    QCOMPARE(node.hostAddress(), text("here"));
    node.setHostAddress(text("there"));
    const std::unique_ptr<Node> copy(node.clone());
    fixture.db->setActiveEnvironment(home);
    QCOMPARE(node.hostAddress(), text("here"));
    fixture.db->setActiveEnvironment(office);
    QCOMPARE(static_cast<IPDeviceNode&>(*copy).hostAddress(), text("there"));
}

void TestIPDeviceNode::recognisesItsHostOnly()
{
    const tst::Database fixture;
    const tst::DeviceNode node(text("d"), text("10.0.0.1"));
    NodeHintIPDevice hint;
    hint.setHostAddress(text("10.0.0.1"));
    QVERIFY(node.isIdentical(hint));
    hint.setHostAddress(text("10.0.0.2"));
    QVERIFY(!node.isIdentical(hint));
    QVERIFY(!node.isIdentical(NodeHintFromARP(text("10.0.0.1"), MACAddress())));
}

void TestIPDeviceNode::storedEntryHasItsGroupsAndArrays()
{
    const tst::Database fixture;
    tst::DeviceNode node(text("d"), text("h"));
    node.setUser(text("u"), text("p"));
    tst::CallLogDestination target;
    node.save(&target);
    QStringList structure;
    for (const QString& call : target.calls().mid(17))
        structure.append(call.section(QLatin1Char(' '), 0, 1));
    QString expected = text(
        "setValue MAC,beginWriteArray Environment,setArrayIndex 0,setValue Key,"
        "setValue ProxyAddress,setValue ProxyPort,setValue UseProxy,setValue ProxyUser,endArray,"
        "beginWriteArray UserAndPassword,setArrayIndex 0,setValue Key,setValue Value,endArray");
    for (const char* name : { "IP", "SSL", "Port", "BandWidth", "ControlMode" })
        expected += text(",beginGroup %1,beginWriteArray Environment,setArrayIndex 0,setValue Key,"
                         "setValue %1,endArray,endGroup")
                        .arg(text(name));
    QCOMPARE(structure.join(u','), expected);
    // plain empty values where the environment has no proxy
    QVERIFY(target.calls().contains(text("setValue ProxyPort QVariant(int, 0)")));
}

void TestIPDeviceNode::simpleValuesFollowAndExportNeedsUsageTwo()
{
    const tst::Database fixture;
    tst::DeviceNode node(text("d"));
    node.setServiceName(text("s"));
    node.setBonjourAvailable(true);
    QCOMPARE(node.stringProperty(text("ServiceName"), QString()), text("s"));
    QVERIFY(node.bonjourAvailable());
    QVERIFY(!node.supportsExport());
    node.setIntProperty(text("RecordingStorageUsage"), 2);
    QVERIFY(node.supportsExport());
}

void TestIPDeviceNode::copiesAndStoresCarryEverything()
{
    tst::Database fixture;
    tst::DeviceNode node(text("d"), text("h"));
    node.setMac(MACAddress(text("020000000001")));
    node.proxy().setProxyAddress(text("p"), 1);
    node.setSavePassword(false);
    node.setUser(text("u"), text("w"));
    QVERIFY(!node.savePassword()); // a new login keeps the flag
    node.setLoginForApplicationUser(text("b"), text("B"), text("pw"), true);
    node.setLoginForApplicationUser(text("a"), text("A"), text("pw"), true);
    tqgen::PropertySet edited = node.properties();
    edited.setValue(text("User"), text("v"));
    node.updateField(*edited.find(text("User")));
    QCOMPARE(node.user(false) + node.password(false), text("vw"));

    const std::unique_ptr<Node> copy(node.clone());
    tst::CallLogDestination original;
    tst::CallLogDestination copied;
    node.save(&original);
    copy->save(&copied);
    QCOMPARE(copied.calls(), original.calls());
    QCOMPARE(original.calls()
                 .filter(text("setValue Key QVariant(QString, \""))
                 .filter(QRegularExpression(text("\"(a|b|)\"\\)$")))
                 .size(),
        3);
    const qsizetype first = original.calls().indexOf(text("setValue Key QVariant(QString, \"\")"));
    QCOMPARE(original.calls().at(first + 2), text("setArrayIndex 1"));
    QCOMPARE(original.calls().at(first + 3), text("setValue Key QVariant(QString, \"a\")"));
    QCOMPARE(static_cast<IPDeviceNode&>(*copy).password(false), text("w"));
    // what was marked before an update does not count as changed in it
    QSignalSpy spy(&node, &IPDeviceNode::connectionDataChanged);
    node.beginUpdateNode();
    node.endUpdateNode();
    QCOMPARE(spy.size(), 0);
}

QTEST_GUILESS_MAIN(TestIPDeviceNode)
#include "tst_ipdevicenode.moc"
