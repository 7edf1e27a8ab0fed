// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "database/registrylock_p.h"
#include "shared/startedthread.h"

#include <QTest>

#include <atomic>

using namespace tq;

class TestRegistryLock : public QObject
{
    Q_OBJECT

private slots:
    void waitersAskOnlyWhenWoken();
};

void TestRegistryLock::waitersAskOnlyWhenWoken()
{
    RegistryLock lock;
    std::atomic<int> asked = 0;
    auto waiter = tst::started([&] {
        lock.write("test")->waitUntil(
            [&](const RegistryLock::Writing&) {
                const auto reading = lock.read(); // it counts as the writer after a wait, too
                return ++asked == 4;
            },
            QDeadlineTimer::Forever);
    });
    for (int i = 1; i < 4; ++i) {
        QTRY_VERIFY_WITH_TIMEOUT(asked >= i, tst::k_deadline);
        const auto guard = lock.write("test"); // the waiter waits: it lets go of the lock
        QCOMPARE(asked.load(), i);
        lock.wakeAll();
    }
    waiter.reset();
}

QTEST_GUILESS_MAIN(TestRegistryLock)
#include "tst_registrylock.moc"
