// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QThread>

#include <memory>

namespace tst {

constexpr int k_deadline = 30000; // ms; only a failing test waits so long

/** Waits for a thread. One that hangs ends the program: it would keep the test from ending. */
struct Join
{
    void operator()(QThread* thread) const
    {
        if (!thread->wait(k_deadline))
            qFatal("a thread hangs");
        delete thread;
    }
};

/** Runs `work` on a thread of its own. */
template <class Work>
std::unique_ptr<QThread, Join> started(Work work)
{
    std::unique_ptr<QThread, Join> thread(QThread::create(work));
    thread->start();
    return thread;
}

} // namespace tst
