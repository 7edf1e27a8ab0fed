// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "devices/nasdevicenode.h"
#include "nodestore/nodetypes.h"

#include <QByteArray>
#include <QHash>
#include <QString>

namespace tq {

/** Returns the node's login for the active user; the global one is never meant. */
UserAndPassword loginOf(const NASDeviceNode& node);

/** Returns what tells one place of a storage, or one login there, from another; no password can be
 * read in it. */
QByteArray reachOf(const NASDeviceNode& node);

/**
 * Knows which logins persons gave to storages, and where those were then.
 *
 * A login is given when that of one and the same active user changes. Neither another active user,
 * nor another address or environment, nor a node that comes with a login, gives one: whoever takes
 * over an address must not be sent what was meant for somebody else. For one thread.
 */
class GivenLogins
{
public:
    /** Looks at a node of the database, before and after each of its updates. Returns whether its
     * login was given since the last look. */
    bool see(const NASDeviceNode& node, const QString& activeUser);

    /** Notes that a login was given in another way, and how the node was reached then: reachOf().
     */
    void give(const NodeID& id, const QByteArray& reach);

    /** Returns whether the node still has the login that it was last given, in the same place; that
     * login counts as used then, and in any other case as void. */
    bool use(const NASDeviceNode& node);

    void forget(const NodeID& id);
    void clear();

private:
    /** A login as it was seen last. */
    struct Known
    {
        QString activeUser;
        QByteArray login;
    };

    QHash<NodeID, Known> m_known;
    QHash<NodeID, QByteArray> m_given; ///< in which place; not used yet
};

} // namespace tq
