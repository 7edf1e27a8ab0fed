// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "devices/ipdevicenode.h"
#include "discovery/nodehintfromarp.h"
#include "discovery/nodehintfrombonjour.h"
#include "discovery/nodehintipdevice.h"
#include "environments/environments.h"
#include "environments/globalnetworkproxy.h"
#include "nodestore/nodedb.h"
#include "shared/fakedriver.h"
#include "shared/logcapture.h"

#include <QMetaMethod>
#include <QSignalSpy>
#include <QTest>
#include <QThread>

#include <memory>

using namespace tq;

namespace {

struct Texts
{
    const QMetaObject* meta;
    const char* texts;
};

const Texts k_texts[] = {
    { &NodeDB::staticMetaObject,
        "scannerStarted(QString) scannerStopped(QString) nodeInserted(tq::NodeID) "
        "nodeRemoved(tq::NodeID) nodeLost(tq::NodeID) beginUpdatingNode(tq::NodeID) "
        "nodeUpdated(tq::NodeID) duplicateNodeHint(tq::NodeHint,tq::NodeID) "
        "unhandledNodeHint(tq::NodeHint) probeFinished(int,tqm::smart<INodeDriverComponent>,int) "
        "activeUserChanged() activeEnvironmentChanged() environmentsChanged() globalPathChanged() "
        "globalAuthenticationChanged() connectionDataChanged(tq::NodeID) "
        "nodeRelationAboutToBeAdded(tq::NodeID,tq::NodeID,tq::ENodeRelationType) "
        "nodeRelationAdded(tq::NodeID,tq::NodeID,tq::ENodeRelationType) "
        "nodeRelationAboutToBeRemoved(tq::NodeID,tq::NodeID,tq::ENodeRelationType) "
        "nodeRelationRemoved(tq::NodeID,tq::NodeID,tq::ENodeRelationType) "
        "newNodeHint(tq::NodeHint) nodeHintChanged(tq::NodeHint) nodeHintGone(tq::NodeHint) "
        "probeResult(int,tqm::smart<INodeDriverComponent>,int)" },
    { &Node::staticMetaObject, "changed(tq::NodeID)" },
    { &IPDeviceNode::staticMetaObject,
        "connectionDataChanged(tq::NodeID) activeUserChanged() activeEnvironmentChanged() "
        "proxyChanged() globalProxyChanged() globalAuthenticationChanged()" },
    { &Environments::staticMetaObject,
        "environmentRenamed(EnvironmentID) newEnvironmentAdded(EnvironmentID) "
        "environmentRemoved(EnvironmentID)" },
    { &EnvironmentSpecificDataSlot::staticMetaObject, "copy(EnvironmentID) del(EnvironmentID)" },
    { &NetworkProxy::staticMetaObject,
        "copyFromActiveEnvironment(EnvironmentID) removeEnvironmentEntry(EnvironmentID) "
        "proxyDataChanged()" },
    { &GlobalNetworkProxy::staticMetaObject, "globalProxyDataChanged()" },
};

/** Emits on whatever thread calls it. */
class Emitter : public QObject
{
    Q_OBJECT

signals:
    void found(const tq::NodeHint& hint);
};

/** Keeps what arrives. */
class Receiver : public QObject
{
    Q_OBJECT

public slots:
    void take(const tq::NodeHint& hint)
    {
        threads.append(QThread::currentThread());
        hints.emplace_back(hint.clone());
    }

public:
    std::vector<std::unique_ptr<NodeHint>> hints;
    QList<QThread*> threads;
};

std::vector<std::unique_ptr<NodeHint>> hintsOfAllKinds(const QString& otherEnvironment)
{
    std::vector<std::unique_ptr<NodeHint>> hints;
    hints.emplace_back(new NodeHintFromARP(
        QStringLiteral("10.0.0.7"), MACAddress(QStringLiteral("02:00:00:00:00:07"))));
    SServiceInfo info;
    info.serviceKind = 1;
    info.texts = { QStringLiteral("model=X1") };
    info.address = QStringLiteral("fe80::7");
    info.securePort = 443;
    hints.emplace_back(new NodeHintFromBonjour(info));
    auto* const device = new NodeHintIPDevice;
    device->setHostAddress(QStringLiteral("10.0.0.9"));
    device->setPassword(QStringLiteral("secret"));
    device->proxy().setProxyAddress(QStringLiteral("here"), 3128);
    device->proxy().copyFromActiveEnvironment(otherEnvironment);
    device->proxy().setProxyAddress(QStringLiteral("there"), 3129);
    hints.emplace_back(device);
    for (const auto& hint : hints)
        hint->setName(QStringLiteral("naïve"));
    return hints;
}

void verifyHints(
    const std::vector<std::unique_ptr<NodeHint>>& hints, const QString& otherEnvironment)
{
    QCOMPARE(hints.size(), std::size_t(3));
    const auto* arp = dynamic_cast<const NodeHintFromARP*>(hints[0].get());
    QVERIFY(arp);
    QCOMPARE(arp->mac().toString(), QStringLiteral("02:00:00:00:00:07"));
    const auto* bonjour = dynamic_cast<const NodeHintFromBonjour*>(hints[1].get());
    QVERIFY(bonjour);
    QCOMPARE(bonjour->texts, QList<QString>({ QStringLiteral("model=X1") }));
    QCOMPARE(bonjour->thirdText(), QStringLiteral("fe80::7"));
    QCOMPARE(int(bonjour->securePort), 443);
    QCOMPARE(bonjour->nodeType(), eIPCameraNode);
    const auto* device = dynamic_cast<const NodeHintIPDevice*>(hints[2].get());
    QVERIFY(device);
    QCOMPARE(device->name(), QStringLiteral("naïve"));
    QCOMPARE(device->password(), QStringLiteral("secret"));
    QCOMPARE(device->proxy().proxyAddress(), QStringLiteral("there"));
    const QString active = Environments::activeEnvironment();
    Environments::setActiveEnvironment(otherEnvironment);
    QCOMPARE(device->proxy().proxyAddress(), QStringLiteral("here"));
    QCOMPARE(device->proxy().proxyPort(), 3128);
    Environments::setActiveEnvironment(active);
}

} // namespace

class TestSignalTexts : public QObject
{
    Q_OBJECT

private slots:
    void init() { NodeDB::getDB(); }
    void cleanup() { NodeDB::freeDB(); }
    void everyTextResolves();
    void hintsArriveWholeAcrossThreads_data();
    void hintsArriveWholeAcrossThreads();
    void spiesKeepHints();
    void driverHandlesCrossThreadsByText();
};

void TestSignalTexts::everyTextResolves()
{
    int resolved = 0;
    for (const Texts& entry : k_texts) {
        for (const QByteArray& text : QByteArray(entry.texts).split(' ')) {
            bool found = false;
            for (int i = entry.meta->methodOffset(); i < entry.meta->methodCount(); ++i)
                found = found || entry.meta->method(i).methodSignature() == text;
            QVERIFY2(found, (QByteArray(entry.meta->className()) + ' ' + text).constData());
            ++resolved;
        }
    }
    qInfo("%d signal and slot texts resolved", resolved);
}

void TestSignalTexts::hintsArriveWholeAcrossThreads_data()
{
    QTest::addColumn<bool>("byText");
    QTest::newRow("by text") << true;
    QTest::newRow("by pointer") << false;
}

void TestSignalTexts::hintsArriveWholeAcrossThreads()
{
    QFETCH(bool, byText);
    const QString other = NodeDB::getDB()->environments()->add(QStringLiteral("Other"));
    Emitter emitter;
    Receiver receiver;
    if (byText)
        QVERIFY(connect(&emitter, SIGNAL(found(const tq::NodeHint&)), &receiver,
            SLOT(take(const tq::NodeHint&))));
    else
        connect(&emitter, &Emitter::found, &receiver, &Receiver::take);
    const std::unique_ptr<QThread> thread(QThread::create([&] {
        for (const auto& hint : hintsOfAllKinds(other))
            emit emitter.found(*hint);
    }));
    thread->start();
    QVERIFY(thread->wait());
    QVERIFY(receiver.hints.empty());
    QTRY_COMPARE(receiver.hints.size(), std::size_t(3));
    QCOMPARE(receiver.threads.count(QThread::currentThread()), 3);
    verifyHints(receiver.hints, other);
}

void TestSignalTexts::spiesKeepHints()
{
    Emitter emitter;
    QSignalSpy spy(&emitter, &Emitter::found);
    emit emitter.found(NodeHintFromARP(QStringLiteral("10.0.0.7"), MACAddress()));
    const QVariant kept = spy.at(0).at(0);
    const auto* hint = static_cast<const NodeHint*>(kept.constData());
    QCOMPARE(dynamic_cast<const NodeHintFromARP&>(*hint).address(), QStringLiteral("10.0.0.7"));
}

void TestSignalTexts::driverHandlesCrossThreadsByText()
{
    const tst::LogCapture log;
    NodeDB::freeDB();
    tst::FakeDriver driver(QStringLiteral("late"), { { 7, 1 } });
    driver.probeAnswer = 0;
    NodeDB* const db = NodeDB::getDB();
    QSignalSpy decided(db, &NodeDB::probeDecided);
    NodeHintIPDevice hint;
    hint.setName(QStringLiteral("far"));
    db->newNodeHint(hint);
    const std::unique_ptr<QThread> thread(
        QThread::create([&] { driver.answer(driver.probes.constFirst(), 1); }));
    thread->start();
    QVERIFY(decided.wait());
    QVERIFY(thread->wait());
    QCOMPARE(driver.created, QStringList(QStringLiteral("far")));
    QCOMPARE(log.linesWith(QStringLiteral("Cannot connect")), QStringList());
}

QTEST_GUILESS_MAIN(TestSignalTexts)
#include "tst_signaltexts.moc"
