// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "persistence/istoretree.h"
#include "persistence/persistence_export.h"
#include "platform/persistdestination.h"

#include <QString>

namespace tq {

/** What may be done with a store. */
enum class OpenMode {
    ReadOnly, ///< the store must exist; nothing is written or created, writes are refused
    ReadWrite, ///< the store must exist
    Create, ///< as ReadWrite, but a store that does not exist is created by the first sync()
};

/**
 * A store that an application can open: target, raw tree and status in one.
 *
 * Stores are used on the thread that opened them. Writes without an open array entry, deeper than
 * 64 groups and arrays, or into a read-only store are refused with a log line; closes that match
 * nothing are logged and do nothing. What a client left open inside an array's entry is closed,
 * with a log line, when the index moves on, when the array ends and at sync().
 */
class PERSISTENCE_EXPORT IStore : public IPersistDestination, public IStoreTree
{
public:
    ~IStore() override;

    /** Returns the path of the store's file; "memory:" when it has none. */
    virtual QString location() const = 0;

    virtual OpenMode openMode() const = 0;

    /**
     * Returns why the last sync() failed, or what has failed since: one sentence that names the
     * path, logged at level 2 as well. Empty when all is well. A sync() that succeeds clears it.
     */
    virtual QString errorString() const = 0;

    /**
     * Returns whether something in the store could not be read: what was read is not everything
     * that was saved. Each finding is logged at level 2. Ask before writing over it.
     */
    virtual bool isDamaged() const = 0;

    /**
     * Ends the consistent view that reading opened: later reads may see what other processes have
     * written since. Call it after loading: until then, others cannot write to an SQL store.
     */
    virtual void endReading() = 0;

    /** Returns whether nothing has failed: no error, no damage. */
    bool isUsable() const { return errorString().isEmpty() && !isDamaged(); }
};

} // namespace tq
