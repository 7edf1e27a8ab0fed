// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/scanreport.h"

#include "platform/logline.h"

#include <array>
#include <cstdio>
#include <unistd.h>

namespace tq::cli {

namespace {

constexpr int k_msPerSecond = 1000;

constexpr std::size_t k_columns = 6;

/** Rows appear one by one, so the widths are fixed beforehand. */
QString row(const std::array<QString, k_columns>& cells)
{
    static constexpr std::array<int, k_columns> widths{ 11, 17, 19, 13, 30, 0 };
    QString line;
    for (std::size_t i = 0; i < cells.size(); ++i)
        line +=
            padded(escapedForLog(cells[i]), widths[i] - 2) + QStringLiteral("  ").left(widths[i]);
    return line.trimmed();
}

} // namespace

ScanReport::ScanReport(Output& output)
    : m_output(output), m_hasTerminal(::isatty(STDERR_FILENO) == 1)
{
    m_clock.start();
}

bool ScanReport::isNews(const DeviceEvent& event)
{
    const bool isFirst = !m_found.contains(event.nodeId);
    switch (event.fate) {
    case DeviceEvent::eKnown:
        if (m_absent.remove(event.nodeId))
            return true;
        m_duplicates += isFirst ? 0 : 1;
        m_found.insert(event.nodeId);
        return isFirst;
    case DeviceEvent::eNew:
        m_found.insert(event.nodeId);
        return true;
    case DeviceEvent::eGone:
        m_lost.insert(event.nodeId);
        m_absent.insert(event.nodeId);
        return true;
    default:
        return true;
    }
}

void ScanReport::show(const DeviceEvent& event)
{
    if (!isNews(event))
        return;
    ++m_counts[event.fate];
    QJsonObject item = event.device;
    item.insert(QStringLiteral("Event"), DeviceEvent::word(event.fate));
    item.insert(QStringLiteral("From"), event.from);
    m_output.addItem(item);
    clearProgress();
    if (!m_isHeadingShown)
        m_output.print(
            row({ QStringLiteral("WHAT"), QStringLiteral("ADDRESS"), QStringLiteral("MAC"),
                QStringLiteral("FROM"), QStringLiteral("NAME"), QStringLiteral("ID") }));
    m_isHeadingShown = true;
    const auto cell = [&](const char* key) { return cellText(item[QLatin1String(key)]); };
    m_output.print(
        row({ cell("Event"), cell("IP"), cell("MAC"), cell("From"), cell("Name"), event.nodeId }));
}

void ScanReport::showProgress(qsizetype openProbes, int warnings)
{
    if (!m_hasTerminal)
        return;
    const QString messages =
        warnings == 0 ? QString() : QStringLiteral(", %1 warnings to come").arg(warnings);
    const QString line = QStringLiteral("%1 s: %2 found, %3 lost, %4 being asked%5; Ctrl-C ends")
                             .arg(m_clock.elapsed() / k_msPerSecond)
                             .arg(m_found.size())
                             .arg(m_lost.size())
                             .arg(openProbes)
                             .arg(messages);
    std::fprintf(stderr, "\r\033[K%s", qUtf8Printable(line));
    std::fflush(stderr);
}

void ScanReport::clearProgress()
{
    if (!m_hasTerminal)
        return;
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
}

QString ScanReport::summary(qsizetype openProbes)
{
    struct Count
    {
        const char* key;
        const char* word;
        qsizetype count;
        bool isAlwaysSaid;
    };
    const auto of = [&](DeviceEvent::EFate fate) { return qsizetype(m_counts.value(fate)); };
    const std::array<Count, 9> counts{ { { "Found", "found", m_found.size(), true },
        { "New", "of them new", of(DeviceEvent::eNew), true },
        { "Lost", "lost", m_lost.size(), true },
        { "Duplicates", m_duplicates == 1 ? "duplicate" : "duplicates", m_duplicates, true },
        { "Unhandled", "unhandled", of(DeviceEvent::eNoDriver), true },
        { "Known", "known before", m_found.size() - of(DeviceEvent::eNew), false },
        { "Changed", "changed", of(DeviceEvent::eChanged), false },
        { "NotOurs", "not ours", of(DeviceEvent::eNotOurs), false },
        { "Unanswered", "not yet answered for", openProbes, false } } };
    QStringList parts;
    QJsonObject members;
    for (const Count& each : counts) {
        members.insert(QLatin1String(each.key), each.count);
        if (each.isAlwaysSaid || each.count > 0)
            parts.append(QStringLiteral("%1 %2").arg(each.count).arg(QLatin1String(each.word)));
    }
    m_output.setMember(QStringLiteral("summary"), members);
    return parts.join(QStringLiteral(", "));
}

} // namespace tq::cli
