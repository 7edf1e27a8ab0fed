// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "simulated/agenda_p.h"

#include <QPointer>

#include <algorithm>

namespace tq {

namespace {

constexpr int k_percent = 100;
constexpr int k_mostInARow = 64; ///< actions before the event loop has its turn
constexpr qint64 k_longestWait = 60000; // ms

} // namespace

Agenda::Agenda()
{
    m_clock.start();
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&m_timer, &QTimer::timeout, this, &Agenda::runDue);
}

Agenda::~Agenda() = default;

qint64 Agenda::clockTime() const
{
    return std::max(m_last, m_base + m_clock.elapsed() * m_speed / k_percent);
}

qint64 Agenda::now() const
{
    return m_running.value_or(clockTime());
}

void Agenda::setSpeed(int percent)
{
    m_base = clockTime();
    m_clock.restart();
    m_speed = std::clamp(percent, 1, k_highestSpeed);
    arm();
}

void Agenda::add(qint64 at, EOwner owner, const Action& action)
{
    m_entries.emplace(at, Entry{ owner, action });
    arm();
}

void Agenda::clear(EOwner owner)
{
    std::erase_if(m_entries, [owner](const auto& entry) { return entry.second.owner == owner; });
    arm();
}

void Agenda::runDue()
{
    const QPointer<Agenda> alive(this);
    for (int i = 0; i < k_mostInARow && !m_entries.empty(); ++i) {
        const auto next = m_entries.begin();
        if (next->first > clockTime())
            break;
        const Action action = std::move(next->second.action);
        m_last = std::max(m_last, next->first);
        m_running = m_last;
        m_entries.erase(next);
        action();
        if (!alive)
            return;
        m_running.reset();
    }
    arm();
}

void Agenda::arm()
{
    if (m_running)
        return; // whoever runs the action arms afterwards
    if (m_entries.empty())
        return m_timer.stop();
    const qint64 wait = (m_entries.begin()->first - clockTime()) * k_percent / m_speed;
    m_timer.start(int(std::clamp<qint64>(wait, 0, k_longestWait)));
}

} // namespace tq
