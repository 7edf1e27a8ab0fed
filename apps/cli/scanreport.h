// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "cli/discoverywatch.h"
#include "cli/output.h"

#include <QElapsedTimer>
#include <QMap>
#include <QSet>

namespace tq::cli {

/** Shows a scan as it goes: a row for each piece of news, and a line of progress on a terminal. */
class ScanReport
{
public:
    explicit ScanReport(Output& output);

    /** Shows an event, unless it only says once more that a node is known. */
    void show(const DeviceEvent& event);

    /** Rewrites the line of progress. */
    void showProgress(qsizetype openProbes, int warnings);

    /** Takes the line of progress away. */
    void clearProgress();

    /** Returns the counts for people, and hands them to the JSON document as "summary". */
    QString summary(qsizetype openProbes);

private:
    bool isNews(const DeviceEvent& event);

    Output& m_output;
    QMap<DeviceEvent::EFate, int> m_counts;
    QSet<QString> m_found; ///< nodes, new and known
    QSet<QString> m_lost;
    QSet<QString> m_absent; ///< those of them that did not come back
    int m_duplicates = 0;
    QElapsedTimer m_clock;
    bool m_hasTerminal = false;
    bool m_isHeadingShown = false;
};

} // namespace tq::cli
