// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

#include <limits>

namespace tq {

/** How rows are numbered in an SQL store: id = container * 2^32 + index + 1. */
struct SqlLayout
{
    static constexpr int k_format = 1;

    /** The highest number of a name or container, and the highest index of a row: a packed tree
     * takes no higher ones, and an array's size, one more, is an int. */
    static constexpr int k_highest = std::numeric_limits<int>::max() - 1;

    static constexpr int k_ownRow = -1; ///< the index of a group's own values

    /** Returns the id of a row; for a container from 1 to k_highest and any index from -1. */
    static constexpr qint64 rowId(qint64 container, int index)
    {
        return container * k_rowsPerContainer + index + 1;
    }
    static constexpr qint64 firstRow(qint64 container) { return rowId(container, k_ownRow); }
    static constexpr qint64 lastRow(qint64 container) { return rowId(container, k_highest); }

    /** Returns the index of a row between firstRow() and lastRow() of a container. */
    static constexpr int rowIndex(qint64 row) { return int(row % k_rowsPerContainer - 1); }

    static constexpr bool isNumber(qint64 id) { return id > 0 && id <= k_highest; }

private:
    static constexpr qint64 k_rowsPerContainer = qint64(1) << 32;
};

} // namespace tq
