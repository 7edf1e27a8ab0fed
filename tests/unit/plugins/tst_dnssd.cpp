// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "plugins/script.h"
#include "scanners/dnssd/servicetable_p.h"
#include "shared/databasefixture.h"

#include "platform/logline.h"

#include <memory>

#include <avahi-common/strlst.h>

using namespace tq;
using tst::text;

namespace {

constexpr int k_long = 1000; // ms; whatever waited for more is decided

/** Plays a script to a table and writes down what it tells. */
class Player
{
public:
    /**
     * "cam on 2" announces the service over interface 2, "off 2" withdraws it; "cam is 2 ADDRESS
     * PORT TEXT" resolves it; a 6 behind the interface is IPv6. "+MS" lets time pass; "doubt" and
     * "decide" are the loss of the daemon and the end of the time to come back.
     */
    void play(const QString& step)
    {
        const QStringList words = step.split(QLatin1Char(' '));
        if (step.startsWith(QLatin1Char('+')))
            table.advance(m_now += step.toInt());
        else if (step == QLatin1String("doubt"))
            table.doubtAll();
        else if (step == QLatin1String("decide"))
            table.withdrawDoubted(m_now);
        else
            playService(words);
        write();
    }

    ServiceTable table;
    QStringList told;

private:
    void playService(const QStringList& words)
    {
        const QString place = words.at(2);
        const Announcement announcement{ { words.at(0).toUtf8(), "_rtsp._tcp", "local" },
            { place.left(1).toInt(), place.size() > 1 } };
        if (words.at(1) == QLatin1String("on"))
            table.announce(announcement, eCameraServiceKind);
        else if (words.at(1) == QLatin1String("off"))
            table.withdraw(announcement, m_now);
        else
            table.resolve(announcement,
                { "host.local", quint16(words.at(4).toUInt()), { words.at(5).toUtf8() },
                    QHostAddress(words.at(3)) },
                m_now);
    }

    void write()
    {
        static const QStringList k_kinds{ text("new"), text("changed"), text("gone") };
        for (const ServiceTable::Event& event : table.take()) {
            const SServiceInfo& info = event.info;
            QStringList words{ k_kinds.at(event.kind), info.serviceName, info.address,
                info.secondAddress, QString::number(info.port), info.texts.value(0) };
            words.removeAll(QString());
            told.append(words.join(QLatin1Char(' ')));
        }
    }

    qint64 m_now = 1000000;
};

struct FreeTexts
{
    void operator()(AvahiStringList* list) const { avahi_string_list_free(list); }
};
using Texts = std::unique_ptr<AvahiStringList, FreeTexts>;

Texts manyTexts(int count, int size)
{
    AvahiStringList* list = nullptr;
    const QByteArray bytes(size, 'x');
    for (int i = 0; i < count; ++i)
        list = avahi_string_list_add(list, bytes.constData());
    return Texts(list);
}

// Scripts of what the daemon says, and what is told of it.

void addComings(const tst::Scripts& row)
{
    row("reported once it is resolved and settled", "cam on 2;+1000;cam is 2 .5 80 a;+499;+1",
        "new cam .5 80 a");
    row("never resolved, never reported", "cam on 2;+1000;cam off 2", "");
    row("gone before it settled", "cam on 2;cam is 2 .5 80 a;cam off 2;+1000", "");
    row("resolved without an announcement", "cam is 2 .5 80 a;+1000", "");
    row("gone with its last place",
        "cam on 2;cam on 3;cam is 2 .5 80 a;+1000;cam off 3;+1000;cam off 2",
        "new cam .5 80 a;gone cam .5 80 a");
    row("comes back", "cam on 2;cam is 2 .5 80 a;+1000;cam off 2;cam on 2;cam is 2 .5 80 a;+1000",
        "new cam .5 80 a;gone cam .5 80 a;new cam .5 80 a");
}

void addPlaces(const tst::Scripts& row)
{
    row("both families are one, IPv4 first, whichever comes first",
        "cam on 26;cam is 26 2001:db8::5 80 a;+300;cam on 2;cam is 2 .5 80 a;+1000",
        "new cam .5 2001:db8::5 80 a");
    row("a second family is no change",
        "cam on 2;cam is 2 .5 80 a;+1000;cam on 26;cam is 26 2001:db8::5 80 a;+1000;cam off 26;"
        "+1000",
        "new cam .5 80 a");
    row("but what the first one lost, it takes over",
        "cam on 2;cam on 26;cam is 2 .5 80 a;cam is 26 2001:db8::5 80 a;+1000;cam off 2;+1000",
        "new cam .5 2001:db8::5 80 a;changed cam 2001:db8::5 80 a");
    row("several interfaces, the lowest one's address",
        "cam on 3;cam on 2;cam is 3 10.1.0.5 80 a;cam is 2 .5 80 a;+1000", "new cam .5 80 a");
    row("an interface that comes later moves nothing",
        "cam on 3;cam is 3 10.1.0.5 80 a;+1000;cam on 2;cam is 2 .5 80 a;+1000;cam off 3;+1000",
        "new cam 10.1.0.5 80 a;changed cam .5 80 a");
    row("IPv6 gives way to IPv4, however late",
        "cam on 26;cam is 26 2001:db8::5 80 a;+1000;cam on 2;cam is 2 .5 80 a;+1000",
        "new cam 2001:db8::5 80 a;changed cam .5 2001:db8::5 80 a");
    row("global before link-local, and the loopback last",
        "cam on 1;cam on 26;cam on 36;cam is 1 127.0.0.1 80 a;cam is 26 fe80::5 80 a;"
        "cam is 36 2001:db8::5 80 a;+1000",
        "new cam 2001:db8::5 127.0.0.1 80 a");
}

void addChanges(const tst::Scripts& row)
{
    row("texts, port, address; and nothing for the same again",
        "cam on 2;cam is 2 .5 80 a;+1000;cam is 2 .5 80 b;+1000;cam is 2 .5 81 b;+1000;"
        "cam is 2 .6 81 b;+1000;cam is 2 .6 81 b;+1000",
        "new cam .5 80 a;changed cam .5 80 b;changed cam .5 81 b;changed cam .6 81 b");
    row("in pieces, told as one",
        "cam on 2;cam on 3;cam is 2 .5 80 a;cam is 3 10.1.0.5 80 a;+1000;"
        "cam is 3 10.1.0.5 81 b;+100;cam is 2 .5 81 a;cam is 2 .5 81 b;+1000",
        "new cam .5 80 a;changed cam .5 81 b");
    row("one of several addresses stays, whatever their order",
        "cam on 2;cam is 2 .5 80 a;+1000;cam is 2 .6 80 a;cam is 2 .5 80 a;cam is 2 .6 80 a;"
        "+1000;cam is 2 .6 80 a;+1000",
        "new cam .5 80 a;changed cam .6 80 a");
}

void addRestarts(const tst::Scripts& row)
{
    row("what is announced again is not new",
        "cam on 2;cam is 2 .5 80 a;+1000;doubt;+1000;cam on 2;cam is 2 .5 80 a;+1000;decide",
        "new cam .5 80 a");
    row("nor is it changed while the families come back one by one",
        "cam on 2;cam on 26;cam is 2 .5 80 a;cam is 26 2001:db8::5 80 a;+1000;doubt;cam on 26;"
        "cam is 26 2001:db8::5 80 a;+1000;cam on 2;+1000;decide;+1000",
        "new cam .5 2001:db8::5 80 a");
    row("gone when it does not come back, changed when it comes back so",
        "cam on 2;cam is 2 .5 80 a;nas on 2;nas is 2 .6 445 a;+1000;doubt;cam on 2;"
        "cam is 2 .5 81 a;+1000;decide",
        "new cam .5 80 a;new nas .6 445 a;changed cam .5 81 a;gone nas .6 445 a");
}

} // namespace

class TestDnsSd : public QObject
{
    Q_OBJECT

private slots:
    void theTableTells_data();
    void theTableTells();
    void theTableIsBounded();
    void typesAreAddedAndChanged();
    void badTypesAreNamed_data();
    void badTypesAreNamed();
    void recordsAreFilledFromTheirTexts();
    void aRecordMayHoldAnything();
    void textsAreBounded();
};

void TestDnsSd::theTableTells_data()
{
    const tst::Scripts row("script", "told");
    addComings(row);
    addPlaces(row);
    addChanges(row);
    addRestarts(row);
}

void TestDnsSd::theTableTells()
{
    tst::playScript<Player>();
}

void TestDnsSd::theTableIsBounded()
{
    ServiceTable table;
    const auto announcement = [](int number) {
        return Announcement{ { QByteArray::number(number), "_http._tcp", "local" }, { 2, false } };
    };
    std::size_t taken = 0;
    for (int i = 0; i < 10000; ++i) {
        taken += table.announce(announcement(i), eUnknownServiceKind) ? 1 : 0;
        table.resolve(announcement(i), { "host.local", 80, {}, QHostAddress(1) }, 0);
    }
    QCOMPARE(taken, ServiceTable::k_mostServices);
    table.advance(k_long);
    QCOMPARE(table.take().size(), qsizetype(ServiceTable::k_mostServices));
    QVERIFY(!table.isWaiting());
    table.withdraw(announcement(0), k_long);
    QVERIFY(table.announce(announcement(9999), eUnknownServiceKind));
}

void TestDnsSd::typesAreAddedAndChanged()
{
    const tst::LogCapture log;
    const QList<ServiceType> usual = serviceTypes(QString());
    const QList<ServiceType> types =
        serviceTypes(text(" _Foo._tcp = camera ,_bar._udp=storage,,_http._tcp=storage"));
    QCOMPARE(types.size(), usual.size() + 2);
    QVERIFY(types.contains({ text("_foo._tcp"), eCameraServiceKind }));
    QVERIFY(types.contains({ text("_bar._udp"), eStorageServiceKind }));
    QVERIFY(types.contains({ text("_http._tcp"), eStorageServiceKind }));
    QCOMPARE(log.lines(), QStringList());
    bool hasUnknown = false;
    for (const ServiceType& type : usual) {
        hasUnknown = hasUnknown || type.kind == eUnknownServiceKind;
        QCOMPARE(type.kind == eUnknownServiceKind, hasUnknown); // those that tell come first
    }
}

void TestDnsSd::badTypesAreNamed_data()
{
    const tst::Rows<QString> row("entry");
    for (const char* const entry : { "_foo._tcp", "_foo._tcp=", "_foo._tcp=door", "_foo=camera",
             "foo._tcp=camera", "_foo._sctp=camera", "_foo._tcp=camera=storage", "=camera",
             "_a-name-of-17-chars._tcp="
             "camera",
             "_a._sub._foo._tcp=camera", "_f\noo._tcp=camera" })
        row(escapedForLog(text(entry)).toUtf8().constData(), text(entry));
}

void TestDnsSd::badTypesAreNamed()
{
    QFETCH(const QString, entry);
    const tst::LogCapture log;
    const auto types = serviceTypes(entry + text(",_good._tcp=storage"));
    QCOMPARE(types.size(), serviceTypes(QString()).size() + 1);
    QCOMPARE(log.lines().size(), 1);
    QVERIFY2(log.lines().first().startsWith(text("2 "))
            && log.lines().first().endsWith(escapedForLog(entry)),
        qPrintable(log.lines().first()));
}

void TestDnsSd::recordsAreFilledFromTheirTexts()
{
    const ServiceKey service{ "Harbour gate", "_rtsps._tcp", "local" };
    const Resolution resolution{ "gate.local", 322,
        { "=x", "ready", "MODEL=G2", "model=second", "macaddress=02770a4d000b",
            "path=", "serial=a=b" },
        QHostAddress(text("2001:db8::5")) };
    const SServiceInfo info =
        serviceRecord(service, eCameraServiceKind, 2, resolution, QHostAddress(text("10.0.0.5")));
    QCOMPARE(info.model, text("G2"));
    QCOMPARE(info.serialNumber, text("a=b"));
    QCOMPARE(info.mac, MACAddress(text("02:77:0a:4d:00:0b")));
    QCOMPARE(info.path, QString());
    QCOMPARE(info.texts.size(), 7);
    QCOMPARE(int(info.ipVersion), 6);
    QCOMPARE(info.secondAddress, text("10.0.0.5"));
    QCOMPARE(int(info.ssl), 1);
    QCOMPARE(int(info.securePort), 322);
    for (const char* const mac : { "mac=00:00:00:00:00:00", "mac=ff:ff:ff:ff:ff:ff", "mac=me" }) {
        const Resolution other{ "gate.local", 322, { mac }, QHostAddress(1) };
        QVERIFY2(serviceRecord(service, eCameraServiceKind, 2, other, {}).mac.isEmpty(), mac);
    }
}

void TestDnsSd::aRecordMayHoldAnything()
{
    const ServiceKey service{ "a\xff\x1b.\\", "_http._tcp", "local" };
    const Resolution resolution{ "\xff.local", 80, { "model=\xff\x01", QByteArray("\0=\0", 3) },
        QHostAddress(1) };
    const SServiceInfo info = serviceRecord(service, eUnknownServiceKind, 2, resolution, {});
    QCOMPARE(info.serviceName, text("a\xef\xbf\xbd\x1b.\\"));
    QCOMPARE(info.model, text("\xef\xbf\xbd\x01"));
    QCOMPARE(info.fullName, text("a\\255\\027\\.\\\\._http._tcp.local"));
    // A name that no label can hold has no full name, and the record stands.
    const ServiceKey tooLong{ QByteArray(3000, 'x'), "_http._tcp", "local" };
    QCOMPARE(serviceRecord(tooLong, eUnknownServiceKind, 2, resolution, {}).fullName, QString());
}

void TestDnsSd::textsAreBounded()
{
    QCOMPARE(boundedTexts(nullptr).size(), 0);
    QCOMPARE(boundedTexts(manyTexts(3, 0).get()).size(), 0);
    QCOMPARE(boundedTexts(manyTexts(64, 4).get()).size(), 64);
    QCOMPARE(boundedTexts(manyTexts(10000, 4).get()).size(), 64);
    QCOMPARE(boundedTexts(manyTexts(100, 200).get()).size(), 6);
    QCOMPARE(boundedTexts(manyTexts(1, 60000).get()).size(), 0);
}

QTEST_GUILESS_MAIN(TestDnsSd)
#include "tst_dnssd.moc"
