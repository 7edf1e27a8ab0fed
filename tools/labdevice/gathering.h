// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <functional>
#include <memory>

namespace lab {

/** Called once per operation, when its effect is there; empty when all went well. */
using Done = std::function<void(const QString& error)>;

/** Waits for several operations; the first error is the result of all. */
class Gathering
{
public:
    /** Calls @p done when as many operations as @p open have ended; at once when it is 0. */
    static Done make(size_t open, const Done& done)
    {
        if (open == 0)
            done(QString());
        const auto gathering = std::make_shared<Gathering>(open, done);
        return [gathering](const QString& error) { gathering->take(error); };
    }

    Gathering(size_t open, const Done& done) : m_open(open), m_done(done) { }

private:
    void take(const QString& error)
    {
        if (m_error.isEmpty())
            m_error = error;
        if (--m_open == 0)
            m_done(m_error);
    }

    size_t m_open;
    Done m_done;
    QString m_error;
};

} // namespace lab
