// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QTextStream>

#include <memory>

namespace tq::cli {

/**
 * Keeps log lines back while it lives, so that they do not stand between the rows of a table. They
 * are written to standard error by release() or at the end, and at once when there are too many to
 * keep; only the end of the whole process by force loses them.
 */
class LogHold
{
public:
    LogHold();
    ~LogHold();
    LogHold(const LogHold&) = delete;
    LogHold& operator=(const LogHold&) = delete;

    /** Returns how many lines are kept back. */
    int count() const;

    /** Writes what was kept back; from now on lines are written at once. */
    void release();

private:
    class Device;
    std::unique_ptr<Device> m_device;
    QTextStream m_stream;
};

} // namespace tq::cli
