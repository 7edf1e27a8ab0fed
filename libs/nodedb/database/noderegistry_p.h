// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "database/registrylock_p.h"
#include "nodestore/node.h"

#include "platform/smart.h"
#include "platform/testexport.h"

#include <QMap>
#include <QStringList>

#include <functional>

namespace tq {

/**
 * The nodes of the database with what is known of each: one record per id, in ascending order of
 * ids.
 *
 * Every function takes the guard that its lock asks for. Handles that leave the registry are
 * returned: what they hold must die after the guard is gone. Logs and signals are the caller's.
 */
class TQ_TEST_EXPORT NodeRegistry
{
public:
    using Handle = tqm::smart<const Node>;
    using Reading = RegistryLock::Reading;
    using Writing = RegistryLock::Writing;
    using Filter = std::function<bool(const Node&)>;

    /** What became of a removal. */
    enum class ERemoval {
        eRemoved, ///< the node is out of the registry
        eDeferred, ///< acquired: the last release removes it
        eLocked, ///< an update is open: nothing happened
        eUnmatched, ///< a release without acquire
        eKept, ///< nothing was to be removed
    };

    struct Removal
    {
        ERemoval outcome;
        Handle removed; ///< null unless eRemoved
    };

    /** What a try to begin an update gave. */
    struct Attempt
    {
        enum class EOutcome { eBusy, eGone, eBegun } outcome;
        Node* copy = nullptr; ///< the caller's; null as well when the node could not be copied
    };

    struct Displaced
    {
        Handle node; ///< what stood under the id before
        bool wasInUse = false; ///< it was acquired or being updated
    };

    /** Returns a handle that deletes `node` on the node's own thread. */
    static Handle handleFor(const Node* node);

    Handle find(const Reading&, const QString& id) const;

    /**
     * Marks the node as taken by a database. Returns false when it was already: it is stored, or
     * was and is still held by somebody. Any thread.
     */
    [[nodiscard]] static bool claim(Node& node);

    /** Deletes the nodes that died on other threads and wait for this one, which is theirs. */
    static void deleteWaiting();

    /** Returns the ids of the nodes that pass `filter` (empty: all), ascending. */
    QStringList ids(const Reading&, const Filter& filter = {}) const;

    /** Returns the first node, in order of ids, that passes. */
    Handle findFirst(const Reading&, const Filter& filter) const;

    /** Stores the node; counts and locks of its id start anew. */
    [[nodiscard]] Displaced insert(const Writing&, const QString& id, const Handle& node);

    void acquire(const Writing&, const QString& id);
    [[nodiscard]] Removal release(const Writing&, const QString& id);
    [[nodiscard]] Removal remove(const Writing&, const QString& id);

    /** Marks the node as being updated by this thread and copies it, unless it is being updated
     * already. */
    [[nodiscard]] Attempt tryBeginUpdate(const Writing&, const QString& id);

    /** Stores `copy` in place of the node and clears the update lock. Returns what stood there. */
    [[nodiscard]] Handle endUpdate(const Writing&, const QString& id, const Handle& copy);

    /** Returns whether this very thread has an update of the node open. */
    bool isUpdatedByThisThread(const Reading&, const QString& id) const;

    /** Takes all nodes out. */
    [[nodiscard]] QList<Handle> takeAll(const Writing&);

private:
    struct Record
    {
        Handle node; // null for an id that was acquired without a node
        bool updateLocked = false;
        Qt::HANDLE updater = nullptr;
        int acquireCount = 0;
        bool pendingRemoval = false;
    };
    using Records = QMap<QString, Record>;

    Removal removeRecord(Records::iterator record);

    Records m_records;
};

} // namespace tq
