// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QQueue>

#include <functional>

namespace tq {

/** The probes of a driver: some run at a time, the others wait for their turn. One thread. */
class ProbeQueue
{
public:
    using Start = std::function<void()>;

    static constexpr int k_mostOpen = 64; ///< each holds a few sockets
    static constexpr qsizetype k_mostWaiting = 10000;

    /**
     * Runs `start` now or when it is its turn; each run is answered by one call of ended(). Returns
     * false when too many wait: `start` is forgotten, and a level 2 line says so, once per rush.
     */
    [[nodiscard]] bool add(const Start& start);

    /** A probe is over: the next one has its turn. */
    void ended();

private:
    void startWaiting();

    QQueue<Start> m_waiting;
    int m_open = 0;
    bool m_isOverrun = false;
};

} // namespace tq
