// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "drivers/nasdevice/sharereader_p.h"
#include "drivers/nasdevice/storagereads_p.h"

#include <QSemaphore>
#include <QTest>
#include <QTimer>

using namespace tq;

namespace {

constexpr int k_long = 30000; ///< ms

QSemaphore s_begun;
QSemaphore s_mayEnd;

StorageRead storage(const char* id)
{
    return { QString::fromLatin1(id), QStringLiteral("127.0.0.1"), 1, {} };
}

} // namespace

/** Stands in for the library that reads: it blocks until it may end. */
ShareAnswer tq::readShares(const ShareQuestion&, quint16, SmbTraffic&)
{
    s_begun.release();
    s_mayEnd.acquire();
    ShareAnswer answer;
    answer.outcome = ShareAnswer::eRead;
    return answer;
}

/** The order and the ends of reads, whatever they find. */
class TestNASReads : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void readsOneAfterTheOther();
    void tellsOfADeadlineOnce();
    void saysNothingOfWhatWasCleared();

private:
    /** Adds a read, lets that and the open one end, and returns what ended so far. */
    QStringList endedAfterNext();

    std::unique_ptr<StorageReads> m_reads;
    QStringList m_ended; ///< ids, with "!" where it was an error
};

void TestNASReads::init()
{
    m_ended.clear();
    m_reads = std::make_unique<StorageReads>(nullptr);
    const auto note = [this](const StorageRead& read, const ShareAnswer&, const QString& error) {
        m_ended.append(error.isEmpty() ? read.id : read.id + QLatin1Char('!'));
    };
    QObject::connect(m_reads.get(), &StorageReads::finished, this, note);
}

void TestNASReads::cleanup()
{
    m_reads.reset();
    QCOMPARE(s_begun.available(), 0);
    QCOMPARE(s_mayEnd.available(), 0);
}

QStringList TestNASReads::endedAfterNext()
{
    m_reads->add(storage("next"), k_long);
    s_mayEnd.release(2);
    if (!QTest::qWaitFor([this] { return m_ended.endsWith(QStringLiteral("next")); }, k_long))
        return {};
    s_begun.acquire(2);
    return m_ended;
}

void TestNASReads::readsOneAfterTheOther()
{
    m_reads->add(storage("first"), k_long);
    m_reads->add(storage("second"), k_long);
    s_begun.acquire();
    QVERIFY(!s_begun.tryAcquire()); // the second waits for its turn
    s_begun.release();
    s_mayEnd.release();
    QCOMPARE(endedAfterNext(),
        QStringList({ QStringLiteral("first"), QStringLiteral("second"), QStringLiteral("next") }));
    s_begun.acquire();
}

void TestNASReads::tellsOfADeadlineOnce()
{
    m_reads->add(storage("slow"), 0);
    QTRY_COMPARE(m_ended, QStringList{ QStringLiteral("slow!") });
    QCOMPARE(endedAfterNext(), QStringList({ QStringLiteral("slow!"), QStringLiteral("next") }));
}

void TestNASReads::saysNothingOfWhatWasCleared()
{
    m_reads->add(storage("open"), 0);
    m_reads->add(storage("waiting"), k_long);
    m_reads->clear();
    bool isLater = false; // than the deadline
    QTimer::singleShot(1, this, [&] { isLater = true; });
    QTRY_VERIFY(isLater);
    QCOMPARE(endedAfterNext(), QStringList{ QStringLiteral("next") });
}

QTEST_GUILESS_MAIN(TestNASReads)

#include "tst_nasreads.moc"
