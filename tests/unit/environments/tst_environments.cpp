// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "environments/environments.h"
#include "environments/environmentspecificnodedata.h"
#include "environments/exceptionpattern_p.h"
#include "environments/globalnetworkproxy.h"
#include "shared/calllogdestination.h"
#include "shared/databasefixture.h"

#include "platform/properties/properties.h"
#include "platform/properties/propertysetproperty.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

#include <climits>

using namespace tq;
using tst::text;

namespace {

/** Answers arrays of any size with values looked up as "array/index/key" or "key". */
class ArraySource : public tst::CallLogDestination
{
public:
    int beginReadArray(const QString& name) override
    {
        m_array.append(name);
        return sizes.value(m_array.join(QLatin1Char('/')));
    }
    void endArray() override { m_array.removeLast(); }
    void setArrayIndex(int index) override { m_index = index; }
    QVariant value(const QString& key, const QVariant& defaultValue) const override
    {
        ++reads;
        const QString path =
            m_array.isEmpty() ? key : m_array.last() + text("/%1/").arg(m_index) + key;
        return values.value(path, defaultValue);
    }

    QMap<QString, int> sizes;
    QVariantMap values;
    mutable int reads = 0;

private:
    QStringList m_array;
    int m_index = 0;
};

} // namespace

class TestEnvironments : public QObject
{
    Q_OBJECT

private slots:
    void startsWithOneActiveDefault();
    void refusesDuplicateNamesAndTheActiveOne();
    void editedListsAreMerged();
    void loadsWhatIsStoredAsItIs();
    void valuesFillEnvironmentsWithoutOne();
    void valuesFollowTheList();
    void valuesLoadOldAndOddRecords();
    void proxiesKeepToTheActiveEnvironment();
    void proxiesLoadOldRecordsAndKeepWhatIsThere();
    void exceptionsMatchWholeAddresses_data();
    void exceptionsMatchWholeAddresses();
    void exceptionListsAreEditedAndAnnounced();
    void explosivePatternsMatchNothing_data();
    void explosivePatternsMatchNothing();
    void hostileArraySizesEnd();
};

void TestEnvironments::startsWithOneActiveDefault()
{
    tst::Database fixture;
    const auto list = fixture.db->environments()->getList();
    QCOMPARE(list.size(), 1);
    QCOMPARE(list.at(0).second, text("Default"));
    QCOMPARE(Environments::activeEnvironment(), list.at(0).first);
    const QRegularExpression form(text("^\\{[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}\\}$"));
    QVERIFY(form.match(list.at(0).first).hasMatch());
    NodeDB::freeDB();
    QVERIFY(NodeDB::getDB()->environments()->exists(Environments::activeEnvironment()));
}

void TestEnvironments::refusesDuplicateNamesAndTheActiveOne()
{
    tst::Database fixture;
    Environments& environments = *fixture.db->environments();
    tst::SignalTrace own(&environments);
    QVERIFY(environments.add(text("Default")).isNull());
    environments.remove(environments.activeEnvironment());
    environments.remove(text("unknown"));
    environments.rename(text("unknown"), text("x"));
    QCOMPARE(own.take() + fixture.trace.take(), QStringList());

    const QString office = environments.add(text("Office"));
    environments.rename(office, text("Office"));
    environments.remove(office);
    QCOMPARE(own.take(),
        QStringList({ text("newEnvironmentAdded(") + office + text(")"),
            text("environmentRenamed(") + office + text(")"),
            text("environmentRemoved(") + office + text(")") }));
    QCOMPARE(fixture.trace.take().count(text("environmentsChanged()")), 3);
    // an argument that is the list's own
    const QString garden = environments.add(text("Garden"));
    environments.add(text("Yard"));
    own.take();
    environments.remove(environments.getList().at(1).first);
    QCOMPARE(own.take(), QStringList(text("environmentRemoved(") + garden + text(")")));
    QVERIFY(environments.name(office).isNull());
}

void TestEnvironments::editedListsAreMerged()
{
    tst::Database fixture;
    Environments& environments = *fixture.db->environments();
    const QString active = environments.activeEnvironment();
    const QString office = environments.add(text("Office"));
    environments.add(text("Gone"));
    tst::SignalTrace own(&environments);
    environments.setList({});
    QCOMPARE(environments.getList().size(), 3);
    environments.setList({ { office, text("Büro") }, { text("new"), text("Default") } });
    QCOMPARE(environments.getList(),
        QList<Environments::Entry>({ { active, text("Default") }, { office, text("Büro") },
            { text("new"), text("Default") } }));
    const QStringList signals_ = own.take();
    QCOMPARE(signals_.size(), 3);
    QVERIFY(signals_.at(0).startsWith(text("environmentRenamed")));
    QCOMPARE(signals_.at(1), text("newEnvironmentAdded(new)"));
    QVERIFY(signals_.at(2).startsWith(text("environmentRemoved")));
}

void TestEnvironments::loadsWhatIsStoredAsItIs()
{
    tst::Database fixture;
    Environments& environments = *fixture.db->environments();
    fixture.trace.take();
    ArraySource source;
    source.values = { { text("Active"), text("dangling") },
        { text("Environments/0/ID"), text("a") }, { text("Environments/0/Name"), text("A") },
        { text("Environments/2/Name"), text("nameless") } };
    environments.load(&source);
    QCOMPARE(environments.getList().size(), 1);
    QCOMPARE(environments.getList().at(0).second, text("Default"));
    QVERIFY(environments.activeEnvironment() != text("dangling"));

    source.sizes = { { text("Environments"), 3 } };
    environments.load(&source);
    QCOMPARE(environments.getList(),
        QList<Environments::Entry>({ { text("a"), text("A") }, { QString(), QString() },
            { QString(), text("nameless") } }));
    QCOMPARE(environments.activeEnvironment(), text("dangling"));
    QCOMPARE(fixture.log.linesWith(text("dangling")).size(), 1);
    QCOMPARE(fixture.trace.take(), QStringList());
}

void TestEnvironments::valuesFillEnvironmentsWithoutOne()
{
    tst::Database fixture;
    const QString home = fixture.db->activeEnvironment();
    EnvironmentSpecificGlobalData<int> value(text("K"), 1);
    const QString office = fixture.db->environments()->add(text("Office"));
    value.set(text("unknown"), 5);
    QCOMPARE(value.value(), 5);
    value.set(office, 6);
    QCOMPARE(value.value(), 5);
    fixture.db->setActiveEnvironment(office);
    QCOMPARE(value.value(), 6);
    fixture.db->setActiveEnvironment(text("unknown"));
    QCOMPARE(value.value(), 1);
    fixture.db->setActiveEnvironment(home);
    // init() overwrites the active one only, not by the filling rule
    value.init();
    QCOMPARE(value.value(), 1);
    fixture.db->setActiveEnvironment(office);
    QCOMPARE(value.value(), 6);
}

void TestEnvironments::valuesFollowTheList()
{
    tst::Database fixture;
    Environments& environments = *fixture.db->environments();
    const QString home = environments.activeEnvironment();
    EnvironmentSpecificNodeData<QString> value(text("K"), text("default"));
    value.set(home, text("home"));
    const QString office = environments.add(text("Office"));
    fixture.db->setActiveEnvironment(office);
    QCOMPARE(value.value(), text("home"));
    fixture.db->setActiveEnvironment(home);
    environments.remove(office);
    fixture.db->setActiveEnvironment(office);
    QCOMPARE(value.value(), text("default"));
}

void TestEnvironments::valuesLoadOldAndOddRecords()
{
    tst::Database fixture;
    const QString home = fixture.db->activeEnvironment();
    const QString office = fixture.db->environments()->add(text("Office"));
    EnvironmentSpecificNodeData<int> value(text("K"), 1);
    value.set(home, 3);
    ArraySource source;
    source.values = { { text("K"), text("9") } };
    value.load(&source);
    QCOMPARE(value.value(), 9);
    fixture.db->setActiveEnvironment(office);
    QCOMPARE(value.value(), 1);

    source.sizes = { { text("Environment"), 3 } };
    source.values = { { text("Environment/0/K"), 4 }, { text("Environment/1/Key"), home },
        { text("Environment/2/Key"), text("elsewhere") }, { text("Environment/2/K"), 7 } };
    value.load(&source);
    QCOMPARE(value.value(), 4);
    tst::CallLogDestination saved;
    value.save(&saved);
    // every environment of the list gets an entry, ids that are not in it none
    QCOMPARE(saved.calls().filter(text("setValue K ")),
        QStringList({ text("setValue K QVariant(int, 1)"), text("setValue K QVariant(int, 4)") }));
}

void TestEnvironments::proxiesKeepToTheActiveEnvironment()
{
    tst::Database fixture;
    NetworkProxy proxy;
    proxy.init();
    const QString home = fixture.db->activeEnvironment();
    const QString office = fixture.db->environments()->add(text("Office"));
    const QString later = text("later");
    QSignalSpy spy(&proxy, &NetworkProxy::proxyDataChanged);
    proxy.setProxyAddress(QString(), 8080);
    proxy.setUseProxy(false);
    proxy.setSaveProxyPassword(true);
    QCOMPARE(spy.size(), 0);
    proxy.setProxyAddress(text("p"), 3128);
    proxy.setUseProxy(true);
    proxy.setProxyUser(text("u"), text("w"));
    QCOMPARE(spy.size(), 3);
    proxy.copyFromActiveEnvironment(later);
    fixture.db->setActiveEnvironment(office);
    QVERIFY(!proxy.useProxy() && proxy.saveProxyPassword());
    QCOMPARE(proxy.proxyPort(), 8080);
    fixture.db->setActiveEnvironment(later);
    QCOMPARE(proxy.proxyPassword(), text("w"));
    proxy.updateField(tqgen::IntProperty(text("ProxyPort"), QString(), 1));
    QCOMPARE(proxy.proxyPort(), 1);
    QCOMPARE(spy.size(), 3);
    fixture.db->setActiveEnvironment(home);
    QCOMPARE(proxy.proxyPort(), 3128);
    tst::CallLogDestination target;
    proxy.remove(&target);
    QCOMPARE(target.calls().join(QLatin1Char(' ')),
        text("remove UseProxy remove ProxyAddress remove ProxyPort remove ProxyUser remove "
             "SaveProxyPassword remove ProxyPassword"));
}

void TestEnvironments::proxiesLoadOldRecordsAndKeepWhatIsThere()
{
    tst::Database fixture;
    NetworkProxy proxy;
    ArraySource source;
    source.values = { { text("ProxyPort"), 3128 }, { text("ProxyUser"), text("u") },
        { text("ProxyPassword"), text("w") } };
    proxy.load(&source);
    QCOMPARE(proxy.proxyPort(), 3128);
    QCOMPARE(proxy.proxyPassword(), text("w"));
    QVERIFY(proxy.saveProxyPassword());

    // an entry for another environment without a port: 0 there, the active one keeps its own
    source.sizes = { { text("Environment"), 1 } };
    source.values = { { text("Environment/0/Key"), text("x") } };
    proxy.load(&source);
    QCOMPARE(proxy.proxyPort(), 3128);
    fixture.db->setActiveEnvironment(text("x"));
    QCOMPARE(proxy.proxyPort(), 0);
    QVERIFY(proxy.saveProxyPassword());
}

void TestEnvironments::exceptionsMatchWholeAddresses_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("address");
    QTest::addColumn<bool>("matches");
    const auto row = [](const char* name, const char* pattern, const char* address, bool matches) {
        QTest::newRow(name) << text(pattern) << text(address) << matches;
    };
    row("prefix", "192\\.168\\..*", "192.168.1.7", true);
    row("other network", "192\\.168\\..*", "10.0.0.1", false);
    row("too short", "192\\.168", "192.168.1.7", false);
    row("suffix", ".*\\.local", "cam.local", true);
    row("part", "host", "myhost", false);
    row("case", "host", "HOST", false);
    row("invalid", "host(", "host(", false);
    row("wildcard", "*.local", "cam.local", false);
}

void TestEnvironments::exceptionsMatchWholeAddresses()
{
    QFETCH(QString, pattern);
    QFETCH(QString, address);
    tst::LogCapture log;
    QTEST(GlobalNetworkProxy::checkException(address, pattern), "matches");
    GlobalNetworkProxy::checkException(address, pattern);
    // Only a pattern that can match nothing at all has a reason, and the log says it once.
    const QString reason = GlobalNetworkProxy::exceptionError(pattern);
    const bool isBroken = pattern == text("host(") || pattern == text("*.local");
    QCOMPARE(
        reason.startsWith(text("\"%1\" is not a regular expression: ").arg(pattern)), isBroken);
    QCOMPARE(log.linesWith(text("matches nothing: ") + reason).size(), isBroken ? 1 : 0);
}

void TestEnvironments::exceptionListsAreEditedAndAnnounced()
{
    tst::Database fixture;
    GlobalNetworkProxy& proxy = *fixture.db->globalProxy();
    QSignalSpy spy(&proxy, &GlobalNetworkProxy::globalProxyDataChanged);
    proxy.setExceptions(text("a;;b"), QLatin1Char(';'));
    QCOMPARE(proxy.exceptions(), QStringList({ text("a"), QString(), text("b") }));
    QCOMPARE(proxy.exceptionsAssembled(QLatin1Char(';')), text("a;;b"));
    proxy.removeException(text("B"));
    QCOMPARE(spy.size(), 1);
    proxy.addException(text("a"));
    proxy.removeException(text("a"));
    QCOMPARE(spy.size(), 3);
    QStringList many;
    for (int i = 0; i < 12; ++i)
        many.append(text("e%1").arg(i));
    proxy.setExceptions(many);
    tqgen::PropertySet set;
    proxy.properties(set);
    proxy.setExceptions(QStringList());
    QVERIFY(proxy.updateField(*set.find(text("Exceptions"))));
    QCOMPARE(proxy.exceptions(), many);
    QCOMPARE(spy.size(), 5);
    const QString office = fixture.db->environments()->add(text("Office"));
    const QString home = fixture.db->activeEnvironment();
    fixture.db->setActiveEnvironment(office);
    QCOMPARE(proxy.exceptions(), many);
    fixture.db->setActiveEnvironment(home);
    fixture.db->environments()->remove(office);
    fixture.db->setActiveEnvironment(office);
    QVERIFY(proxy.exceptions().isEmpty());
}

void TestEnvironments::explosivePatternsMatchNothing_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<bool>("explosive");
    for (const char* fine :
        { "a", "(a+)+b", "(a*)*", "a{100}", "[({]{3}", "\\({50}", "[]{9}]{4}", "(a{100}){100}",
            "(cam|nas){2,5}", "a{2}(b{3}(c{4}))", "[0-9]{1,3}(\\.[0-9]{1,3}){3}", "a{", "((((",
            "))))", "a{10000}", "", "\\", "[^", "[\\]({20000}]", "[\\](((a{50}){50}){50}){50})]",
            "(([0-9]{1,3})?\\.?){1,100}", "(?:a|b){9}", "([a-z0-9]+(-[a-z0-9]+)*\\.)+[a-z]{2,}",
            "((25[0-5]|2[0-4][0-9]|1?[0-9]{1,2})\\.){3}[0-9]{1,3}",
            "([0-9a-f]{1,4}:){1,7}[0-9a-f]{1,4}|(([0-9a-f]{1,4}:){1,6}|:)(:[0-9a-f]{1,4}){1,6}" })
        QTest::newRow(fine) << text(fine) << false;
    QTest::newRow("5000 hosts") << QStringList(5000, text("host\\.example")).join(QLatin1Char('|'))
                                << false;
    for (const char* bad : { "((((a{50}){50}){50}){50})", "(a{100}){101}", "a{10001}", "a{5,20000}",
             "((a{10}b){11}c){100}", "(x(a{101})y){100}", "a{99999999999999999999}", "a{2,}{9999}",
             "[\\][](((((a{50}){50}){50}){50}))", "[^\\][](((a{50}){50}){50})", "((a*){100}){100}",
             "((.*){100}){100}", "((a?){100}){100}", "((a|b|c?){50}){50}", "((a|b|c?){100}){100}",
             "((a{1,30}){1,30}){1,10}b", "(a?){500}", "(a*){200}" })
        QTest::newRow(bad) << text(bad) << true;
    const auto nested = [](int depth) {
        return QString(depth, QLatin1Char('(')) + text("a") + QString(depth, QLatin1Char(')'));
    };
    QTest::newRow("52 groups") << nested(52) << false;
    QTest::newRow("1001 groups") << nested(1001) << true;
    const QString literal(1000, QLatin1Char('a'));
    QTest::newRow("1000 letters") << text("((%1){100}){100}").arg(literal) << true;
    QTest::newRow("300 counted letters")
        << text("(%1){100}").arg(text("a{100}").repeated(300)) << true;
    QTest::newRow("groups after a class")
        << text("[\\][]") + QString(20000, QLatin1Char('(')) << true;
    QTest::newRow("20000 groups") << QString(20000, QLatin1Char('(')) << true;
}

void TestEnvironments::explosivePatternsMatchNothing()
{
    QFETCH(QString, pattern);
    QFETCH(bool, explosive);
    tst::LogCapture log;
    QCOMPARE(isExplosivePattern(pattern), explosive);
    for (int i = 0; i < 3; ++i)
        matchesException(text("aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaac"), pattern);
    QCOMPARE(log.linesWith(text("too complex")).size(), explosive ? 1 : 0);
}

void TestEnvironments::hostileArraySizesEnd()
{
    tst::Database fixture;
    ArraySource source;
    source.sizes = { { text("Environments"), INT_MAX }, { text("Environment"), INT_MIN },
        { text("Environment/Exceptions"), INT_MAX } };
    source.values = { { text("Environments/7/ID"), text("seven") } };
    fixture.db->environments()->load(&source);
    QCOMPARE(fixture.db->environments()->getList().size(), 8);
    QVERIFY(fixture.db->environments()->exists(text("seven")));
    QVERIFY(source.reads < 5000);
    QCOMPARE(fixture.log.linesWith(text("damaged array")).size(), 1);
    fixture.db->globalProxy()->load(&source);
    QCOMPARE(fixture.db->globalProxy()->proxyPort(), 8080);
    // what was read before the damage stays: absent entries read as the active environment's
    source.sizes[text("Environment")] = INT_MAX;
    source.values = { { text("Environment/0/K"), 5 } };
    fixture.db->setActiveEnvironment(text("seven"));
    EnvironmentSpecificGlobalData<int> value(text("K"), 1);
    value.load(&source);
    QCOMPARE(value.value(), 5);
}

QTEST_GUILESS_MAIN(TestEnvironments)
#include "tst_environments.moc"
