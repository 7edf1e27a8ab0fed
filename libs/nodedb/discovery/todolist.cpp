// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "discovery/todolist.h"

#include "platform/plugincall.h"

#include <QThread>

#include <atomic>

namespace tq {

namespace {

/** The thread that holds the mutex of the lists. */
std::atomic<Qt::HANDLE> s_owner = nullptr;

/** Holds the mutex for a scope; on the thread that holds it already it does nothing. */
class Guard
{
public:
    explicit Guard(QMutex& mutex)
        : m_mutex(s_owner == QThread::currentThreadId() ? nullptr : &mutex)
    {
        if (m_mutex) {
            m_mutex->lock();
            s_owner = QThread::currentThreadId();
        }
    }

    ~Guard()
    {
        if (m_mutex) {
            s_owner = nullptr;
            m_mutex->unlock();
        }
    }

    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

private:
    QMutex* m_mutex;
};

} // namespace

int ToDoList::m_idCounter = 0;
QMutex ToDoList::m_mutex;

int ToDoList::add(const NodeHint& hint, int driverCount)
{
    return add(std::shared_ptr<const NodeHint>(hint.clone()), driverCount);
}

int ToDoList::add(const std::shared_ptr<const NodeHint>& hint, int driverCount)
{
    const Guard guard(m_mutex);
    m_items.insert(++m_idCounter, Item{ hint, {}, 0, driverCount });
    return m_idCounter;
}

bool ToDoList::isHeldByThisThread()
{
    return s_owner == QThread::currentThreadId();
}

std::optional<ToDoList::Driver> ToDoList::checkAndCreate(
    int requestId, const Driver& driver, int result)
{
    const Guard guard(m_mutex);
    const auto found = m_items.find(requestId);
    if (found == m_items.end())
        return std::nullopt;
    take(*found, driver, result);
    if (found->pending != 0)
        return std::nullopt;
    // Out of the list before the driver runs: it may report hints and answers itself.
    const Item item = m_items.take(requestId);
    finish(item);
    return item.driver;
}

void ToDoList::take(Item& item, const Driver& driver, int result)
{
    if (result == 1) {
        item.driver = driver;
        item.pending = 0;
        return;
    }
    if (result != -1 && (item.result == 0 || result < item.result)) {
        item.driver = driver;
        item.result = result;
    }
    --item.pending;
}

void ToDoList::finish(const Item& item)
{
    if (item.driver.null())
        logLine(
            Log::eSurvived, "No node driver available for nodehint: ", int(item.hint->nodeType()));
    else
        callPlugin("createNodeFromHint", [&] { item.driver->createNodeFromHint(*item.hint); });
}

} // namespace tq
