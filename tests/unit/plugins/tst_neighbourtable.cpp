// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "plugins/script.h"
#include "scanners/arp/neighbourmessages_p.h"
#include "scanners/arp/subnetsweep_p.h"

#include <QMap>

#include <algorithm>
#include <cstring>
#include <memory>

#include <linux/neighbour.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

using namespace tq;

namespace {

const QMap<QString, quint16> k_states = { { QStringLiteral("incomplete"), NUD_INCOMPLETE },
    { QStringLiteral("reachable"), NUD_REACHABLE }, { QStringLiteral("stale"), NUD_STALE },
    { QStringLiteral("delay"), NUD_DELAY }, { QStringLiteral("probe"), NUD_PROBE },
    { QStringLiteral("failed"), NUD_FAILED }, { QStringLiteral("noarp"), NUD_NOARP },
    { QStringLiteral("permanent"), NUD_PERMANENT } };

MACAddress macOf(const QString& name)
{
    if (name == QLatin1String("-"))
        return MACAddress();
    return name.size() == 1 ? MACAddress(QStringLiteral("02:00:00:00:00:0") + name)
                            : MACAddress(name);
}

/** Plays a script to a table and writes down what it tells. */
class Player
{
public:
    void play(const QString& step)
    {
        const QStringList words = step.split(QLatin1Char(' '));
        if (step.startsWith(QLatin1Char('+')))
            m_table.advance(m_now += step.toInt());
        else if (step == QLatin1String("list"))
            m_table.beginListing();
        else if (step == QLatin1String("end"))
            m_table.endListing(m_now);
        else if (step == QLatin1String("confirm"))
            m_table.confirm();
        else if (words.first() == QLatin1String("del"))
            feed(words.at(1), words.at(2), NUD_STALE, true);
        else
            feed(words.at(0), words.at(1), k_states.value(words.at(2)), false,
                step.endsWith(QLatin1String("proxy")));
        write();
    }

    QStringList told;

private:
    void feed(const QString& address, const QString& mac, quint16 state, bool isDeleted,
        bool isProxy = false)
    {
        m_table.feed({ 2, QHostAddress(address), macOf(mac), state, isProxy, isDeleted }, m_now);
    }

    void write()
    {
        static const QStringList k_kinds = { QStringLiteral("new"), QStringLiteral("changed"),
            QStringLiteral("gone") };
        const NeighbourTable::Outcome outcome = m_table.take();
        for (const auto& event : outcome.events)
            told.append(k_kinds.at(event.kind) + QLatin1Char(' ') + event.address.toString()
                + QLatin1Char(' ') + event.mac.toString().right(1));
        for (const auto& place : outcome.questions)
            told.append(QStringLiteral("ask ") + place.address.toString());
        for (const auto& place : outcome.lost)
            told.append(QStringLiteral("miss ") + place.address.toString());
    }

    NeighbourTable m_table;
    qint64 m_now = 1000000;
};

/** A message of the kernel about 10.0.0.5. */
QByteArray message(quint16 type = RTM_NEWNEIGH)
{
    struct
    {
        nlmsghdr head{};
        ndmsg line{};
        nlattr addressHead{ 8, NDA_DST };
        quint8 address[4]{ 10, 0, 0, 5 };
        nlattr macHead{ 10, NDA_LLADDR };
        quint8 mac[8]{ 2, 0, 0, 0, 0, 10 };
    } parts;
    parts.head.nlmsg_len = sizeof parts;
    parts.head.nlmsg_type = type;
    parts.line.ndm_family = AF_INET;
    parts.line.ndm_ifindex = 7;
    parts.line.ndm_state = NUD_STALE;
    return QByteArray(reinterpret_cast<const char*>(&parts), sizeof parts);
}

/** Reads exactly these bytes, on a heap of their own: a sanitizer sees a read beyond them. */
std::optional<Neighbour> read(const QByteArray& bytes)
{
    const auto heap = std::make_unique<char[]>(std::size_t(bytes.size()));
    std::memcpy(heap.get(), bytes.constData(), std::size_t(bytes.size()));
    return readNeighbour(reinterpret_cast<const nlmsghdr*>(heap.get()));
}

// Scripts of what the kernel says, and what is told of it.

void addComings(const tst::Scripts& row)
{
    row("nothing before the listing ends", "list;.5 a reachable;.6 b stale", "");
    row("new, refreshed, gone", "list;.5 a stale;end;.5 a reachable;.5 a stale;del .5 a",
        "new .5 a;gone .5 a");
    row("a failed line has no MAC", "list;end;.5 a probe;.5 - failed", "new .5 a;gone .5 a");
    row("what is no device",
        "list;end;.5 - incomplete;.6 - failed;224.0.0.1 01:00:5e:00:00:01 noarp;"
        "255.255.255.255 ff:ff:ff:ff:ff:ff noarp;127.0.0.1 00:00:00:00:00:00 noarp;"
        "ff02::1 a stale;.7 a stale proxy;.8 00:00:00:00:00:00 stale;"
        ".9 01:00:5e:00:00:01 stale;0.0.0.0 a stale;.10 a noarp;+9000",
        "");
    row("IPv4 has a head start", "list;end;fe80::5 a stale;+1000;.5 a stale;+9000", "new .5 a");
    row("IPv6 alone, no change by IPv4 later",
        "list;fe80::5 a stale;2001:db8::5 a stale;end;+2000;.5 a stale;+9000", "new 2001:db8::5 a");
    row("an IPv6 device moves on",
        "list;2001:db8::5 a stale;end;+2000;2001:db8::6 a stale;2001:db8::5 - failed",
        "new 2001:db8::5 a;changed 2001:db8::6 a");
    row("silent on IPv4 is not moved to IPv6, but to the next IPv4 address",
        "list;.5 a stale;fe80::5 a stale;end;.5 - failed;+9000;.7 a stale",
        "new .5 a;changed .7 a");
}

void addMoves(const tst::Scripts& row)
{
    row("moved: the old address fails",
        "list;.5 a stale;end;+3000;.9 a stale;.5 a probe;+3000;.5 - failed;+9000;.9 - failed",
        "new .5 a;ask .5;changed .9 a;gone .9 a");
    row("moved: the old address stays silent",
        "list;.5 a stale;end;+3000;.9 a stale;+4900;+100;+9000", "new .5 a;ask .5;changed .9 a");
    row("moved to and fro",
        "list;.5 a stale;end;+3000;.9 a stale;.5 - failed;+3000;.5 a stale;.9 - failed",
        "new .5 a;ask .5;changed .9 a;ask .9;changed .5 a");
    row("a second address of a device that answers",
        "list;.5 a reachable;end;+3000;.9 a stale;.5 a probe;.5 a reachable;+9000",
        "new .5 a;ask .5");
    row("a second address is asked when the first goes much later",
        "list;.5 a permanent;end;.9 a stale;+60000;del .5 a;.9 a probe;.9 a reachable",
        "new .5 a;ask .9;changed .9 a");
    row("a line that the kernel trusts is asked until it may be",
        "list;.5 a reachable;end;+3000;.9 a stale;+5000;.5 a delay;.5 - failed",
        "new .5 a;ask .5;ask .5;changed .9 a");
    row("moved, but the kernel trusted the old address for long",
        "list;.5 a reachable;end;+3000;.9 a reachable;+5000;+5000;+5000;.5 - failed;.9 a stale;"
        ".9 a reachable",
        "new .5 a;ask .5;ask .5;ask .5;ask .5;ask .9;changed .9 a");
    row("a flush is no move",
        "list;.5 a permanent;.9 a reachable;end;.9 a probe;.9 a reachable;del .5 a;del .9 a",
        "ask .9;new .5 a;ask .9;gone .5 a");
}

void addChoices(const tst::Scripts& row)
{
    row("questions keep a pause", "list;end;.5 a stale;.9 a stale;+1900", "new .5 a");
    row("and are asked after it", "list;end;.5 a stale;.9 a stale;+1900;+100", "new .5 a;ask .5");
    row("gone and back", "list;.5 a stale;end;.5 - failed;.5 a stale",
        "new .5 a;gone .5 a;new .5 a");
    row("gone and back elsewhere", "list;.5 a stale;end;.5 - failed;.9 a stale",
        "new .5 a;gone .5 a;new .9 a;changed .9 a");
    row("two addresses at first: one is left over from a move",
        "list;.5 a stale;.9 a stale;end;.9 a probe;.9 a reachable;.5 - failed;+9000",
        "ask .5;ask .9;new .9 a");
    row("two addresses at first: both answer",
        "list;.9 a stale;.5 a stale;end;.9 a reachable;.5 a reachable", "ask .5;ask .9;new .5 a");
    row("two addresses at first: only one answers in time",
        "list;.5 a stale;.9 a stale;end;.9 a reachable;+5000", "ask .5;ask .9;new .9 a");
    row("two addresses at first: none answers", "list;.5 a stale;.9 a stale;end;+5000;+9000",
        "ask .5;ask .9;new .5 a");
    row("another device takes an address over", "list;.5 a stale;end;.5 b stale",
        "new .5 a;gone .5 a;new .5 b");
    row("a second listing shows what went unnoticed",
        "list;.5 a stale;.6 b stale;end;list;.6 b stale;.7 c stale;end",
        "new .5 a;new .6 b;new .7 c;gone .5 a");
}

void addConfirmations(const tst::Scripts& row)
{
    row("stale for 15 s: asked, and again after a minute",
        "list;.5 a reachable;end;confirm;+90000;.5 a stale;+14900;+100;.5 a probe;"
        ".5 a reachable;.5 a stale;+59900;+100",
        "new .5 a;ask .5;ask .5");
    row("one that went off is gone",
        "list;.5 a stale;.6 b stale;end;confirm;+15000;.5 a probe;.5 - failed;.6 b probe;"
        ".6 b reachable;+15000",
        "new .5 a;new .6 b;ask .5;ask .6;gone .5 a");
    row("one that went off is gone in both families",
        "list;.5 a stale;fe80::5 a stale;end;confirm;+15000;.5 - failed;+250;fe80::5 - failed",
        "new .5 a;ask .5;ask fe80::5;gone .5 a");
    row("the kernel drops lines of devices that are there",
        "list;.5 a stale;end;confirm;del .5 a;+250;.5 - incomplete;.5 a reachable;+9000;list;"
        "end;+0;.5 a reachable;+9000",
        "new .5 a;miss .5;miss .5");
    row("the kernel drops lines of devices that went off",
        "list;.5 a stale;.6 b stale;end;confirm;del .5 a;del .6 b;+250;.5 - failed;+4900;+100",
        "new .5 a;new .6 b;miss .5;miss .6;gone .5 a;gone .6 b");
}

} // namespace

class TestNeighbourTable : public QObject
{
    Q_OBJECT

private slots:
    void tellsWhatBecomesOfDevices_data();
    void tellsWhatBecomesOfDevices();
    void asksARouterOnceForManyAddresses();
    void confirmsALargeNetworkCalmly();
    void readsMessages();
    void survivesMessagesThatLie();
    void sweepsTheHostsOfASubnet_data();
    void sweepsTheHostsOfASubnet();
};

void TestNeighbourTable::tellsWhatBecomesOfDevices_data()
{
    const tst::Scripts row("script", "told");
    addComings(row);
    addMoves(row);
    addChoices(row);
    addConfirmations(row);
}

void TestNeighbourTable::tellsWhatBecomesOfDevices()
{
    tst::playScript<Player>();
}

void TestNeighbourTable::asksARouterOnceForManyAddresses()
{
    Player player;
    for (const char* step : { "list", "10.0.0.1 a reachable", "end", "+3000" })
        player.play(QLatin1String(step));
    for (int host = 2; host < 200; ++host)
        player.play(QStringLiteral("10.0.0.%1 a reachable").arg(host));
    for (const char* step : { "10.0.0.1 a probe", "10.0.0.1 a reachable", "+9000" })
        player.play(QLatin1String(step));
    QCOMPARE(player.told,
        QStringList({ QStringLiteral("new 10.0.0.1 a"), QStringLiteral("ask 10.0.0.1") }));

    // Before anything was reported only some of the addresses are asked.
    Player second;
    second.play(QStringLiteral("list"));
    for (int host = 1; host < 200; ++host)
        second.play(QStringLiteral("10.0.0.%1 a stale").arg(host));
    second.play(QStringLiteral("end"));
    QCOMPARE(second.told.size(), 8);
}

void TestNeighbourTable::confirmsALargeNetworkCalmly()
{
    constexpr int k_devices = 1500;
    constexpr int k_tick = 250;
    NeighbourTable table;
    table.beginListing();
    for (quint32 i = 1; i <= k_devices; ++i)
        table.feed({ 2, QHostAddress(0x0a000000 + i),
                       MACAddress({ 2, 0, 0, 0, quint8(i >> 8), quint8(i) }), NUD_STALE },
            0);
    table.endListing(0);
    table.confirm();
    QMap<quint32, int> asked;
    for (qint64 now = 0; now < 300000; now += k_tick) {
        table.advance(now);
        const auto questions = table.take().questions;
        QVERIFY(questions.size() <= 6);
        for (const auto& place : questions)
            ++asked[place.address.toIPv4Address()];
    }
    // 150 s lie between two questions to one: everybody had a turn, and nobody a third one.
    QCOMPARE(asked.size(), k_devices);
    QVERIFY(std::all_of(asked.begin(), asked.end(), [](int times) { return times <= 2; }));
}

void TestNeighbourTable::readsMessages()
{
    const auto line = read(message());
    QVERIFY(line);
    QCOMPARE(line->address, QHostAddress(QStringLiteral("10.0.0.5")));
    QCOMPARE(line->mac.toString(), QStringLiteral("02:00:00:00:00:0a"));
    QCOMPARE(line->interfaceIndex, 7);
    QCOMPARE(line->state, quint16(NUD_STALE));
    QVERIFY(!line->isDeleted);
    QVERIFY(read(message(RTM_DELNEIGH))->isDeleted);
    QVERIFY(!read(message(RTM_NEWROUTE)));
}

void TestNeighbourTable::survivesMessagesThatLie()
{
    const QByteArray whole = message();
    for (qsizetype size = NLMSG_HDRLEN; size < whole.size(); ++size) {
        QByteArray cut = whole.left(size);
        reinterpret_cast<nlmsghdr*>(cut.data())->nlmsg_len = quint32(size);
        const auto line = read(cut);
        QVERIFY(!line || line->address.toString() == QLatin1String("10.0.0.5"));
    }
    const qsizetype attribute = NLMSG_HDRLEN + NLMSG_ALIGN(sizeof(ndmsg));
    for (const int length : { 0, 1, 3, 4, 5, 7, 9, 200, 65535 }) {
        QByteArray lying = whole;
        const auto wrong = quint16(length);
        std::memcpy(lying.data() + attribute, &wrong, sizeof wrong);
        QVERIFY2(!read(lying), qPrintable(QString::number(length)));
    }
}

void TestNeighbourTable::sweepsTheHostsOfASubnet_data()
{
    const tst::Rows<QString, int, QString, QString> row("own", "prefixLength", "first", "last");
    row("24", "10.1.2.3", 24, "10.1.2.1", "10.1.2.254");
    row("20", "10.1.18.3", 20, "10.1.16.1", "10.1.31.254");
    row("30", "10.1.2.6", 30, "10.1.2.5", "10.1.2.6");
    row("31", "10.1.2.6", 31, "10.1.2.6", "10.1.2.7");
    row("32 has nobody else", "10.1.2.6", 32, "", "");
    row("19 is too large", "10.1.2.6", 19, "", "");
    row("0 is too large", "10.1.2.6", 0, "", "");
}

void TestNeighbourTable::sweepsTheHostsOfASubnet()
{
    QFETCH(QString, own);
    QFETCH(int, prefixLength);
    QFETCH(QString, first);
    QFETCH(QString, last);
    const quint32 address = QHostAddress(own).toIPv4Address();
    const SubnetSweep::Range range = SubnetSweep::hosts(address, prefixLength);
    if (first.isEmpty()) {
        QVERIFY(range.first > range.last);
        return;
    }
    QCOMPARE(QHostAddress(range.first).toString(), first);
    QCOMPARE(QHostAddress(range.last).toString(), last);
}

QTEST_GUILESS_MAIN(TestNeighbourTable)

#include "tst_neighbourtable.moc"
