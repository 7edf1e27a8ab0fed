// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <array>
#include <csignal>
#include <memory>

namespace tq::cli {

/** While it lives, SIGINT, SIGTERM and SIGHUP end nothing but arrive in the event loop. One at a
 * time. */
class StopSignal : public QObject
{
    Q_OBJECT

public:
    StopSignal();
    ~StopSignal() override;
    Q_DISABLE_COPY_MOVE(StopSignal)

    /** Returns whether a signal has come. */
    bool hasCome() const { return m_hasCome; }

signals:
    void received();

private:
    static constexpr std::array<int, 3> k_signals{ SIGINT, SIGTERM, SIGHUP };

    std::array<int, 2> m_pipe{ -1, -1 };
    std::array<struct sigaction, k_signals.size()> m_before{};
    std::unique_ptr<QSocketNotifier> m_notifier;
    bool m_hasCome = false;
};

} // namespace tq::cli
