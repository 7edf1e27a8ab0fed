// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/loghold.h"

#include "platform/log.h"

#include <QHash>
#include <QIODevice>
#include <QRegularExpression>
#include <QStringList>

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

namespace tq::cli {

namespace {

void writeToStandardError(const QByteArray& text)
{
    std::fwrite(text.constData(), 1, std::size_t(text.size()), stderr);
    std::fflush(stderr);
}

/** Returns a line without what LogQt::pre() puts before it. */
QString withoutPrefix(const QString& line)
{
    static const QRegularExpression prefix(QStringLiteral("^\\S+ \\[\\d\\] "));
    const auto match = prefix.match(line);
    return match.hasMatch() ? line.mid(match.capturedEnd()) : line;
}

/** Returns the fixed text that a line begins with, before any value. */
QString kindOf(const QString& line)
{
    static const QRegularExpression value(QStringLiteral("[\\d:\"]"));
    return line.left(line.indexOf(value));
}

/** Returns whether the sentence tells what the line tells: in words of its own that are known here,
 * or because it gives the reason that follows one of the line's colons. */
bool repeats(const QString& sentence, const QString& line)
{
    static const std::array<std::pair<QString, QString>, 2> sameInOtherWords{ {
        { QStringLiteral("No node driver available for "), QStringLiteral("there is no driver ") },
        { QStringLiteral("There is a node with this id already: "),
            QStringLiteral("is known already") },
    } };
    for (const auto& [start, words] : sameInOtherWords) {
        if (line.startsWith(start) && sentence.contains(words))
            return true;
    }
    const QString colon = QStringLiteral(": ");
    for (auto i = line.indexOf(colon); i >= 0; i = line.indexOf(colon, i + 1)) {
        QString reason = line.mid(i + colon.size());
        if (reason.endsWith(QLatin1Char('.')))
            reason.chop(1);
        // One word is a value, which two different sentences may name.
        if (reason.contains(QLatin1Char(' ')) && sentence.contains(reason, Qt::CaseInsensitive))
            return true;
    }
    return false;
}

} // namespace

/** Takes the logger's text; everything under the logger's mutex. */
class LogHold::Device : public QIODevice
{
public:
    Device() { open(QIODevice::WriteOnly); }

    void showRaw() { m_isRaw = true; }
    void leaveOut(const QString& start) { m_leftOut.append(start); }
    int count() const { return int(m_lines.size()) + m_more; }

    QString take(const QString& start)
    {
        QString rest;
        m_lines.removeIf([&](const QString& line) {
            const bool isMeant = line.startsWith(start);
            if (isMeant) {
                rest = line.mid(start.size());
                m_times.remove(line);
            }
            return isMeant;
        });
        return rest;
    }

    void tell(const QString& sentence)
    {
        for (const QString& line : std::exchange(m_lines, {})) {
            if (m_isRaw || repeats(sentence, line))
                continue;
            const int times = m_times.value(line);
            const QString often = times > 1 ? QStringLiteral(" (%1 times)").arg(times) : QString();
            writeToStandardError(QStringLiteral("warning: %1%2\n").arg(line, often).toUtf8());
        }
        m_times.clear();
        m_kinds.clear();
        if (const int more = std::exchange(m_more, 0); more > 0 && !m_isRaw)
            writeToStandardError(
                QStringLiteral("warning: and %1 more; --verbose shows all\n").arg(more).toUtf8());
    }

protected:
    qint64 readData(char*, qint64) override { return -1; }

    qint64 writeData(const char* data, qint64 size) override
    {
        if (m_isRaw)
            writeToStandardError(QByteArray(data, size));
        m_unfinished.append(data, size);
        for (auto end = m_unfinished.indexOf('\n'); end >= 0; end = m_unfinished.indexOf('\n')) {
            add(withoutPrefix(QString::fromUtf8(m_unfinished.left(end))));
            m_unfinished.remove(0, end + 1);
        }
        return size;
    }

private:
    void add(const QString& line)
    {
        const auto isStart = [&](const QString& start) { return line.startsWith(start); };
        if (std::any_of(m_leftOut.cbegin(), m_leftOut.cend(), isStart))
            return;
        if (m_times.contains(line)) {
            ++m_times[line];
        } else if (++m_kinds[kindOf(line)] <= k_most) {
            m_lines.append(line);
            m_times[line] = 1;
        } else {
            ++m_more;
        }
    }

    static constexpr int k_most = 10; ///< of a kind

    QByteArray m_unfinished;
    QStringList m_leftOut;
    QStringList m_lines; ///< each once
    QHash<QString, int> m_times;
    QHash<QString, int> m_kinds;
    int m_more = 0; ///< that were too many to keep
    bool m_isRaw = false;
};

LogHold::LogHold() : m_device(std::make_unique<Device>()), m_stream(m_device.get())
{
    LogQt::instance().setStream(&m_stream);
}

LogHold::~LogHold()
{
    LogQt::instance().setStream(nullptr);
    m_device->tell(QString());
}

void LogHold::showRaw()
{
    const MutexLocker locker(LogQt::instance().mutex());
    m_device->showRaw();
}

void LogHold::leaveOut(const QString& start)
{
    const MutexLocker locker(LogQt::instance().mutex());
    m_device->leaveOut(start);
}

int LogHold::count() const
{
    const MutexLocker locker(LogQt::instance().mutex());
    return m_device->count();
}

QString LogHold::take(const QString& start)
{
    const MutexLocker locker(LogQt::instance().mutex());
    return m_device->take(start);
}

void LogHold::tell(const QString& sentence)
{
    const MutexLocker locker(LogQt::instance().mutex());
    m_device->tell(sentence);
}

} // namespace tq::cli
