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

/** Rows appear one by one, so the widths are fixed beforehand. */
QString row(const std::array<QString, 5>& cells)
{
    static constexpr std::array<int, 5> widths{ 11, 17, 19, 30, 0 };
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

void ScanReport::show(const DeviceEvent& event)
{
    if (event.fate == DeviceEvent::eNew || event.fate == DeviceEvent::eKnown) {
        const bool isNews = !m_toldAsKnown.contains(event.nodeId);
        m_toldAsKnown.insert(event.nodeId);
        if (event.fate == DeviceEvent::eKnown && !isNews)
            return;
    }
    ++m_counts[event.fate];
    QJsonObject item = event.device;
    item.insert(QStringLiteral("Event"), DeviceEvent::word(event.fate));
    m_output.addItem(item);
    clearProgress();
    if (!m_isHeadingShown)
        m_output.print(row({ QStringLiteral("WHAT"), QStringLiteral("ADDRESS"),
            QStringLiteral("MAC"), QStringLiteral("NAME"), QStringLiteral("ID") }));
    m_isHeadingShown = true;
    const auto cell = [&](const char* key) { return cellText(item[QLatin1String(key)]); };
    m_output.print(row({ cell("Event"), cell("IP"), cell("MAC"), cell("Name"), event.nodeId }));
}

void ScanReport::showProgress(qsizetype openProbes)
{
    if (!m_hasTerminal)
        return;
    const QString line = QStringLiteral("%1 s: %2, %3 being asked; Ctrl-C ends")
                             .arg(m_clock.elapsed() / k_msPerSecond)
                             .arg(counts())
                             .arg(openProbes);
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

QString ScanReport::counts() const
{
    QStringList parts;
    for (auto it = m_counts.cbegin(); it != m_counts.cend(); ++it)
        parts.append(QStringLiteral("%1 %2").arg(*it).arg(DeviceEvent::word(it.key())));
    return parts.isEmpty() ? QStringLiteral("nothing new") : parts.join(QStringLiteral(", "));
}

} // namespace tq::cli
