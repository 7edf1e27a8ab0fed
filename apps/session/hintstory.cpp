// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "session/hintstory.h"

namespace tq {

QString HintStory::from() const
{
    switch (origin) {
    case eScanner:
        return scanner;
    case eByHand:
        return QStringLiteral("by hand");
    case eUnknown:
        break;
    }
    return QStringLiteral("unknown");
}

void HintStory::end(EOutcome what, qint64 at, const QString& id)
{
    outcome = what;
    outcomeAt = at;
    nodeId = boundedText(id);
}

} // namespace tq
