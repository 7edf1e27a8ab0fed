// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "platform/mutex.h"
#include "platform/platform_export.h"

#include <QString>

#include <memory>

class QTextStream;

namespace tq {

/** The levels of log lines. */
struct Log
{
    enum ELevel : int {
        eDebug = 0, ///< details for developers
        eProgress = 1, ///< progress and routine notices
        eSurvived = 2, ///< a failure that the operation survived
        eMissing = 3, ///< a component that a user's action needs is missing
        eNothing = 4, ///< as a configured level: write nothing
    };
};

/**
 * The process-wide logger.
 *
 * A line is written under mutex(), to getStream(level), and only when its level is at least
 * logLevel(). Lines go to standard error until setFile() or setStream() says otherwise. Use
 * logLine() of logline.h to write one.
 */
class PLATFORM_EXPORT LogQt
{
public:
    static LogQt& instance();
    ~LogQt();
    LogQt(const LogQt&) = delete;
    LogQt& operator=(const LogQt&) = delete;

    /** Guards the streams; held for one whole line. Everything below but logLevel() is used under
     * it. */
    Mutex& mutex();

    /** Returns the stream for lines of `level`. */
    QTextStream& getStream(Log::ELevel level);

    /** Writes the prefix of a line (UTC time stamp and level) to that level's stream. */
    void pre(Log::ELevel level);

    /** Returns the lowest level that is written; eSurvived in a fresh process. May be asked without
     * the mutex. */
    Log::ELevel logLevel() const;

    /** Sets the lowest level that is written. Any thread. The next two take the mutex themselves.
     */
    void setLogLevel(Log::ELevel level);

    /** Sends lines to `stream`, not owned; null means standard error again. */
    void setStream(QTextStream* stream);

    /** Appends lines to the file at `path`. Returns false, and changes nothing, when it cannot be
     * opened. */
    [[nodiscard]] bool setFile(const QString& path);

private:
    LogQt();
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tq
