// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "environments/exceptionpattern_p.h"

#include "platform/logline.h"

#include <QList>
#include <QMutex>
#include <QRegExp>
#include <QSet>

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace tq {

namespace {

constexpr int k_deepestNesting = 50;
constexpr qint64 k_mostRepetitions = 10000;
constexpr qint64 k_mostCopies = 100000; // of single characters, made by counted repetition
constexpr qint64 k_longestEmptyChain = 1000;
constexpr qint64 k_enough = 1000000; // counting stops here

qint64 bounded(qint64 value)
{
    return std::min(value, k_enough);
}

/** What repeating a part of a pattern costs. */
struct Part
{
    qint64 repetitions = 1; // the greatest product of counts along one nesting path
    qint64 size = 1; // characters after all counted repetition is written out
    qint64 copies = 0; // those of them that counted repetition made
    qint64 chain = 0; // parts in a row that may match nothing: their number counts squared
    bool mayBeEmpty = false;
};

/** A group that is open, or the pattern as a whole. */
struct Group
{
    Part sum{ 1, 0, 0, 0, false };
    qint64 chain = 0; // in the alternative that is being read
    bool isEmptySoFar = true;
};

/** Walks a pattern once and follows how much its counted repetitions multiply. */
class RepetitionCounter
{
public:
    explicit RepetitionCounter(const QString& pattern) : m_pattern(pattern) { }

    bool isExplosive()
    {
        while (m_at < m_pattern.size() && !m_explosive)
            step();
        endPart();
        return m_explosive;
    }

private:
    void step()
    {
        const QChar c = m_pattern.at(m_at++);
        if (c == QLatin1Char('\\')) {
            ++m_at;
            beginPart(Part());
        } else if (c == QLatin1Char('[')) {
            skipClass();
            beginPart(Part());
        } else if (c == QLatin1Char('(')) {
            open();
        } else if (c == QLatin1Char(')')) {
            close();
        } else if (c == QLatin1Char('|')) {
            endAlternative();
        } else if (c == QLatin1Char('{')) {
            repeat();
        } else if (c == QLatin1Char('?') || c == QLatin1Char('*')) {
            makeOptional();
        } else if (c != QLatin1Char('+')) {
            beginPart(Part());
        }
    }

    void skipClass()
    {
        if (m_at < m_pattern.size() && m_pattern.at(m_at) == QLatin1Char('^'))
            ++m_at;
        // A bracket right at the start stands for itself.
        bool isFirst = true;
        while (m_at < m_pattern.size() && (isFirst || m_pattern.at(m_at) != QLatin1Char(']'))) {
            m_at += m_pattern.at(m_at) == QLatin1Char('\\') ? 2 : 1;
            isFirst = false;
        }
        ++m_at;
    }

    void open()
    {
        endPart();
        if (m_at < m_pattern.size() && m_pattern.at(m_at) == QLatin1Char('?'))
            m_at += 2; // (?: and its like
        m_groups.append(Group());
        m_explosive = m_explosive || m_groups.size() > k_deepestNesting + 1;
    }

    void close()
    {
        if (m_groups.size() == 1)
            return;
        endAlternative();
        beginPart(m_groups.takeLast().sum);
    }

    void endAlternative()
    {
        endPart();
        Group& group = m_groups.last();
        if (group.isEmptySoFar) {
            group.sum.mayBeEmpty = true;
            group.sum.chain = bounded(group.sum.chain + std::max<qint64>(group.chain, 1));
        }
        group.chain = 0;
        group.isEmptySoFar = true;
    }

    void makeOptional()
    {
        if (m_part) {
            m_part->mayBeEmpty = true;
            m_part->chain = std::max<qint64>(m_part->chain, 1);
        }
    }

    void repeat()
    {
        const qsizetype end = m_pattern.indexOf(QLatin1Char('}'), m_at);
        if (end < 0)
            return;
        const QStringList bounds = m_pattern.mid(m_at, end - m_at).split(QLatin1Char(','));
        m_at = end + 1;
        qint64 most = 1;
        for (const QString& bound : bounds) {
            bool isNumber = false;
            const qint64 count = bound.toLongLong(&isNumber);
            const bool isTooLong = !isNumber && !bound.trimmed().isEmpty();
            most = std::max(most, isTooLong ? k_enough : bounded(count));
        }
        if (!m_part)
            return;
        if (bounds.first().toLongLong() == 0)
            makeOptional();
        m_part->repetitions = bounded(m_part->repetitions * most);
        m_part->size = bounded(m_part->size * most);
        m_part->chain = bounded(m_part->chain * most);
        if (most > 1)
            m_part->copies = m_part->size;
    }

    void beginPart(const Part& part)
    {
        endPart();
        m_part = part;
    }

    /** Adds the last part, with all its quantifiers, to the group around it. */
    void endPart()
    {
        if (!m_part)
            return;
        Group& group = m_groups.last();
        group.sum.repetitions = std::max(group.sum.repetitions, m_part->repetitions);
        group.sum.size = bounded(group.sum.size + m_part->size);
        group.sum.copies = bounded(group.sum.copies + m_part->copies);
        group.isEmptySoFar = group.isEmptySoFar && m_part->mayBeEmpty;
        group.chain = m_part->mayBeEmpty ? bounded(group.chain + m_part->chain) : 0;
        m_explosive = m_explosive || group.sum.repetitions > k_mostRepetitions
            || group.sum.copies > k_mostCopies || group.chain > k_longestEmptyChain;
        m_part.reset();
    }

    const QString& m_pattern;
    qsizetype m_at = 0;
    std::optional<Part> m_part; // the last one read: quantifiers apply to it
    QList<Group> m_groups{ Group() };
    bool m_explosive = false;
};

/** What QRegExp has to say of invalid patterns, in words for people. */
const std::array<std::pair<const char*, const char*>, 7> k_errors{ {
    { "unexpected end", "a bracket is not closed, or a backslash ends it" },
    { "missing left delim", "a closing bracket has no opening one" },
    { "bad repetition syntax", "a repetition (*, +, ? or {}) has nothing to repeat or is broken" },
    { "invalid interval", "a repetition {} ends below its beginning" },
    { "bad lookahead syntax", "a group begins with (? in an unknown way" },
    { "lookbehinds not supported, see QTBUG-2371", "it asks for what stands before: (?<" },
    { "met internal limit", "a number in it is too large" },
} };

QString explained(const QString& error)
{
    for (const auto& [known, words] : k_errors) {
        if (error == QLatin1String(known))
            return QStringLiteral(": ") + QString::fromUtf8(words);
    }
    return {};
}

/** Logs a pattern that matches nothing the first time it is met: patterns are asked for every
 * address. */
void reportOnce(const QString& pattern, const QString& reason)
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
    logLine(Log::eSurvived, "A proxy exception matches nothing: ", reason);
}

} // namespace

bool isExplosivePattern(const QString& pattern)
{
    return RepetitionCounter(pattern).isExplosive();
}

QString reasonForNoMatch(const QString& pattern)
{
    constexpr qsizetype k_mostShown = 100;
    const QString shown =
        pattern.size() > k_mostShown ? pattern.left(k_mostShown) + QStringLiteral("…") : pattern;
    const QString quoted = QLatin1Char('"') + escapedForLog(shown) + QLatin1Char('"');
    if (isExplosivePattern(pattern))
        return quoted + QStringLiteral(" is too complex: its repetitions would take too long");
    const QRegExp compiled(pattern, Qt::CaseSensitive, QRegExp::RegExp);
    if (compiled.isValid())
        return {};
    return quoted + QStringLiteral(" is not a regular expression")
        + explained(compiled.errorString());
}

bool matchesException(const QString& address, const QString& pattern)
{
    const QString reason = reasonForNoMatch(pattern);
    if (!reason.isEmpty()) {
        reportOnce(pattern, reason);
        return false;
    }
    return QRegExp(pattern, Qt::CaseSensitive, QRegExp::RegExp).exactMatch(address);
}

} // namespace tq
