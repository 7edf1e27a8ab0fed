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

// QRegExp parses groups by recursion, and copies what is repeated once for each count.
constexpr int k_deepestNesting = 1000;
constexpr qint64 k_mostCopies = 9999; // of single characters: some 6 ms to compile
constexpr qint64 k_highestCost = 70000; // some 15 ms for an address of 255 characters, measured

/** The automaton that a part of a pattern becomes: one state for each character. */
struct Part
{
    qint64 states = 0;
    qint64 written = 0; // those that stand in the text; the others are copies
    qint64 first = 0; // states that may begin a match
    qint64 last = 0; // states that may end one
    qint64 transitions = 0;
    bool mayBeEmpty = true;
    bool loops = false;

    static Part character() { return { 1, 1, 1, 1, 0, false, false }; }

    /** What it costs to follow every state that may be active at once. A plain text has one; in a
     * loop they stay active. */
    qint64 cost() const
    {
        const qint64 choices = std::max<qint64>(transitions - std::max<qint64>(states - 1, 0), 0);
        return (loops ? 16 : 2) * choices + 16 * std::min(states, choices);
    }

    bool isTooMuch() const { return states - written > k_mostCopies || cost() > k_highestCost; }
};

Part joined(const Part& left, const Part& right)
{
    Part result;
    result.states = left.states + right.states;
    result.written = left.written + right.written;
    result.first = left.first + (left.mayBeEmpty ? right.first : 0);
    result.last = right.last + (right.mayBeEmpty ? left.last : 0);
    result.transitions = left.transitions + right.transitions + left.last * right.first;
    result.mayBeEmpty = left.mayBeEmpty && right.mayBeEmpty;
    result.loops = left.loops || right.loops;
    return result;
}

Part either(const Part& one, const Part& other)
{
    return { one.states + other.states, one.written + other.written, one.first + other.first,
        one.last + other.last, one.transitions + other.transitions,
        one.mayBeEmpty || other.mayBeEmpty, one.loops || other.loops };
}

/** How often a part may follow itself; no `most`: without end. */
struct Counts
{
    qint64 least;
    std::optional<qint64> most;
};

/** Writes a repetition out as QRegExp does: what may be left out stands nested, x(x(x)?)?. */
Part repeated(const Part& part, const Counts& counts)
{
    Part once = part;
    if (!counts.most) {
        once.loops = true;
        once.transitions += part.last * part.first;
    }
    once.mayBeEmpty = once.mayBeEmpty || counts.least == 0;
    const qint64 needed = std::max<qint64>(counts.least - 1, 0);
    const qint64 all = std::max(counts.most.value_or(counts.least) - 1, needed);
    Part result;
    for (qint64 i = 0; part.states > 0 && i < all && !result.isTooMuch(); ++i) {
        result = joined(part, result);
        result.mayBeEmpty = result.mayBeEmpty || i < all - needed;
        result.written = part.written;
    }
    result = joined(result, once);
    result.written = part.written;
    return result;
}

/** Walks a pattern once and adds up what it costs; broken ones are refused by QRegExp. */
class CostEstimate
{
public:
    explicit CostEstimate(const QString& pattern) : m_pattern(pattern) { }

    bool isTooHigh()
    {
        while (m_at < m_pattern.size() && !m_isTooHigh)
            step();
        while (m_groups.size() > 1 && !m_isTooHigh)
            close();
        endAlternative();
        return m_isTooHigh;
    }

private:
    /** A group that is open, or the pattern as a whole. */
    struct Group
    {
        std::optional<Part> before; // the alternatives before the one that is being read
        Part sum;
    };

    void step()
    {
        const char c = m_pattern.at(m_at++).toLatin1();
        switch (c) {
        case '(':
            open();
            break;
        case ')':
            close();
            break;
        case '|':
            endAlternative();
            break;
        case '?':
        case '*':
        case '+':
            repeat({ c == '+' ? 1 : 0, c == '?' ? std::optional<qint64>(1) : std::nullopt });
            break;
        case '{':
            repeat(readCounts());
            break;
        case '^':
        case '$':
            break;
        default:
            if (c == '[')
                skipClass();
            else if (c == '\\')
                ++m_at;
            begin(Part::character());
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

    Counts readCounts()
    {
        const qsizetype end = m_pattern.indexOf(QLatin1Char('}'), m_at);
        if (end < 0)
            return { 1, 1 };
        const QStringList bounds = m_pattern.mid(m_at, end - m_at).split(QLatin1Char(','));
        m_at = end + 1;
        const auto count = [](const QString& digits) {
            bool isNumber = false;
            const qint64 value = digits.toLongLong(&isNumber);
            return isNumber || digits.trimmed().isEmpty() ? value : 2 * k_mostCopies;
        };
        const qint64 least = count(bounds.first());
        if (bounds.last().isEmpty())
            return { least, std::nullopt };
        return { least, std::max(least, count(bounds.last())) };
    }

    void open()
    {
        endPart();
        if (m_at < m_pattern.size() && m_pattern.at(m_at) == QLatin1Char('?'))
            m_at += 2; // (?: and its like
        m_groups.append(Group());
        m_isTooHigh = m_groups.size() > k_deepestNesting + 1;
    }

    void close()
    {
        if (m_groups.size() == 1)
            return;
        endAlternative();
        begin(*m_groups.takeLast().before);
    }

    void endAlternative()
    {
        endPart();
        Group& group = m_groups.last();
        group.before = group.before ? either(*group.before, group.sum) : group.sum;
        group.sum = Part();
    }

    void repeat(const Counts& counts)
    {
        if (m_part)
            m_part = repeated(*m_part, counts);
    }

    void begin(const Part& part)
    {
        endPart();
        m_part = part;
    }

    /** Adds the last part, with all its quantifiers, to the alternative that is being read. */
    void endPart()
    {
        if (!m_part)
            return;
        Group& group = m_groups.last();
        group.sum = joined(group.sum, *m_part);
        m_isTooHigh = m_isTooHigh || group.sum.isTooMuch() || m_part->isTooMuch();
        m_part.reset();
    }

    const QString& m_pattern;
    qsizetype m_at = 0;
    std::optional<Part> m_part; // the last one read: quantifiers apply to it
    QList<Group> m_groups{ Group() };
    bool m_isTooHigh = false;
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
    return CostEstimate(pattern).isTooHigh();
}

QString reasonForNoMatch(const QString& pattern)
{
    const auto named = [&](const QString& what) {
        constexpr qsizetype k_mostShown = 100;
        const QString shown = pattern.size() > k_mostShown
            ? pattern.left(k_mostShown) + QStringLiteral("…")
            : pattern;
        return QLatin1Char('"') + escapedForLog(shown) + QStringLiteral("\" ") + what;
    };
    if (isExplosivePattern(pattern))
        return named(QStringLiteral("is too complex: its repetitions would take too long"));
    const QRegExp compiled(pattern, Qt::CaseSensitive, QRegExp::RegExp);
    return compiled.isValid()
        ? QString()
        : named(QStringLiteral("is not a regular expression") + explained(compiled.errorString()));
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
