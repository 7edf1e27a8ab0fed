// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "scanners/wsdiscovery/ignoredmessages_p.h"

#include "platform/logline.h"

namespace tq {

void IgnoredMessages::add(const char* reason, const QHostAddress& sender, const QString& detail)
{
    const QString key = QString::fromUtf8(reason);
    if (++m_counts[key] > 1)
        return;
    logLine(Log::eSurvived, "WS-Discovery: ", sender.toString(), " is ignored: ", key,
        detail.isEmpty() ? QString() : QStringLiteral(" ") + detail);
}

int IgnoredMessages::count() const
{
    int sum = 0;
    for (const auto& [reason, count] : m_counts)
        sum += count;
    return sum;
}

void IgnoredMessages::clear()
{
    for (const auto& [reason, count] : m_counts) {
        if (count > 1)
            logLine(Log::eSurvived, "WS-Discovery: ", count, " times: ", reason);
    }
    m_counts.clear();
}

} // namespace tq
