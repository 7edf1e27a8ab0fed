// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "platform/logline.h"
#include "platform/persistdestination.h"

#include <QList>

#include <concepts>
#include <exception>

namespace tq {

/** Closes a group or array at the end of a scope; an exception on its way out is not replaced by
 * another. */
class PersistScope
{
public:
    PersistScope(const PersistScope&) = delete;
    PersistScope& operator=(const PersistScope&) = delete;

protected:
    using Close = void (IPersistDestination::*)();

    PersistScope(IPersistDestination* target, Close close) : m_target(target), m_close(close) { }

    ~PersistScope() noexcept(false)
    {
        if (!m_isOpen)
            return;
        if (std::uncaught_exceptions() == m_exceptions) {
            (m_target->*m_close)();
            return;
        }
        try {
            (m_target->*m_close)();
        } catch (...) {
            // The first exception is the one that tells what went wrong.
        }
    }

    /** Says that there is something to close; not called when opening threw. */
    void opened() { m_isOpen = true; }

    IPersistDestination* target() const { return m_target; }

private:
    IPersistDestination* m_target;
    Close m_close;
    bool m_isOpen = false;
    int m_exceptions = std::uncaught_exceptions();
};

/** A group that is open for a scope. */
class PersistGroup : public PersistScope
{
public:
    PersistGroup(IPersistDestination* target, const QString& name)
        : PersistScope(target, &IPersistDestination::endGroup)
    {
        target->beginGroup(name);
        opened();
    }
};

/** An array that is written in a scope, entry after entry. */
class PersistWriteArray : public PersistScope
{
public:
    PersistWriteArray(IPersistDestination* target, const QString& name)
        : PersistScope(target, &IPersistDestination::endArray)
    {
        target->beginWriteArray(name, -1);
        opened();
    }

    /** Selects the next entry, the first one at the first call. */
    void next() { target()->setArrayIndex(m_count++); }

    /** Returns how many entries were written. */
    int count() const { return m_count; }

private:
    int m_count = 0;
};

/** An array that is read in a scope. */
class PersistReadArray : public PersistScope
{
public:
    PersistReadArray(IPersistDestination* source, const QString& name)
        : PersistScope(source, &IPersistDestination::endArray)
        , m_count(qMax(0, source->beginReadArray(name)))
    {
        opened();
    }

    /** Returns how many entries the source announces. */
    int count() const { return m_count; }

private:
    int m_count;
};

/**
 * Reads an array: `readEntry(i)` is called with each entry selected and returns whether anything
 * was there.
 *
 * Returns the number of entries. Counts in a store may be damaged: a negative one is 0, and after
 * 1,000 entries in a row that were not there reading stops with a level 2 line; those 1,000 do not
 * count then.
 */
template <std::predicate<int> ReadEntry>
int readPersistedArray(IPersistDestination* source, const QString& name, ReadEntry readEntry)
{
    constexpr int k_mostAbsentInARow = 1000;
    const PersistReadArray array(source, name);
    int absent = 0;
    for (int i = 0; i < array.count(); ++i) {
        source->setArrayIndex(i);
        absent = readEntry(i) ? 0 : absent + 1;
        if (absent == k_mostAbsentInARow) {
            logLine(Log::eSurvived, "Stopped reading a damaged array: ", name, " announces ",
                array.count(), " entries");
            return i + 1 - absent;
        }
    }
    return array.count();
}

/**
 * Reads an array into a list: `readEntry(entry)` fills one entry and returns whether anything was
 * there. Counts as readPersistedArray() does, so that a damaged array leaves no trace beyond what
 * was in it.
 */
template <class Entry, std::predicate<Entry&> ReadEntry>
QList<Entry> readPersistedEntries(
    IPersistDestination* source, const QString& name, ReadEntry readEntry)
{
    QList<Entry> entries;
    const int count = readPersistedArray(source, name, [&](int) {
        Entry entry{};
        const bool isThere = readEntry(entry);
        entries.append(entry);
        return isThere;
    });
    return entries.first(count);
}

} // namespace tq
