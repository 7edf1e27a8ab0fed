// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodestore/nodetypes.h"

#include <QString>

#include <cstddef>

namespace tq {

class NodeHint;

/** What programs show of a hint, and what tells it from other hints. Holds no password. */
struct HintRecord
{
    QString name; ///< texts are cut to HintRecord::k_longest characters
    QString address;
    QString mac; ///< empty where the hint has none
    QString serviceId; ///< under which the device announces itself; empty where it does not
    ENodeType nodeType = eAnyNodeType;

    /** The same for a hint and its copies; different, but for a chance of 1 in 2^64, for hints that
     * differ in kind or in any value but those of a proxy. Of kinds that are not the library's own
     * only what NodeHint has is looked at. Means nothing outside of this process. */
    std::size_t contents = 0;

    static constexpr int k_longest = 256;
};

/** Returns the record of `hint`. Any thread. */
HintRecord recordOf(const NodeHint& hint);

/** Returns `text`, cut to HintRecord::k_longest characters with a mark at the cut. */
QString boundedText(const QString& text);

} // namespace tq
