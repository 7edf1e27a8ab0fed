// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "platform/testexport.h"

#include <QDeadlineTimer>
#include <QReadWriteLock>
#include <QWaitCondition>

#include <atomic>
#include <optional>
#include <thread>

namespace tq {

/**
 * The one lock of the registry and the relations. Its guards are the proof that it is held:
 * functions on what it guards take one by reference.
 *
 * A thread may read while it reads or writes already. A write while this thread holds the lock in
 * either way is refused. A process has one database, hence one such lock: reads are counted per
 * thread.
 */
class TQ_TEST_EXPORT RegistryLock
{
public:
    class Writing;

    /** The lock held for reading, or for writing, in a scope. */
    class TQ_TEST_EXPORT Reading
    {
    public:
        ~Reading();
        Reading(Reading&& other) noexcept;
        Reading& operator=(Reading&&) = delete;
        Reading(const Reading&) = delete;
        Reading& operator=(const Reading&) = delete;

        /** Lets go before the scope ends. */
        void unlock();

    protected:
        enum class EMode { eReading, eWriting, eNothing };

        Reading(RegistryLock& lock, EMode mode);
        friend class RegistryLock;

    private:
        RegistryLock& m_lock;
        EMode m_mode;
    };

    /** The lock held for writing in a scope: good for reading as well. */
    class TQ_TEST_EXPORT Writing : public Reading
    {
    public:
        /**
         * Asks `isDecided(*this)` until it returns true: at once, after every wakeAll() and a last
         * time at `deadline`. Others are let in between; the lock is held again afterwards. Returns
         * whether it was decided.
         */
        template <class Question>
        bool waitUntil(Question isDecided, QDeadlineTimer deadline)
        {
            while (!isDecided(*this)) {
                if (deadline.hasExpired())
                    return false;
                wait(deadline);
            }
            return true;
        }

    private:
        explicit Writing(RegistryLock& lock);
        void wait(QDeadlineTimer deadline);
        friend class RegistryLock;
        RegistryLock& m_owner;
    };

    Reading read();

    /** Returns nothing, with a level 2 line that names `operation`, when this thread holds the lock
     * already. */
    [[nodiscard]] std::optional<Writing> write(const char* operation);

    /** Returns whether this thread holds the lock, for reading or for writing. */
    bool isHeldByThisThread() const;

    /**
     * Returns isHeldByThisThread(), with the line that write() gives: for operations that announce
     * something before they write.
     */
    bool refusesChange(const char* operation) const;

    /** Wakes every thread in Writing::waitUntil(). */
    void wakeAll() { m_changed.wakeAll(); }

private:
    bool isWriter() const { return m_writer == std::this_thread::get_id(); }
    void lockForRead();
    void unlockRead();
    void lockForWrite();
    void unlockWrite();

    QReadWriteLock m_lock;
    QWaitCondition m_changed;
    std::atomic<std::thread::id> m_writer{};
};

} // namespace tq
