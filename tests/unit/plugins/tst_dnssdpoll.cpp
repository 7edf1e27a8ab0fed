// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "scanners/dnssd/eventlooppoll_p.h"

#include <QTest>

#include <array>
#include <functional>
#include <utility>

#include <sys/socket.h>
#include <unistd.h>

using namespace tq;

namespace {

/** A watch as a client of the library has it, on a poll that outlives it. */
class Watch
{
public:
    Watch(const EventLoopPoll& poll, int fd, AvahiWatchEvent events)
        : m_api(poll.api()), m_watch(m_api->watch_new(m_api, fd, events, &Watch::called, this))
    {
    }
    ~Watch() { end(); }
    Q_DISABLE_COPY_MOVE(Watch)

    void wait(AvahiWatchEvent events) { m_api->watch_update(m_watch, events); }
    void end()
    {
        if (m_watch)
            m_api->watch_free(std::exchange(m_watch, nullptr));
    }

    std::function<void(AvahiWatchEvent)> happened;

private:
    static void called(AvahiWatch*, int, AvahiWatchEvent event, void* self)
    {
        static_cast<Watch*>(self)->happened(event);
    }

    const AvahiPoll* m_api;
    AvahiWatch* m_watch;
};

constexpr auto k_nothing = AvahiWatchEvent(0);

} // namespace

/** What the bus library asks of an event loop, on Qt's own dispatcher. */
class TestDnsSdPoll : public QObject
{
    Q_OBJECT

private slots:
    void init() { QCOMPARE(::socketpair(AF_UNIX, SOCK_STREAM, 0, m_ends.data()), 0); }
    void cleanup();
    void watchesShareADescriptor_data();
    void watchesShareADescriptor();
    void aWatchMayEndItself();
    void aHangUpIsTold();

private:
    /** The other end says something, which is read when `reader` is told of it. */
    void hear(Watch& reader);

    std::array<int, 2> m_ends{ -1, -1 };
    char m_heard = 0;
};

void TestDnsSdPoll::cleanup()
{
    for (int& end : m_ends)
        ::close(std::exchange(end, -1));
}

void TestDnsSdPoll::hear(Watch& reader)
{
    m_heard = 0;
    reader.happened = [this](AvahiWatchEvent event) {
        QCOMPARE(int(event), int(AVAHI_WATCH_IN));
        QCOMPARE(::read(m_ends[0], &m_heard, 1), ssize_t(1));
    };
    QCOMPARE(::write(m_ends[1], "x", 1), ssize_t(1));
    QTRY_COMPARE(m_heard, 'x');
}

void TestDnsSdPoll::watchesShareADescriptor_data()
{
    QTest::addColumn<bool>("isReaderFirst");
    QTest::newRow("the reader is first") << true;
    QTest::newRow("the writer is first") << false;
}

void TestDnsSdPoll::watchesShareADescriptor()
{
    QFETCH(const bool, isReaderFirst);
    const EventLoopPoll poll;
    const auto first = isReaderFirst ? AVAHI_WATCH_IN : k_nothing;
    const auto second = isReaderFirst ? k_nothing : AVAHI_WATCH_IN;
    Watch one(poll, m_ends[0], first);
    Watch two(poll, m_ends[0], second);
    Watch& reader = isReaderFirst ? one : two;
    Watch& writer = isReaderFirst ? two : one;
    int written = 0;
    writer.happened = [&](AvahiWatchEvent event) {
        QCOMPARE(int(event), int(AVAHI_WATCH_OUT));
        ++written;
        writer.wait(k_nothing); // as one who has nothing more to say
    };

    hear(reader);
    for (int round = 1; round <= 2; ++round) {
        writer.wait(AVAHI_WATCH_OUT);
        QTRY_COMPARE(written, round);
        hear(reader);
    }
    reader.wait(k_nothing);
    writer.wait(AVAHI_WATCH_OUT);
    QTRY_COMPARE(written, 3);
    reader.wait(AVAHI_WATCH_IN);
    writer.end();
    hear(reader);
}

void TestDnsSdPoll::aWatchMayEndItself()
{
    const EventLoopPoll poll;
    Watch watch(poll, m_ends[0], AvahiWatchEvent(AVAHI_WATCH_IN | AVAHI_WATCH_OUT));
    int count = 0;
    watch.happened = [&](AvahiWatchEvent) {
        ++count;
        watch.end();
    };
    QCOMPARE(::write(m_ends[1], "x", 1), ssize_t(1));
    QTRY_COMPARE(count, 1);
    Watch other(poll, m_ends[0], AVAHI_WATCH_IN);
    hear(other);
    QCOMPARE(count, 1);
}

void TestDnsSdPoll::aHangUpIsTold()
{
    const EventLoopPoll poll;
    Watch watch(poll, m_ends[0], AVAHI_WATCH_IN);
    int told = 0;
    watch.happened = [&](AvahiWatchEvent event) {
        told |= event;
        watch.wait(k_nothing);
    };
    ::close(std::exchange(m_ends[1], -1));
    QTRY_VERIFY((told & AVAHI_WATCH_HUP) != 0);
}

int main(int argc, char* argv[])
{
    // Other dispatchers take several notifiers of one type for a descriptor.
    qputenv("QT_NO_GLIB", "1");
    QCoreApplication application(argc, argv);
    TestDnsSdPoll test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_dnssdpoll.moc"
