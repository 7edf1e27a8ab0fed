// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "persistence/istoretree.h"

#include <QString>

#include <limits>
#include <vector>

namespace tq {

/**
 * The groups and arrays that a client has open in a store.
 *
 * Every close that does not match, and everything that is left open, is logged at level 2 with the
 * path; the path then is what it would be had the client closed properly.
 */
class StorePath
{
public:
    /** More open levels than this are refused for writing: a packed entry could not be read back.
     */
    static constexpr std::size_t k_maxDepth = 64;

    /** An array's size, one more than its highest index, is an int. */
    static constexpr int k_maxIndex = std::numeric_limits<int>::max() - 1;

    struct Level
    {
        QString name;
        bool isArray = false;
        bool isWritten = false; ///< an array opened for writing
        int index = -1; ///< of an array's current entry
    };

    void open(const QString& name);
    void openArray(const QString& name, bool forWriting);

    /** Closes the innermost group and whatever is open inside it. Returns false when no group is
     * open. */
    bool close() { return closeThrough(false); }

    /** Closes the innermost array and whatever is open inside it. Returns false when no array is
     * open. */
    bool closeArray() { return closeThrough(true); }

    /**
     * Selects an entry of the innermost array; groups that are open inside it are closed. Returns
     * false when no array is open; a negative index, or one above k_maxIndex, leaves the array
     * without a current entry.
     */
    bool select(int index);

    /** Closes everything. */
    void closeAll();

    const std::vector<Level>& levels() const { return m_levels; }

    /** Returns the position of the outermost array among the levels; their number when there is
     * none. */
    std::size_t outermostArray() const;

    /** Returns whether something can be written here: every open array has a current entry, and the
     * depth is within bounds. Logs when not. */
    bool isWritable() const;

    /** Returns whether every open array has a current entry. */
    bool hasEntry() const;

    /** Returns the way to what is open; hasEntry() must hold. */
    StoreLocation location() const;

    /** Returns the path for people: "Group/Array[3]/Group". */
    QString text() const;

private:
    bool closeThrough(bool array);

    std::vector<Level> m_levels;
};

} // namespace tq
