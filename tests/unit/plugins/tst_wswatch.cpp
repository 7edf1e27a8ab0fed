// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
// Over the loopback interface, with a port of its own: nothing leaves this machine.
#include "plugins/wsmessages.h"
#include "scanners/wsdiscovery/wswatch_p.h"

#include <QRegularExpression>
#include <QTest>
#include <QUdpSocket>

#include <functional>

using namespace tq;

namespace {

const QHostAddress k_group(QStringLiteral("239.255.255.250"));

QNetworkInterface loopback()
{
    const auto interfaces = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface& each : interfaces) {
        if (each.flags().testFlag(QNetworkInterface::IsLoopBack))
            return each;
    }
    return {};
}

quint16 freePort()
{
    QUdpSocket socket;
    socket.bind(QHostAddress::AnyIPv4, 0);
    return socket.localPort();
}

QByteArray at(const QByteArray& endpoint, const QByteArray& url)
{
    return tst::device(endpoint, url.isEmpty() ? url : "<XAddrs>" + url + "</XAddrs>");
}

QByteArray announcement(
    const QByteArray& kind, const QByteArray& endpoint, const QByteArray& url = QByteArray())
{
    return tst::envelope("<" + kind + ">" + at(endpoint, url) + "</" + kind + ">");
}

/** One message of several devices at the same place. */
QByteArray match(const QByteArray& kind, const QByteArray& id, const QByteArrayList& endpoints,
    const QByteArray& url = "http://127.0.0.2/")
{
    QByteArray content;
    for (const QByteArray& endpoint : endpoints)
        content += "<" + kind + "Match>" + at(endpoint, url) + "</" + kind + "Match>";
    return tst::envelope("<" + kind + "Matches>" + content + "</" + kind + "Matches>",
        "<w:RelatesTo>" + id + "</w:RelatesTo>");
}

/** Somebody in the group, at an address of the loopback network. */
class Peer : public QObject
{
public:
    Peer(quint16 port, const char* address) : m_port(port)
    {
        const auto shared = QUdpSocket::ShareAddress | QUdpSocket::ReuseAddressHint;
        isReady = m_ear.bind(QHostAddress::AnyIPv4, port, shared)
            && m_ear.joinMulticastGroup(k_group, loopback())
            && m_mouth.bind(QHostAddress(QLatin1String(address)), 0);
        m_mouth.setMulticastInterface(loopback());
        QObject::connect(&m_ear, &QUdpSocket::readyRead, this, &Peer::read);
    }

    void announce(const QByteArray& message) { m_mouth.writeDatagram(message, k_group, m_port); }
    void send(const QByteArray& message)
    {
        m_mouth.writeDatagram(message, clientAddress, clientPort);
    }

    bool isReady = false;
    QStringList heard; ///< what was asked: types and endpoints
    QList<QByteArray> ids; ///< of these messages
    QByteArray probe; ///< id of the last one
    QHostAddress clientAddress;
    quint16 clientPort = 0;
    std::function<void(const QByteArray& id, const QString& question)> answer;

private:
    void read()
    {
        static const QRegularExpression k_id(QStringLiteral("MessageID>([^<]*)<"));
        static const QRegularExpression k_question(
            QStringLiteral("<d:(?:Types|Resolve><a:EndpointReference><a:Address)>([^<]*)<"));
        while (m_ear.hasPendingDatagrams()) {
            const QNetworkDatagram datagram = m_ear.receiveDatagram();
            const QString text = QString::fromUtf8(datagram.data());
            const QString question = k_question.match(text).captured(1);
            if (question.isEmpty() || !text.contains(QLatin1String("MessageID>")))
                continue; // an announcement of our own
            clientAddress = datagram.senderAddress();
            clientPort = quint16(datagram.senderPort());
            heard.append(question);
            const QByteArray id = k_id.match(text).captured(1).toLatin1();
            ids.append(id);
            if (!text.contains(QLatin1String("<d:Resolve>")))
                probe = id;
            if (answer)
                answer(id, question);
        }
    }

    quint16 m_port;
    QUdpSocket m_ear;
    QUdpSocket m_mouth;
};

} // namespace

class TestWsWatch : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void asksEveryKindTwiceAndNotFromStart();
    void findsThoseWhoAnswer();
    void listensToComingAndGoing();
    void leavesOtherEventsTheirTurn();
    void mayBeStoppedAndDeletedFromItsSignal();
    void mayBeStartedOverFromItsSignal();

private:
    /** Lets the watch ask, and waits for the question. */
    void ask();

    quint16 m_port = 0;
    std::unique_ptr<WsWatch> m_watch;
    std::unique_ptr<Peer> m_peer;
    QStringList m_told;
};

void TestWsWatch::init()
{
    m_port = freePort();
    m_told.clear();
    m_peer = std::make_unique<Peer>(m_port, "127.0.0.2");
    if (!m_peer->isReady)
        QSKIP("multicast on the loopback interface is missing here");
    m_watch = std::make_unique<WsWatch>(m_port);
    QObject::connect(m_watch.get(), &WsWatch::happened, this, [this](const auto& event) {
        m_told.append(QStringLiteral("%1 %2 %3:%4")
                          .arg(QString::number(event.kind), event.endpoint,
                              event.place.address.toString(), QString::number(event.place.port)));
    });
    QVERIFY(m_watch->start({ loopback().name() }));
}

void TestWsWatch::cleanup()
{
    m_watch.reset();
    m_peer.reset();
}

void TestWsWatch::ask()
{
    m_watch->probe(0);
    QTRY_COMPARE(m_peer->heard.size(), 4);
}

void TestWsWatch::asksEveryKindTwiceAndNotFromStart()
{
    const QString video = QStringLiteral("dn:NetworkVideoTransmitter");
    const QString other = QStringLiteral("wsdp:Device");
    QCoreApplication::processEvents();
    QVERIFY(m_peer->heard.isEmpty());
    ask();
    QCOMPARE(m_peer->heard.count(video), 2);
    QCOMPARE(m_peer->heard.count(other), 2);
    m_watch->probe(0);
    QTRY_COMPARE(m_peer->heard.size(), 8);

    // What was to be repeated is not, after a stop.
    m_watch->probe(0);
    QTRY_COMPARE(m_peer->heard.size(), 10);
    m_watch->stop();
    QVERIFY(!m_watch->isRunning());
    QVERIFY(m_watch->start({ loopback().name() }));
    m_watch->probe(0);
    QTRY_COMPARE(m_peer->heard.size(), 14);
    for (const auto& [place, count] : { std::pair(0, 2), { 4, 2 }, { 8, 1 }, { 9, 1 } })
        QCOMPARE(m_peer->ids.count(m_peer->ids.at(place)), count);
}

void TestWsWatch::findsThoseWhoAnswer()
{
    m_peer->answer = [this](const QByteArray& id, const QString& question) {
        if (question == QLatin1String("dn:NetworkVideoTransmitter"))
            m_peer->send(match("Probe", id, { "urn:a" }, "http://127.0.0.2:8001/x"));
        else if (question == QLatin1String("wsdp:Device"))
            m_peer->send(match("Probe", id, { "urn:b" }, {}));
        else if (question == QLatin1String("urn:b"))
            m_peer->send(match("Resolve", id, { "urn:b" }, "http://127.0.0.2:8002/x"));
    };
    m_watch->probe(0);
    const QStringList both{ QStringLiteral("0 urn:a 127.0.0.2:8001"),
        QStringLiteral("0 urn:b 127.0.0.2:8002") };
    QTRY_COMPARE(m_told, both);
    QCOMPARE(m_watch->ignored(), 0);

    // What nobody asked for, or asked about somebody else, counts for nothing.
    m_peer->send(match("Probe", "urn:uuid:1", { "urn:c" }));
    m_peer->send(match("Resolve", m_peer->probe, { "urn:c" }));
    m_peer->send(announcement("Hello", "urn:c", "http://127.0.0.2/"));
    QTRY_COMPARE(m_watch->ignored(), 3);
    QCOMPARE(m_told.size(), 2);
}

void TestWsWatch::listensToComingAndGoing()
{
    ask();
    Peer other(m_port, "127.0.0.3");
    m_peer->announce(announcement("Hello", "urn:a", "http://127.0.0.2/"));
    QTRY_COMPARE(m_told, QStringList(QStringLiteral("0 urn:a 127.0.0.2:80")));
    m_peer->announce(announcement("Hello", "urn:a", "http://127.0.0.2:81/"));
    QTRY_COMPARE(m_told.value(1), QStringLiteral("1 urn:a 127.0.0.2:81"));
    other.announce(announcement("Bye", "urn:a"));
    QTRY_COMPARE(m_watch->ignored(), 1);
    m_peer->announce(announcement("Bye", "urn:a"));
    QTRY_COMPARE(m_told.value(2), QStringLiteral("2 urn:a 127.0.0.2:81"));
}

void TestWsWatch::leavesOtherEventsTheirTurn()
{
    ask();
    constexpr int k_sent = 60;
    int before = -1;
    QObject::connect(m_watch.get(), &WsWatch::happened, this, [&] {
        if (m_told.size() == 1)
            QTimer::singleShot(0, this, [&] { before = int(m_told.size()); });
    });
    for (int i = 0; i < k_sent; ++i)
        m_peer->send(match("Probe", m_peer->probe, { QByteArray::number(i) }));
    QTRY_COMPARE(m_told.size(), k_sent);
    QVERIFY2(before > 0 && before < k_sent, qPrintable(QString::number(before)));
}

void TestWsWatch::mayBeStoppedAndDeletedFromItsSignal()
{
    ask();
    const auto connection =
        QObject::connect(m_watch.get(), &WsWatch::happened, this, [this] { m_watch->stop(); });
    for (const char* const endpoint : { "urn:a", "urn:b" })
        m_peer->send(match("Probe", m_peer->probe, { endpoint }));
    QTRY_COMPARE(m_told.size(), 1);
    QCoreApplication::processEvents();
    QCOMPARE(m_told.size(), 1);

    QObject::disconnect(connection);
    QVERIFY(m_watch->start({ loopback().name() }));
    m_peer->heard.clear();
    ask();
    QObject::connect(m_watch.get(), &WsWatch::happened, this, [this] { m_watch.reset(); });
    for (const char* const endpoint : { "urn:a", "urn:b" })
        m_peer->send(match("Probe", m_peer->probe, { endpoint }));
    QTRY_VERIFY(!m_watch);
    QCOMPARE(m_told.size(), 2);
}

void TestWsWatch::mayBeStartedOverFromItsSignal()
{
    ask();
    bool isStarted = false;
    const auto connection = QObject::connect(m_watch.get(), &WsWatch::happened, this,
        [&] { isStarted = m_watch->start({ loopback().name() }); });
    // Both are to be told in one go.
    m_peer->send(match("Probe", m_peer->probe, { "urn:a", "urn:b" }));
    QTRY_COMPARE(m_told, QStringList(QStringLiteral("0 urn:a 127.0.0.2:80")));
    QVERIFY(isStarted);

    // Nothing of what was there before is known or told any more.
    QObject::disconnect(connection);
    m_told.clear();
    m_peer->heard.clear();
    ask();
    m_peer->send(match("Probe", m_peer->probe, { "urn:b", "urn:a" }));
    QTRY_COMPARE(m_told.size(), 2);
    QCOMPARE(m_told.first(), QStringLiteral("0 urn:b 127.0.0.2:80"));
}

QTEST_GUILESS_MAIN(TestWsWatch)
#include "tst_wswatch.moc"
