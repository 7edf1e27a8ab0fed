// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <csignal>

namespace tq::cli {

/**
 * While it lives, the terminal on standard input has neither echo nor line editing, and Ctrl-C
 * arrives as a key. What was typed before stays and can be read. A signal that ends the program
 * puts the terminal back first. One at a time.
 */
class RawTerminal
{
public:
    RawTerminal();
    ~RawTerminal();
    RawTerminal(const RawTerminal&) = delete;
    RawTerminal& operator=(const RawTerminal&) = delete;

private:
    static constexpr std::array<int, 4> k_signals{ SIGINT, SIGTERM, SIGHUP, SIGQUIT };

    std::array<struct sigaction, k_signals.size()> m_before{};
    bool m_isRaw = false;
};

} // namespace tq::cli
