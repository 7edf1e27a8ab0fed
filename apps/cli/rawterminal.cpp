// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/rawterminal.h"

#include <termios.h>
#include <unistd.h>

namespace tq::cli {

namespace {

/** How the terminal was; read by the handler. */
termios s_before{};

void restoreAndEnd(int signal)
{
    ::tcsetattr(STDIN_FILENO, TCSANOW, &s_before);
    // The default action is back and runs when this handler returns.
    ::raise(signal);
}

} // namespace

RawTerminal::RawTerminal()
{
    m_isRaw = ::tcgetattr(STDIN_FILENO, &s_before) == 0;
    if (!m_isRaw)
        return;
    struct sigaction action
    {
    };
    action.sa_handler = restoreAndEnd;
    action.sa_flags = int(SA_RESETHAND);
    ::sigemptyset(&action.sa_mask);
    for (std::size_t i = 0; i < k_signals.size(); ++i) {
        ::sigaction(k_signals[i], nullptr, &m_before[i]);
        if (m_before[i].sa_handler != SIG_IGN)
            ::sigaction(k_signals[i], &action, nullptr);
    }
    termios raw = s_before;
    raw.c_lflag &= ~tcflag_t(ECHO | ICANON | ISIG);
    raw.c_cc[VMIN] = 1;
    raw.c_cc[VTIME] = 0;
    // Without a flush: what is typed ahead is the password already.
    ::tcsetattr(STDIN_FILENO, TCSADRAIN, &raw);
}

RawTerminal::~RawTerminal()
{
    if (!m_isRaw)
        return;
    ::tcsetattr(STDIN_FILENO, TCSADRAIN, &s_before);
    for (std::size_t i = 0; i < k_signals.size(); ++i)
        ::sigaction(k_signals[i], &m_before[i], nullptr);
}

} // namespace tq::cli
