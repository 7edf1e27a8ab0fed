// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "platform/log.h"

#include <QStringList>
#include <QTextStream>

namespace tst {

/** Collects the log lines of a scope, without their prefixes; every level from `level` on is
 * written meanwhile. */
class LogCapture
{
public:
    explicit LogCapture(tq::Log::ELevel level = tq::Log::eProgress);
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /** Returns the lines so far as "LEVEL text". */
    QStringList lines() const;

    /** Returns the lines that contain `text`. */
    QStringList linesWith(const QString& text) const { return lines().filter(text); }

    void clear();

private:
    tq::Log::ELevel m_before;
    QString m_text;
    QTextStream m_stream{ &m_text };
};

} // namespace tst
