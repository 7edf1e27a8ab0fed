// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "environments/exceptionpattern_p.h"

#include "platform/logline.h"

#include <QList>
#include <QMutex>
#include <QRegExp>
#include <QSet>

#include <algorithm>

namespace tq {

namespace {

constexpr int k_deepestNesting = 50;
constexpr qint64 k_mostRepetitions = 10000;

/** Walks a pattern once and follows how often its parts are repeated. */
class RepetitionCounter
{
public:
    explicit RepetitionCounter(const QString& pattern) : m_pattern(pattern) { }

    bool isExplosive()
    {
        while (m_at < m_pattern.size() && !m_explosive)
            step();
        return m_explosive;
    }

private:
    void step()
    {
        const QChar c = m_pattern.at(m_at++);
        if (c == QLatin1Char('\\')) {
            ++m_at;
            m_last = 1;
        } else if (c == QLatin1Char('[')) {
            skipClass();
            m_last = 1;
        } else if (c == QLatin1Char('(')) {
            open();
        } else if (c == QLatin1Char(')')) {
            close();
        } else if (c == QLatin1Char('{')) {
            repeat();
        } else if (c != QLatin1Char('?') && c != QLatin1Char('*') && c != QLatin1Char('+')) {
            m_last = 1;
        }
    }

    void skipClass()
    {
        if (m_at < m_pattern.size() && m_pattern.at(m_at) == QLatin1Char('^'))
            ++m_at;
        // A bracket right at the start stands for itself.
        ++m_at;
        while (m_at < m_pattern.size() && m_pattern.at(m_at) != QLatin1Char(']'))
            m_at += m_pattern.at(m_at) == QLatin1Char('\\') ? 2 : 1;
        ++m_at;
    }

    void open()
    {
        m_groups.append(1);
        m_last = 1;
        m_explosive = m_groups.size() > k_deepestNesting;
    }

    void close()
    {
        if (m_groups.isEmpty())
            return;
        m_last = m_groups.takeLast();
        note();
    }

    void repeat()
    {
        const qsizetype end = m_pattern.indexOf(QLatin1Char('}'), m_at);
        if (end < 0)
            return;
        qint64 most = 1;
        for (const QString& bound : m_pattern.mid(m_at, end - m_at).split(QLatin1Char(','))) {
            bool isNumber = false;
            const qint64 count = bound.toLongLong(&isNumber);
            const bool tooLong = !isNumber && !bound.trimmed().isEmpty();
            most = std::max(most, tooLong ? k_mostRepetitions + 1 : count);
        }
        m_at = end + 1;
        m_last *= std::min(most, k_mostRepetitions + 1);
        note();
    }

    /** Notes the repetitions of the last part in the group around it. */
    void note()
    {
        m_last = std::min(m_last, k_mostRepetitions + 1);
        m_explosive = m_explosive || m_last > k_mostRepetitions;
        if (!m_groups.isEmpty())
            m_groups.last() = std::max(m_groups.last(), m_last);
    }

    const QString& m_pattern;
    qsizetype m_at = 0;
    qint64 m_last = 1;
    QList<qint64> m_groups;
    bool m_explosive = false;
};

/** Logs a refused pattern the first time it is met; patterns are asked for every address. */
void reportOnce(const QString& pattern)
{
    static QMutex mutex; // guards `reported`
    static QSet<QString> reported;
    constexpr qsizetype k_mostKept = 1000;
    {
        const QMutexLocker locker(&mutex);
        if (reported.contains(pattern) || reported.size() >= k_mostKept)
            return;
        reported.insert(pattern);
    }
    logLine(Log::eSurvived,
        "A proxy exception is too complex and matches nothing: ", pattern.left(200));
}

} // namespace

bool isExplosivePattern(const QString& pattern)
{
    return RepetitionCounter(pattern).isExplosive();
}

bool matchesException(const QString& address, const QString& pattern)
{
    if (isExplosivePattern(pattern)) {
        reportOnce(pattern);
        return false;
    }
    return QRegExp(pattern, Qt::CaseSensitive, QRegExp::RegExp).exactMatch(address);
}

} // namespace tq
