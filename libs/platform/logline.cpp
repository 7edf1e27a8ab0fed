// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "platform/logline.h"

namespace tq {

namespace {

bool breaksLines(QChar c)
{
    switch (c.category()) {
    case QChar::Other_Control:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    default:
        break;
    }
    const char16_t u = c.unicode();
    const bool isMark = u == 0x200e || u == 0x200f || u == 0x061c;
    const bool isEmbedding = (u >= 0x202a && u <= 0x202e) || (u >= 0x2066 && u <= 0x2069);
    return isMark || isEmbedding;
}

} // namespace

QString escapedForLog(const QString& text)
{
    QString result;
    result.reserve(text.size());
    for (const QChar c : text) {
        if (breaksLines(c))
            result += QStringLiteral("\\u%1").arg(uint(c.unicode()), 4, 16, QLatin1Char('0'));
        else
            result += c;
    }
    return result;
}

namespace detail {

LogLine::LogLine(Log::ELevel level) : m_logger(LogQt::instance()), m_locker(m_logger.mutex(), true)
{
    QTextStream& stream = m_logger.getStream(level);
    if (m_logger.logLevel() > level)
        return;
    m_flags = stream.numberFlags();
    m_stream = &stream;
    m_logger.pre(level);
}

LogLine::~LogLine()
{
    if (!m_stream)
        return;
    *m_stream << Qt::endl;
    m_stream->setNumberFlags(m_flags);
}

} // namespace detail

} // namespace tq
