// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "parts/boundedxml.h"
#include "plugins/script.h"
#include "plugins/wsmessages.h"
#include "scanners/wsdiscovery/devicetable_p.h"

using namespace tq;
using tst::device;
using tst::envelope;

namespace {

const QList<Subnet> k_subnets = { { QHostAddress(QStringLiteral("10.0.0.1")), 24 },
    { QHostAddress(QStringLiteral("10.9.0.1")), 16 },
    { QHostAddress(QStringLiteral("fd00::1")), 64 } };

WsMessage read(const QByteArray& datagram)
{
    QString error;
    const auto message = readWsMessage(datagram, error);
    if (!message)
        qWarning("%s", qPrintable(error));
    return message.value_or(WsMessage());
}

/** Reads the name of a device with this scope. */
QString nameOf(const QByteArray& scope)
{
    const auto message =
        read(envelope("<Hello>" + device("a", "<Scopes>" + scope + "</Scopes>") + "</Hello>"));
    return message.devices.value(0).name;
}

/** Plays a script to a table and writes down what it tells and asks. */
class Player
{
public:
    Player() { m_table.setSubnets(k_subnets); }

    void play(const QString& step)
    {
        const QStringList words = step.split(QLatin1Char(' '));
        const char* refusal = nullptr;
        if (step.startsWith(QLatin1Char('+')))
            m_table.advance(m_now += step.toInt());
        else if (words.first() == QLatin1String("bye"))
            refusal = m_table.dismiss(words.at(1), QHostAddress(words.at(2)), m_now);
        else
            refusal = feed(words);
        if (refusal)
            told.append(QStringLiteral("refused"));
        write();
    }

    QStringList told;

private:
    // ENDPOINT SENDER, then URLs, a version as "v1", a name as "n=…", "proxy", "match".
    const char* feed(const QStringList& words)
    {
        WsDevice said{ words.at(0), {}, {}, {} };
        DeviceTable::Sender sender{ QHostAddress(words.at(1)) };
        for (const QString& word : words.mid(2)) {
            if (word.startsWith(QLatin1String("v")))
                said.version = word.mid(1).toUInt();
            else if (word.startsWith(QLatin1String("n=")))
                said.name = word.mid(2);
            else if (word == QLatin1String("proxy"))
                sender.isItself = false;
            else if (word == QLatin1String("match"))
                sender.isAnswer = true;
            else
                said.addresses.append(word);
        }
        return m_table.feed(said, sender, m_now);
    }

    void write()
    {
        static const QStringList k_kinds = { QStringLiteral("new"), QStringLiteral("changed"),
            QStringLiteral("gone") };
        for (const auto& event : m_table.takeEvents())
            told.append(QStringLiteral("%1 %2 %3:%4%5")
                            .arg(k_kinds.at(event.kind), event.endpoint,
                                event.place.address.toString(), QString::number(event.place.port),
                                event.name.isEmpty() ? QString() : QLatin1Char(' ') + event.name));
        for (const QString& endpoint : m_table.takeQuestions(8, m_now))
            told.append(QStringLiteral("ask ") + endpoint);
    }

    DeviceTable m_table;
    qint64 m_now = 1000000;
};

void addComings(const tst::Scripts& row)
{
    row("again and again is once", "a .5 http://.5/x v1;a .5 http://.5/x v1;a .5 v1;+9000",
        "new a .5:80");
    row("asked, answered", "a .5 v1;a .5 v1;a .5 http://.5:81/;+9000", "ask a;new a .5:81");
    row("asked, silent", "a .5 n=A;+1499;+1", "ask a;new a .5:80 A");
    row("asked, silent, one who speaks for others", "a .5 proxy;+1500;a .5 proxy", "ask a;ask a");
    row("asked, gone, not counted as new", "a .5 http://.5/;bye a .5;bye a .5;+9000",
        "new a .5:80;gone a .5:80");
    row("gone and back", "a .5 http://.5/;bye a .5;+1500;a .6 http://.6/",
        "new a .5:80;gone a .5:80;new a .6:80");
    row("gone and back at once", "a .5 http://.5/;bye a .5;a .6 http://.6/;+1499;+1",
        "new a .5:80;gone a .5:80;ask a;new a .6:80");
    row("gone, an older answer comes late", "a .5 http://.5/;bye a .5;a .5 http://.5/ match;+1500",
        "new a .5:80;gone a .5:80;ask a");
    row("gone and back, an older answer comes late",
        "a .5 http://.5/;bye a .5;a .5 http://.5:81/;a .5 http://.5/ match;+1500",
        "new a .5:80;gone a .5:80;ask a;new a .5:81");
    row("to and fro", "a .5 http://.5/;bye a .5;a .5;bye a .5;a .5 http://.5/;bye a .5;+9000",
        "new a .5:80;gone a .5:80;ask a;ask a");
    row("nobody from elsewhere", "a 192.0.2.5 http://.5/", "refused");
    row("nobody else says Bye", "a .5 http://.5/;bye a .6", "new a .5:80;refused");
}

void addChanges(const tst::Scripts& row)
{
    row("another port, name, version",
        "a .5 http://.5/ v1;+1500;a .5 https://.5/ v1;+1500;a .5 n=A;a .5 https://.5/ v1",
        "new a .5:80;changed a .5:443;changed a .5:443 A");
    row("changes in quick succession are one",
        "a .5 http://.5/;a .5 http://.5:81/;+500;a .5 http://.5:82/;+999;+1",
        "new a .5:80;ask a;changed a .5:82");
    row("and none when it was only a moment",
        "a .5 http://.5/;a .5 http://.5:81/;a .5 http://.5/;+9000", "new a .5:80;ask a");
    row("another version without an address is asked about",
        "a .5 http://.5/ v1;+1500;a .5 v2;a .5 http://.5:82/ v2;+9000",
        "new a .5:80;changed a .5:80;ask a;changed a .5:82");
    row("and stays where it was if it says no more", "a .5 http://.5/ v1;+1500;a .5 v2;+9000",
        "new a .5:80;changed a .5:80;ask a");
    row("moved, the old address is silent",
        "a .5 http://.5/ v1;a .6 http://.6/ v2;a .6 http://.6/ v2;+1500;bye a .5;bye a .6",
        "new a .5:80;ask a;changed a .6:80;refused;gone a .6:80");
    row("two addresses, each answers with its own",
        "a .5 http://.5/;a 10.9.0.5 http://10.9.0.5/;a .5 http://.5/;+9000", "new a .5:80;ask a");
    row("two addresses, told together",
        "a .5 http://.5/ http://10.9.0.5/;a 10.9.0.5 http://10.9.0.5/ http://.5/;+9000",
        "new a .5:80");
    row("another one speaks in its name", "a .5 http://.5/ v1;a .66 http://.5:99/ v7 n=B;a .66 v8",
        "new a .5:80");
}

} // namespace

class TestWsDiscovery : public QObject
{
    Q_OBJECT

private slots:
    void writesQuestions();
    void readsMessages();
    void readsNames();
    void passesOverWhatIsNotSound();
    void choosesAPlace_data();
    void choosesAPlace();
    void tellsWhatBecomesOfDevices_data();
    void tellsWhatBecomesOfDevices();
    void keepsNoMoreThanItsBounds();
};

void TestWsDiscovery::writesQuestions()
{
    QString error;
    const auto probe =
        readBoundedXml(wsProbe(QStringLiteral("urn:uuid:1"), EWsType::eDevice), &error);
    QVERIFY2(probe, qPrintable(error));
    QCOMPARE(probe->find(u"MessageID")->text, QStringLiteral("urn:uuid:1"));
    QCOMPARE(probe->child(u"Body")->find(u"Types")->text, QStringLiteral("wsdp:Device"));
    const auto resolve =
        readBoundedXml(wsResolve(newWsMessageId(), QStringLiteral("urn:a?b&c<d>\"e\"%1")), &error);
    QVERIFY2(resolve, qPrintable(error));
    QCOMPARE(
        resolve->child(u"Body")->find(u"Address")->text, QStringLiteral("urn:a?b&c<d>\"e\"%1"));
    QCOMPARE(resolve->find(u"Action")->text,
        QStringLiteral("http://schemas.xmlsoap.org/ws/2005/04/discovery/Resolve"));
    QVERIFY(newWsMessageId() != newWsMessageId());
}

void TestWsDiscovery::readsMessages()
{
    const WsMessage matches = read(envelope("<ProbeMatches><ProbeMatch>"
            + device("urn:uuid:a",
                "<Types>x:y</Types><XAddrs>\n http://10.0.0.5/a\thttps://10.0.0.5/b \n</XAddrs>"
                "<MetadataVersion>7</MetadataVersion>")
            + "</ProbeMatch><ProbeMatch>" + device("urn:uuid:b") + "</ProbeMatch></ProbeMatches>",
        "<w:RelatesTo> urn:uuid:1 </w:RelatesTo>"));
    QCOMPARE(matches.kind, WsMessage::eProbeMatches);
    QCOMPARE(matches.relatesTo, QStringLiteral("urn:uuid:1"));
    QCOMPARE(matches.devices.size(), 2);
    QCOMPARE(matches.devices.first().endpoint, QStringLiteral("urn:uuid:a"));
    QCOMPARE(matches.devices.first().addresses,
        QStringList({ QStringLiteral("http://10.0.0.5/a"), QStringLiteral("https://10.0.0.5/b") }));
    QCOMPARE(matches.devices.first().version, std::optional<quint32>(7));
    QVERIFY(!matches.devices.last().version);
    QCOMPARE(read(envelope("<Bye>" + device("a") + "</Bye>")).kind, WsMessage::eBye);
    QCOMPARE(read(envelope("<Probe/>")).kind, WsMessage::eOther);
    QCOMPARE(read(envelope("<Hello xmlns='urn:other'>" + device("a") + "</Hello>")).kind,
        WsMessage::eOther);
}

void TestWsDiscovery::readsNames()
{
    QCOMPARE(nameOf("onvif://www.onvif.org/type/x  onvif://www.onvif.org/name/Harbour%20gate"),
        QStringLiteral("Harbour gate"));
    QCOMPARE(nameOf("ONVIF://www.onvif.org/NAME/K%C3%BCche"), QStringLiteral("K\u00fcche"));
    QCOMPARE(
        nameOf("onvif://www.onvif.org/name/a%0A2%20b%00%1b%E2%80%AE%"), QStringLiteral("a 2 b %"));
    QCOMPARE(nameOf("onvif://www.onvif.org/name/" + QByteArray(500, 'n')).size(), 80);
    QCOMPARE(nameOf("http://10.0.0.5/name/x"), QString());
}

void TestWsDiscovery::passesOverWhatIsNotSound()
{
    const QByteArray endpoints[] = { "", "urn:a b", "urn:\xc3\xbc", QByteArray(257, 'a') };
    for (const QByteArray& endpoint : endpoints)
        QVERIFY(read(envelope("<Hello>" + device(endpoint) + "</Hello>")).devices.isEmpty());
    QVERIFY(read(envelope("<Hello/>")).devices.isEmpty());
    const auto many = read(envelope("<Hello>"
        + device("a",
            "<XAddrs>" + QByteArrayLiteral("http://a ").repeated(99)
                + "</XAddrs><MetadataVersion>-1</MetadataVersion>")
        + "</Hello>"));
    QCOMPARE(many.devices.value(0).addresses.size(), 16);
    QVERIFY(!many.devices.value(0).version);
    QString error;
    QVERIFY(!readWsMessage("<a><Body><Hello/></Body></a>", error));
    QVERIFY(!readWsMessage("<Envelope><Body/></Envelope>", error));
    QVERIFY(!readWsMessage(envelope("<Probe/>") + QByteArray(32768, ' '), error));
    QVERIFY(!error.isEmpty());
}

void TestWsDiscovery::choosesAPlace_data()
{
    const tst::Rows<QString, QString> row("urls", "place");
    row("its own", "http://10.0.0.7/a http://10.0.0.5/b", "10.0.0.5 80 http://10.0.0.5/b");
    row("IPv4 first", "http://[fd00::5]/a http://10.0.0.5:8080/b",
        "10.0.0.5 8080 http://10.0.0.5:8080/b");
    row("another one of our networks", "http://10.9.8.7/a", "10.9.8.7 80 http://10.9.8.7/a");
    row("secure", "https://10.0.0.5/a", "10.0.0.5 443 https://10.0.0.5/a ssl");
    row("the device's order", "https://10.0.0.5/a http://10.0.0.5/b",
        "10.0.0.5 443 https://10.0.0.5/a ssl");
    row("IPv6 alone", "http://[fd00::5]:81/a", "fd00::5 81 http://[fd00::5]:81/a");
    row("a name", "http://gate.example:81/a", "10.0.0.5 81 http://10.0.0.5:81/a");
    row("somebody else's address", "http://192.0.2.9:81/a http://203.0.113.1/",
        "10.0.0.5 81 http://10.0.0.5:81/a");
    row("this machine", "http://127.0.0.1:631/", "10.0.0.5 631 http://10.0.0.5:631/");
    row("somebody else's, and its own", "http://192.0.2.9/ https://10.0.0.5/",
        "10.0.0.5 443 https://10.0.0.5/ ssl");
    for (const char* const url :
        { "", "ftp://10.0.0.5/", "http:///a", "10.0.0.5", "http://a:b@10.0.0.5/",
            "http://10.0.0.5:0/", "http://10.0.0.5:99999/", "http://10.0.0.5/\x01", "http://[::1" })
        QTest::addRow("none in '%s'", url) << url << "";
    row("none in a long one",
        QStringLiteral("http://10.0.0.5/").leftJustified(513, QLatin1Char('a')), "");
}

void TestWsDiscovery::choosesAPlace()
{
    QFETCH(const QString, urls);
    QFETCH(const QString, place);
    const QHostAddress sender(QStringLiteral("10.0.0.5"));
    const auto places = placesOf(urls.split(QLatin1Char(' ')), sender, true, k_subnets);
    QCOMPARE(places.isEmpty(), place.isEmpty());
    if (places.isEmpty())
        return;
    const ServicePlace& best = places.first();
    QCOMPARE(QStringLiteral("%1 %2 %3%4")
                 .arg(best.address.toString(), QString::number(best.port), best.url,
                     best.ssl ? QStringLiteral(" ssl") : QString()),
        place);
    // One who speaks for others does not stand in for them.
    const auto ofOthers = placesOf(urls.split(QLatin1Char(' ')), sender, false, k_subnets);
    QCOMPARE(ofOthers.isEmpty(), !urls.contains(best.url));
}

void TestWsDiscovery::tellsWhatBecomesOfDevices_data()
{
    const tst::Scripts row("script", "told");
    addComings(row);
    addChanges(row);
}

void TestWsDiscovery::tellsWhatBecomesOfDevices()
{
    tst::playScript<Player>();
}

void TestWsDiscovery::keepsNoMoreThanItsBounds()
{
    DeviceTable table;
    table.setSubnets({ { QHostAddress(QStringLiteral("10.9.0.1")), 16 } });
    const auto feed = [&](int number, quint32 host, const char* url) {
        return table.feed({ QString::number(number), {}, QStringList(QLatin1String(url)), {} },
            { QHostAddress(0x0a090000u + host), true }, 0);
    };
    int taken = 0;
    for (int i = 0; i < 1000; ++i)
        taken += feed(i, 2, "http://10.9.0.2/") ? 0 : 1;
    QCOMPARE(taken, 64);
    for (int i = 1000; i < 2000; ++i)
        taken += feed(i, quint32(i), "") ? 0 : 1;
    QCOMPARE(taken, 64 + 256);
    QCOMPARE(table.takeQuestions(1000, 0).size(), 256);
    for (int i = 2000; i < 9000; ++i)
        taken += feed(i, quint32(i), "http://10.9.0.2/") ? 0 : 1;
    // Of him who had most, all but one made way; of those who have one each, nobody does.
    QCOMPARE(taken, 4096 + 63);
    table.advance(10000);
    QCOMPARE(table.takeEvents().size(), 4096 + 63);
    QVERIFY(!table.isWaiting());

    // Room that is given back is there for others, and of the same sender.
    QVERIFY(feed(9000, 9000, "http://10.9.0.2/"));
    const QHostAddress sender(0x0a090000u + 3000);
    QVERIFY(!table.dismiss(QStringLiteral("3000"), sender, 0));
    QVERIFY(feed(9000, 3000, "http://10.9.0.2/"));
    QVERIFY(!table.feed({ QStringLiteral("a"), {}, {}, {} }, { sender, true }, 10000));
}

QTEST_GUILESS_MAIN(TestWsDiscovery)
#include "tst_wsdiscovery.moc"
