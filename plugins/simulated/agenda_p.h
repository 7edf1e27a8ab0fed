// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <functional>
#include <map>
#include <optional>

namespace tq {

/**
 * What is to happen when, in one order that no load of the machine can change.
 *
 * Actions run in the order of their times, those of one time in the order in which they were added.
 * While one runs, now() is its very time, however late it is: what it adds is placed as if all
 * happened on the dot. Actions run from the event loop, never inside another one: an action that
 * runs a loop of its own holds up the others. One thread.
 */
class Agenda : public QObject
{
    Q_OBJECT

public:
    using Action = std::function<void()>;

    /** Whose action it is. */
    enum EOwner { eScanner, eDriver };

    static constexpr int k_usualSpeed = 100; ///< percent
    static constexpr int k_highestSpeed = 1000000;

    Agenda();
    ~Agenda() override;
    Q_DISABLE_COPY_MOVE(Agenda)

    /** Returns the time in ms since the agenda was made, counted at its speeds. */
    qint64 now() const;

    /** Sets how fast time goes from now on, in percent: 1 to k_highestSpeed. */
    void setSpeed(int percent);

    /** Adds an action for the time `at`; one of the past runs as soon as it can. It may delete the
     * agenda. */
    void add(qint64 at, EOwner owner, const Action& action);

    /** Forgets what was added for that owner. */
    void clear(EOwner owner);

private:
    struct Entry
    {
        EOwner owner;
        Action action;
    };

    qint64 clockTime() const;
    void runDue();
    void arm();

    std::multimap<qint64, Entry> m_entries;
    std::optional<qint64> m_running; ///< the time of the action that runs
    qint64 m_last = 0; ///< the time of the last one: time never goes back
    qint64 m_base = 0; ///< when m_clock was started
    int m_speed = k_usualSpeed;
    QElapsedTimer m_clock;
    QTimer m_timer;
};

} // namespace tq
