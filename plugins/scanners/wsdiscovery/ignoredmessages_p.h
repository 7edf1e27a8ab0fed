// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QHostAddress>
#include <QString>

#include <map>

namespace tq {

/**
 * Says which messages were not taken, in few lines however many there are: the first for each
 * reason, and in the end how many there were.
 */
class IgnoredMessages
{
public:
    /** Counts a message. `reason` is a constant; `detail` may hold what a stranger wrote. */
    void add(const char* reason, const QHostAddress& sender, const QString& detail = QString());

    /** Returns how many messages were ignored since the last clear(). */
    int count() const;

    /** Writes the sums and begins anew. */
    void clear();

private:
    std::map<QString, int> m_counts; ///< by reason
};

} // namespace tq
