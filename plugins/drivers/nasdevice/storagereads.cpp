// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "drivers/nasdevice/storagereads_p.h"

#include "drivers/nasdevice/sharereader_p.h"
#include "drivers/nasdevice/smbrelay_p.h"

#include "platform/logline.h"

#include <QFutureWatcher>
#include <QPromise>
#include <QTimer>

namespace tq {

namespace {

constexpr int k_longestEnd = 10000; ///< ms; a thread whose connections were cut ends at once

} // namespace

/** The read whose turn it is. It is over when the thread came back, even if given up before. */
struct StorageReads::Running
{
    explicit Running(const StorageRead& wanted)
        : read(wanted)
        , traffic(std::make_shared<SmbTraffic>())
        , relay(std::make_unique<SmbRelay>(read.host, read.port, *traffic))
    {
    }

    void end()
    {
        isGivenUp = true;
        deadline.stop();
        traffic->isEnded = true;
        relay.reset();
    }

    StorageRead read;
    bool isGivenUp = false; ///< whoever had to know was told
    std::shared_ptr<SmbTraffic> traffic; ///< the thread holds it as well
    std::unique_ptr<SmbRelay> relay;
    QTimer deadline;
    QFutureWatcher<ShareAnswer> watcher;
};

StorageReads::StorageReads(QObject* parent) : QObject(parent), m_pool(new QThreadPool)
{
    m_pool->setMaxThreadCount(1);
}

StorageReads::~StorageReads()
{
    clear();
    if (m_pool->waitForDone(k_longestEnd))
        delete m_pool;
    else
        logLine(Log::eSurvived, "A read of a network storage does not end; its thread is left");
}

void StorageReads::add(const StorageRead& read, int patience)
{
    m_waiting.enqueue({ read, patience });
    startNext();
}

void StorageReads::clear()
{
    m_waiting.clear();
    if (m_running)
        m_running->end();
}

void StorageReads::startNext()
{
    if (m_running || m_waiting.isEmpty())
        return;
    const auto [read, patience] = m_waiting.dequeue();
    m_running = std::make_unique<Running>(read);
    Running& running = *m_running;
    QObject::connect(&running.deadline, &QTimer::timeout, this, &StorageReads::giveUp);
    running.deadline.setSingleShot(true);
    running.deadline.start(patience);
    // Queued: the watcher ends with the read.
    const auto end = [this] { take(m_running->watcher.result()); };
    QObject::connect(
        &running.watcher, &QFutureWatcherBase::finished, this, end, Qt::QueuedConnection);
    const auto promise = std::make_shared<QPromise<ShareAnswer>>();
    running.watcher.setFuture(promise->future());
    m_pool->start([promise, question = read.question, port = running.relay->port(),
                      traffic = running.traffic] {
        promise->start();
        promise->addResult(readShares(question, port, *traffic));
        promise->finish();
    });
}

void StorageReads::giveUp()
{
    const StorageRead read = m_running->read;
    const int seconds = m_running->deadline.interval() / 1000;
    m_running->end();
    emit finished(
        read, ShareAnswer(), tr("%1 did not answer within %2 s.").arg(read.host).arg(seconds));
}

void StorageReads::take(const ShareAnswer& answer)
{
    const std::unique_ptr<Running> over = std::move(m_running);
    startNext();
    if (!over->isGivenUp)
        emit finished(over->read, answer, errorOf(*over, answer));
}

QString StorageReads::errorOf(const Running& running, const ShareAnswer& answer)
{
    const StorageRead& read = running.read;
    if (answer.outcome == ShareAnswer::eRead)
        return QString();
    if (answer.outcome == ShareAnswer::eRefused)
        return tr("The device refused the login of %1.").arg(read.question.login.user);
    if (!running.relay->failure().isEmpty())
        return tr("%1 cannot be reached: %2.").arg(read.host, running.relay->failure());
    return tr("%1 broke off: %2.").arg(read.host, answer.reason);
}

} // namespace tq
