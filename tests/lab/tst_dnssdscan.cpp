// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
// Runs inside tools/lab, with daemons of its own on links of its own.
#include "discovery/inodescanner.h"
#include "discovery/nodehintfrombonjour.h"
#include "lab/avahipeer.h"
#include "lab/secondnetwork.h"
#include "shared/logcapture.h"

#include "platform/logline.h"
#include "platform/pluginloader.h"

#include <QTest>

using namespace tq;
using plugin::Loader;

namespace {

constexpr int k_patience = 40000; // ms
constexpr int k_muchPatience = 120000; // ms
constexpr char k_addAddresses[] =
    "ip addr replace 10.78.0.1/24 dev here0 && ip addr replace 10.78.1.1/24 dev here1";

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

} // namespace

/** Runs the shipped scanner and writes down what it reports. */
class Follower : public QObject
{
    Q_OBJECT

public:
    Follower()
    {
        tq::connect(m_scanner->newHintSignal(), this, SLOT(takeNew(const tq::NodeHint&)));
        tq::connect(m_scanner->hintChangedSignal(), this, SLOT(takeChanged(const tq::NodeHint&)));
        tq::connect(m_scanner->hintGoneSignal(), this, SLOT(takeGone(const tq::NodeHint&)));
        m_scanner->start(0, 0);
    }
    ~Follower() override { m_scanner->stop(); }
    Q_DISABLE_COPY_MOVE(Follower)

    INodeScanner& scanner() { return *m_scanner; }

    /** Returns the last record of that name. */
    SServiceInfo last(const QString& name) const
    {
        for (auto hint = hints.crbegin(); hint != hints.crend(); ++hint) {
            if (hint->serviceName == name)
                return *hint;
        }
        return {};
    }

    QStringList told; ///< "new NAME"
    QList<NodeHintFromBonjour> hints;

public slots:
    void takeNew(const tq::NodeHint& hint) { take("new ", hint); }
    void takeChanged(const tq::NodeHint& hint) { take("changed ", hint); }
    void takeGone(const tq::NodeHint& hint) { take("gone ", hint); }

private:
    void take(const char* event, const NodeHint& hint)
    {
        told.append(text(event) + hint.name());
        hints.append(dynamic_cast<const NodeHintFromBonjour&>(hint));
    }

    tqm::smart<INodeScanner> m_scanner =
        Loader::instance().listComponents("INodeScanner", "dnssd").first();
};

/** The scanner and real daemons: one on this side, one that publishes on the other. */
class TestDnsSdScan : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void waitsForTheBusAndTheDaemon();
    void fillsTheRecord();
    void theFamiliesAreOneHint();
    void tellsChangesOnce();
    void aRestartOfTheDaemonLosesNothing();
    void survivesTheEndOfTheBus();
    void namesMayHoldAnything();
    void typesComeFromTheOptionToo();
    void manyServicesTakeTurns();
    void stopIsTheEnd();

private:
    /** Publishes on the other side. Returns its number; fails when it does not run. */
    int publish(const char* name, const char* type, quint16 port, const QStringList& texts = {});
    /** Withdraws what was published and waits until so much was told in all. */
    void withdrawAll(const Follower& follower, qsizetype told);
    QByteArray said() const { return (m_near->said() + m_far->said()).toUtf8(); }

    tst::SecondNetwork m_network;
    std::unique_ptr<tst::AvahiPeer> m_near;
    std::unique_ptr<tst::AvahiPeer> m_far;
};

int TestDnsSdScan::publish(
    const char* name, const char* type, quint16 port, const QStringList& texts)
{
    const int number = m_far->publish(text(name), text(type), port, texts);
    if (number < 0)
        QTest::qFail(said().constData(), __FILE__, __LINE__);
    return number;
}

void TestDnsSdScan::withdrawAll(const Follower& follower, qsizetype told)
{
    m_far->withdrawAll();
    QTRY_COMPARE_WITH_TIMEOUT(follower.told.size(), told, k_patience);
}

void TestDnsSdScan::initTestCase()
{
    if (!qEnvironmentVariableIsSet("LAB_CONTROL"))
        QSKIP("this runs inside tools/lab");
    const QString obstacle = tst::AvahiPeer::obstacle();
    if (!obstacle.isEmpty())
        QSKIP(qPrintable(obstacle));
    const QString reason = m_network.make();
    if (!reason.isEmpty())
        QSKIP(qPrintable(reason));
    Loader::instance().addFolder(QStringLiteral(PLUGIN_FOLDER));
    m_near =
        std::make_unique<tst::AvahiPeer>(text("here"), QStringList{ text("here0"), text("here1") });
    m_far = std::make_unique<tst::AvahiPeer>(
        text("there"), QStringList{ text("there0"), text("there1") }, m_network.enter());
    // Read once per process, at the first connection.
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", m_near->busAddress().toUtf8());
}

void TestDnsSdScan::init()
{
    Loader::instance().setOption(text("dnssd/serviceTypes"), QString());
    for (const auto& peer : { m_near.get(), m_far.get() })
        QVERIFY2(peer->startBus() && peer->startDaemon(), said().constData());
}

void TestDnsSdScan::cleanup()
{
    m_far->withdrawAll();
    if (!QTest::currentTestFailed())
        return; // having seen that all is gone
    // Nothing is announced any more, nor known from before.
    m_far->killDaemon();
    m_near->killDaemon();
    m_network.run(text(k_addAddresses), tst::SecondNetwork::eHere);
}

void TestDnsSdScan::waitsForTheBusAndTheDaemon()
{
    m_near->killDaemon();
    m_near->killBus();
    const tst::LogCapture log;
    Follower follower;
    const auto complaints = [&] {
        return log.linesWith(text("waits for the Avahi daemon")).size();
    };
    QTRY_COMPARE_WITH_TIMEOUT(complaints(), 1, k_patience);
    QVERIFY(follower.scanner().isRunning());
    QVERIFY2(m_near->startBus(), said().constData());
    publish("Harbour gate", "_rtsp._tcp", 554);
    QVERIFY2(m_near->startDaemon(), said().constData());
    QTRY_COMPARE_WITH_TIMEOUT(follower.told, QStringList(text("new Harbour gate")), k_patience);
    QCOMPARE(complaints(), 1);
    QCOMPARE(log.linesWith(text("has found the Avahi daemon")).size(), 1);
    withdrawAll(follower, 2);
    QCOMPARE(follower.told.last(), text("gone Harbour gate"));
    QCOMPARE(int(follower.hints.last().isAvailable), 0);
}

void TestDnsSdScan::fillsTheRecord()
{
    Follower follower;
    publish("Records", "_smb._tcp", 445);
    publish("Harbour gate", "_https._tcp", 4443,
        { text("Model=G2"), text("serial=77-1"), text("mac=02:77:0a:4d:00:0b"), text("path=/live"),
            text("ready") });
    QTRY_COMPARE_WITH_TIMEOUT(follower.told.size(), 2, k_patience);
    const SServiceInfo info = follower.last(text("Harbour gate"));
    const QStringList texts{ info.serviceType, info.domain, info.hostName, info.fullName,
        info.model, info.serialNumber, info.mac.toString(), info.path };
    QCOMPARE(texts.join(QLatin1Char(' ')),
        text("_https._tcp local there.local Harbour\\032gate._https._tcp.local G2 77-1 "
             "02:77:0a:4d:00:0b /live"));
    QVERIFY2(info.address.startsWith(text("10.78.")), qPrintable(info.address));
    QVERIFY(info.interfaceIndex > 0);
    QCOMPARE(QList<qsizetype>({ info.ipVersion, info.port, info.ssl, info.texts.size() }),
        QList<qsizetype>({ 4, 4443, 1, 5 }));
    QCOMPARE(follower.hints.last().nodeType(), eAnyNodeType);
    QCOMPARE(follower.hints.first().nodeType(), eNetworkStorageNode);
    withdrawAll(follower, 4);
}

void TestDnsSdScan::theFamiliesAreOneHint()
{
    Follower follower;
    const int gate = publish("Harbour gate", "_rtsp._tcp", 554);
    QTRY_COMPARE_WITH_TIMEOUT(follower.told.size(), 1, k_patience);
    QVERIFY(m_network.run(text("ip -4 addr flush dev here0 && ip -4 addr flush dev here1"),
        tst::SecondNetwork::eHere));
    QTRY_VERIFY_WITH_TIMEOUT(follower.hints.last().ipVersion == 6, k_patience);
    QVERIFY(m_network.run(text(k_addAddresses), tst::SecondNetwork::eHere));
    QTRY_VERIFY_WITH_TIMEOUT(follower.hints.last().ipVersion == 4, k_patience);
    const SServiceInfo info = follower.hints.last();
    QVERIFY2(info.secondAddress.contains(text("%here")), qPrintable(info.secondAddress));
    m_far->withdraw(gate);
    QTRY_VERIFY_WITH_TIMEOUT(follower.told.last().startsWith(text("gone")), k_patience);
    QCOMPARE(follower.told.filter(text("new")).size(), 1);
    QCOMPARE(follower.told.filter(text("gone")).size(), 1);
}

void TestDnsSdScan::tellsChangesOnce()
{
    Follower follower;
    publish("Harbour gate", "_rtsp._tcp", 554, { text("model=G1") });
    QTRY_COMPARE_WITH_TIMEOUT(follower.told.size(), 1, k_patience);
    // As a device that was switched off: without a goodbye.
    m_far->killDaemon();
    QVERIFY2(m_far->startDaemon(), said().constData());
    publish("Harbour gate", "_rtsp._tcp", 8554, { text("model=G2") });
    QTRY_VERIFY_WITH_TIMEOUT(follower.told.size() > 1, k_patience);
    publish("Fence", "_rtsp._tcp", 554);
    QTRY_VERIFY_WITH_TIMEOUT(follower.told.contains(text("new Fence")), k_patience);
    QCOMPARE(follower.told,
        (QStringList{ text("new Harbour gate"), text("changed Harbour gate"), text("new Fence") }));
    QCOMPARE(int(follower.last(text("Harbour gate")).port), 8554);
    QCOMPARE(follower.last(text("Harbour gate")).model, text("G2"));
    withdrawAll(follower, 5);
}

void TestDnsSdScan::aRestartOfTheDaemonLosesNothing()
{
    const tst::LogCapture log;
    Follower follower;
    publish("Stays", "_rtsp._tcp", 554, { text("model=S") });
    const int moves = publish("Moves", "_rtsp._tcp", 554);
    const int leaves = publish("Leaves", "_smb._tcp", 445);
    QTRY_COMPARE_WITH_TIMEOUT(follower.told.size(), 3, k_patience);
    follower.told.clear();
    m_near->killDaemon();
    QTRY_COMPARE_WITH_TIMEOUT(
        log.linesWith(text("waits for the Avahi daemon")).size(), 1, k_patience);
    m_far->withdraw(leaves);
    m_far->withdraw(moves);
    publish("Moves", "_rtsp._tcp", 8554);
    QVERIFY2(m_near->startDaemon(), said().constData());
    QTRY_COMPARE_WITH_TIMEOUT(follower.told.size(), 2, k_patience);
    QCOMPARE(follower.told, (QStringList{ text("changed Moves"), text("gone Leaves") }));
    withdrawAll(follower, 4);
}

void TestDnsSdScan::survivesTheEndOfTheBus()
{
    const tst::LogCapture log;
    Follower follower;
    publish("Harbour gate", "_rtsp._tcp", 554);
    QTRY_COMPARE_WITH_TIMEOUT(follower.told.size(), 1, k_patience);
    m_near->killBus();
    m_near->killDaemon();
    QTRY_COMPARE_WITH_TIMEOUT(
        log.linesWith(text("waits for the Avahi daemon")).size(), 1, k_patience);
    QVERIFY2(m_near->startBus() && m_near->startDaemon(), said().constData());
    publish("Harbour wall", "_rtsp._tcp", 554);
    QTRY_COMPARE_WITH_TIMEOUT(follower.told.size(), 2, k_patience);
    QCOMPARE(follower.told.last(), text("new Harbour wall"));
    QCOMPARE(log.linesWith(text("2 ")).size(), 1);
    withdrawAll(follower, 4);
}

void TestDnsSdScan::namesMayHoldAnything()
{
    const tst::LogCapture log(Log::eDebug);
    const QStringList names{ text("a\nb\x1b[31m\x07"), text("dots. and \\ and \""),
        QString(63, QLatin1Char('x')), text("\xe2\x80\xae\xc3\xa4\xf0\x9f\x8e\xa5") };
    Follower follower;
    QStringList told;
    for (const QString& name : names) {
        publish(name.toUtf8().constData(), "_rtsp._tcp", 554,
            QStringList(5, QString(200, QLatin1Char('t'))));
        told.append(text("new ") + name);
    }
    QTRY_COMPARE_WITH_TIMEOUT(follower.told.size(), names.size(), k_patience);
    follower.told.sort();
    told.sort();
    QCOMPARE(follower.told, told);
    QCOMPARE(
        follower.last(names.first()).fullName, text("a\\010b\\027\\09131m\\007._rtsp._tcp.local"));
    QCOMPARE(follower.last(names.first()).texts.size(), 5);
    for (const QString& line : log.lines())
        QVERIFY2(line == escapedForLog(line), qPrintable(line));
    withdrawAll(follower, 2 * names.size());
}

void TestDnsSdScan::typesComeFromTheOptionToo()
{
    Loader::instance().setOption(
        text("dnssd/serviceTypes"), text("_boxes._tcp=storage,_rtsp._tcp=unknown"));
    Follower follower;
    publish("Box", "_boxes._tcp", 99);
    publish("Harbour gate", "_rtsp._tcp", 554);
    QTRY_COMPARE_WITH_TIMEOUT(follower.told.size(), 2, k_patience);
    QCOMPARE(follower.last(text("Box")).serviceKind, 2);
    QCOMPARE(follower.last(text("Harbour gate")).serviceKind, 0);
    withdrawAll(follower, 4);
}

void TestDnsSdScan::manyServicesTakeTurns()
{
    constexpr int k_many = 600; // of two links and two families, more than may be asked at a time
    QStringList names;
    for (int i = 0; i < k_many; ++i)
        names.append(text("Gate %1").arg(i));
    Follower follower;
    QVERIFY(m_far->publishMany(names, text("_rtsp._tcp"), 554));
    QTRY_COMPARE_WITH_TIMEOUT(follower.told.filter(text("new")).size(), k_many, k_muchPatience);
    m_far->withdrawAll();
    QTRY_COMPARE_WITH_TIMEOUT(follower.told.filter(text("gone")).size(), k_many, k_muchPatience);
    QCOMPARE(follower.told.filter(text("new")).size(), k_many);
}

void TestDnsSdScan::stopIsTheEnd()
{
    Follower follower;
    publish("Harbour gate", "_rtsp._tcp", 554);
    QTRY_COMPARE_WITH_TIMEOUT(follower.told.size(), 1, k_patience);
    follower.scanner().stop();
    QVERIFY(!follower.scanner().isRunning());
    follower.scanner().start(0, 0);
    QTRY_COMPARE_WITH_TIMEOUT(follower.told.size(), 2, k_patience);
    QCOMPARE(follower.told.last(), text("new Harbour gate"));
    withdrawAll(follower, 3);
}

QTEST_GUILESS_MAIN(TestDnsSdScan)
#include "tst_dnssdscan.moc"
