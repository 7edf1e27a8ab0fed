// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "database/registrylock_p.h"

#include "platform/logline.h"

#include <utility>

namespace tq {

namespace {

/** How many reads this thread has open; the lock itself is taken at the first and released at the
 * last. */
thread_local int t_reads = 0;

} // namespace

RegistryLock::Reading::Reading(RegistryLock& lock, EMode mode) : m_lock(lock), m_mode(mode) { }

RegistryLock::Reading::Reading(Reading&& other) noexcept
    : m_lock(other.m_lock), m_mode(std::exchange(other.m_mode, EMode::eNothing))
{
}

RegistryLock::Reading::~Reading()
{
    unlock();
}

void RegistryLock::Reading::unlock()
{
    const EMode mode = std::exchange(m_mode, EMode::eNothing);
    if (mode == EMode::eReading)
        m_lock.unlockRead();
    else if (mode == EMode::eWriting)
        m_lock.unlockWrite();
}

RegistryLock::Writing::Writing(RegistryLock& lock) : Reading(lock, EMode::eWriting), m_owner(lock)
{
}

void RegistryLock::Writing::wait(QDeadlineTimer deadline)
{
    m_owner.m_writer = std::thread::id();
    m_owner.m_changed.wait(&m_owner.m_lock, deadline);
    m_owner.m_writer = std::this_thread::get_id();
}

RegistryLock::Reading RegistryLock::read()
{
    if (isWriter())
        return Reading(*this, Reading::EMode::eNothing);
    lockForRead();
    return Reading(*this, Reading::EMode::eReading);
}

std::optional<RegistryLock::Writing> RegistryLock::write(const char* operation)
{
    if (refusesChange(operation))
        return std::nullopt;
    lockForWrite();
    return Writing(*this);
}

bool RegistryLock::isHeldByThisThread() const
{
    return t_reads > 0 || isWriter();
}

bool RegistryLock::refusesChange(const char* operation) const
{
    const bool isHeld = isHeldByThisThread();
    if (isHeld)
        logLine(
            Log::eSurvived, "Refused, because this thread holds the database's lock: ", operation);
    return isHeld;
}

void RegistryLock::lockForRead()
{
    if (t_reads++ == 0)
        m_lock.lockForRead();
}

void RegistryLock::unlockRead()
{
    if (--t_reads == 0)
        m_lock.unlock();
}

void RegistryLock::lockForWrite()
{
    m_lock.lockForWrite();
    m_writer = std::this_thread::get_id();
}

void RegistryLock::unlockWrite()
{
    m_writer = std::thread::id();
    m_lock.unlock();
}

} // namespace tq
