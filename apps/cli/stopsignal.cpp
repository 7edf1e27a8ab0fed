// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/stopsignal.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace tq::cli {

namespace {

/** The end of the pipe that the handler writes to: a handler may do hardly anything else. */
volatile sig_atomic_t s_writeEnd = -1;

void handle(int)
{
    const int before = errno;
    const char byte = 0;
    // A full pipe has woken the reader already.
    [[maybe_unused]] const auto written = ::write(s_writeEnd, &byte, 1);
    errno = before;
}

} // namespace

StopSignal::StopSignal()
{
    if (::pipe2(m_pipe.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    s_writeEnd = m_pipe[1];
    m_notifier = std::make_unique<QSocketNotifier>(m_pipe[0], QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, [this] {
        std::array<char, 64> bytes{};
        while (::read(m_pipe[0], bytes.data(), bytes.size()) > 0)
            m_hasCome = true;
        emit received();
    });
    struct sigaction action
    {
    };
    action.sa_handler = handle;
    action.sa_flags = SA_RESTART;
    ::sigemptyset(&action.sa_mask);
    for (std::size_t i = 0; i < k_signals.size(); ++i)
        ::sigaction(k_signals[i], &action, &m_before[i]);
}

StopSignal::~StopSignal()
{
    if (!m_notifier)
        return;
    for (std::size_t i = 0; i < k_signals.size(); ++i)
        ::sigaction(k_signals[i], &m_before[i], nullptr);
    s_writeEnd = -1;
    m_notifier.reset();
    ::close(m_pipe[0]);
    ::close(m_pipe[1]);
}

} // namespace tq::cli
