// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "platform/log.h"
#include "platform/platform_export.h"

#include <QString>
#include <QTextStream>

#include <string>
#include <type_traits>

namespace tq {

/**
 * Returns `text` with control characters, line separators and bidirectional marks written as
 * \uXXXX, so that a value from outside can neither break nor forge a log line. Everything else is
 * untouched.
 */
PLATFORM_EXPORT QString escapedForLog(const QString& text);

namespace detail {

/** Holds the logger for one line: stream() is null when the line's level is below the configured
 * one. */
class PLATFORM_EXPORT LogLine
{
public:
    explicit LogLine(Log::ELevel level);
    ~LogLine();
    LogLine(const LogLine&) = delete;
    LogLine& operator=(const LogLine&) = delete;
    QTextStream* stream() const { return m_stream; }

private:
    LogQt& m_logger;
    MutexLocker m_locker;
    QTextStream* m_stream = nullptr;
    QTextStream::NumberFlags m_flags;
};

inline QString printable(const QString& value)
{
    return escapedForLog(value);
}
inline QString printable(const std::string& value)
{
    return escapedForLog(QString::fromStdString(value));
}
inline const char* printable(const char* text)
{
    return text;
}
template <class T>
requires std::is_arithmetic_v<T> T printable(T value)
{
    return value;
}

template <class... Printable>
void writeLine(Log::ELevel level, const Printable&... parts)
{
    const LogLine line(level);
    if (line.stream())
        (*line.stream() << ... << parts);
}

} // namespace detail

/**
 * Writes one log line: the fixed text and the values after it, joined as they stand. Texts are made
 * before the logger's mutex is taken. Thread-safe.
 */
template <class... Parts>
void logLine(Log::ELevel level, const char* text, const Parts&... values)
{
    if (LogQt::instance().logLevel() <= level)
        detail::writeLine(level, text, detail::printable(values)...);
}

} // namespace tq
