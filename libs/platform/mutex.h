// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QMutex>

namespace tq {

/** The platform's plain, non-recursive mutex. */
using Mutex = QMutex;

/** Holds a Mutex for a scope. */
class MutexLocker
{
public:
    /** Locks `mutex` at once when `lockNow` is set, otherwise on lock(). */
    explicit MutexLocker(Mutex& mutex, bool lockNow = true) : m_mutex(mutex)
    {
        if (lockNow)
            lock();
    }
    ~MutexLocker() { unlock(); }
    MutexLocker(const MutexLocker&) = delete;
    MutexLocker& operator=(const MutexLocker&) = delete;

    void lock()
    {
        if (!m_locked)
            m_mutex.lock();
        m_locked = true;
    }

    void unlock()
    {
        if (m_locked)
            m_mutex.unlock();
        m_locked = false;
    }

private:
    Mutex& m_mutex;
    bool m_locked = false;
};

} // namespace tq
