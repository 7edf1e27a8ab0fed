// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "discovery/inodedrivercomponent.h"
#include "discovery/nodehint.h"

#include <QHash>
#include <QMutex>

#include <memory>
#include <optional>

namespace tq {

/**
 * The open probes: collects the drivers' answers for each hint and lets the best driver create the
 * node.
 *
 * One mutex guards every list of the process; it is held while a driver creates a node. Code that
 * runs inside that creation, on its thread, is let in. Any thread.
 */
class NODEDB_EXPORT ToDoList
{
public:
    using Driver = tqm::smart<INodeDriverComponent>;

    /**
     * Keeps a copy of `hint` until `driverCount` drivers have answered. Returns the new request id,
     * from 1.
     */
    int add(const NodeHint& hint, int driverCount);

    /** The same, with a copy that was made already. */
    int add(const std::shared_ptr<const NodeHint>& hint, int driverCount);

    /** Returns whether this thread is inside a creation that an answer led to. */
    static bool isHeldByThisThread();

    /**
     * Takes one answer: 1 wins at once, -1 is a refusal, any other is a rank of which the first
     * smallest wins. With the last answer the request ends and the best driver makes the node;
     * without one a level 2 line is written. Returns the driver (null: nobody) when this answer
     * ended the request; answers to ended requests are ignored.
     */
    std::optional<Driver> checkAndCreate(int requestId, const Driver& driver, int result);

private:
    struct Item
    {
        std::shared_ptr<const NodeHint> hint;
        Driver driver;
        int result = 0;
        int pending = 0;
    };

    static void take(Item& item, const Driver& driver, int result);
    static void finish(const Item& item);

    static int m_idCounter;
    static QMutex m_mutex;
    QHash<int, Item> m_items;
};

} // namespace tq
