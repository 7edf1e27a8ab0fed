// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "nodestore/nodedb.h"
#include "shared/fakenode.h"
#include "shared/logcapture.h"
#include "shared/startedthread.h"

#include "platform/properties/properties.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTest>

#include <array>
#include <atomic>
#include <barrier>
#include <cstdio>
#include <vector>

using namespace tq;

namespace {

constexpr int k_threads = 8;
constexpr int k_ids = 4; // few, so that brackets are contended
qint64 s_wanted = 20000; // of each kind; --operations N asks for more

enum EKind { eAcquire, eRelease, eBegin, eEnd, eRemove, eInsert, eSearch, eKinds };
constexpr std::array<const char*, eKinds> k_names{ "acquire", "release", "begin", "end", "remove",
    "insert", "search" };

struct Counts
{
    std::array<std::atomic<qint64>, eKinds> done{};
    std::atomic<qint64> timeouts = 0;

    qint64 least() const
    {
        qint64 result = done[0];
        for (const auto& count : done)
            result = std::min<qint64>(result, count);
        return result;
    }
};

/** One thread's share: every operation on ids that all threads use. */
class Worker
{
public:
    Worker(int seed, Counts& counts) : m_state(unsigned(seed) * 2654435761u + 1), m_counts(counts)
    {
    }

    void step()
    {
        const QString id = QString::number(next() % k_ids);
        NodeDB* const db = NodeDB::getDB();
        const unsigned what = next() % 4;
        if (what == 0) {
            db->acquire(id);
            count(eAcquire);
            db->release(id);
            count(eRelease);
        } else if (what == 1) {
            update(id);
        } else if (what == 2) {
            db->removeNode(id);
            count(eRemove);
            db->insertNode(new tst::PlainNode(id));
            count(eInsert);
        } else {
            search();
        }
    }

private:
    unsigned next()
    {
        m_state = m_state * 1664525u + 1013904223u;
        return m_state >> 16;
    }

    void count(EKind kind) { ++m_counts.done[kind]; }

    void update(const QString& id)
    {
        NodeDB* const db = NodeDB::getDB();
        const int timeout = next() % 2 ? 1 : 50; // ms; some run out
        Node* const copy = db->beginUpdateNode(id, timeout);
        count(eBegin);
        if (!copy) {
            ++m_counts.timeouts;
            return;
        }
        copy->setModelInfo(QString::number(next()));
        db->endUpdateNode(copy);
        count(eEnd);
    }

    void search()
    {
        NodeDB* const db = NodeDB::getDB();
        // readers that refresh the property set of one updated node at the same time
        db->search(tqgen::StringProperty(QStringLiteral("ModelInfo"), QString()), eAnyNodeType);
        const auto node = db->node(QString::number(next() % k_ids));
        if (!node.null())
            node->stringProperty(QStringLiteral("Name"), QString());
        count(eSearch);
    }

    unsigned m_state;
    Counts& m_counts;
};

} // namespace

class TestRegistryRaces : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { NodeDB::freeDB(); }
    void readersRefreshOneNodeTogether();
    void everyOperationFromEveryThread();
};

void TestRegistryRaces::readersRefreshOneNodeTogether()
{
    constexpr int k_rounds = 200;
    constexpr int k_readers = 4;
    NodeDB* const db = NodeDB::getDB();
    db->insertNode(new tst::PlainNode(QStringLiteral("n")));
    std::barrier meet(k_readers + 1);
    std::atomic<int> found = 0;
    std::vector<decltype(tst::started([] {}))> readers;
    for (int i = 0; i < k_readers; ++i)
        readers.push_back(tst::started([&] {
            const tqgen::StringProperty wanted(
                QStringLiteral("ModelInfo"), QString(), QStringLiteral("M"));
            for (int round = 0; round < k_rounds; ++round) {
                meet.arrive_and_wait(); // the node is stale now
                found += int(db->search(wanted, eAnyNodeType).size());
                meet.arrive_and_wait();
            }
        }));
    for (int round = 0; round < k_rounds; ++round) {
        Node* const copy = db->beginUpdateNode(QStringLiteral("n"), 0);
        copy->setModelInfo(QStringLiteral("M"));
        db->endUpdateNode(copy);
        meet.arrive_and_wait();
        meet.arrive_and_wait();
    }
    readers.clear();
    QCOMPARE(found.load(), k_rounds * k_readers);
}

void TestRegistryRaces::everyOperationFromEveryThread()
{
    const tst::LogCapture quiet(Log::eNothing);
    NodeDB* const db = NodeDB::getDB();
    Counts counts;
    std::atomic<bool> stop = false;
    std::vector<decltype(tst::started([] {}))> threads;
    for (int i = 0; i < k_threads; ++i)
        threads.push_back(tst::started([&, i] {
            Worker worker(i, counts);
            while (!stop)
                worker.step();
        }));
    QElapsedTimer timer;
    timer.start();
    // this thread deletes the nodes that die on others
    while (counts.least() < s_wanted)
        QTest::qWait(50);
    stop = true;
    threads.clear();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    std::printf("%d threads, %.1f s:", k_threads, double(timer.elapsed()) / 1000);
    for (int kind = 0; kind < eKinds; ++kind)
        std::printf(" %s %lld", k_names[std::size_t(kind)], qint64(counts.done[std::size_t(kind)]));
    std::printf(", brackets not got %lld\n", qint64(counts.timeouts));
    QVERIFY(counts.timeouts > 0);
    QVERIFY(db->nodeIdList().size() <= k_ids);
}

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QStringList arguments = application.arguments();
    const qsizetype option = arguments.indexOf(QStringLiteral("--operations"));
    if (option >= 0 && option + 1 < arguments.size()) {
        s_wanted = arguments.takeAt(option + 1).toLongLong();
        arguments.removeAt(option);
    }
    TestRegistryRaces test;
    return QTest::qExec(&test, arguments);
}

#include "tst_registryraces.moc"
