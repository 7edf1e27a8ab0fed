// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "shared/logcapture.h"

#include <QRegularExpression>

namespace tst {

LogCapture::LogCapture(tq::Log::ELevel level) : m_before(tq::LogQt::instance().logLevel())
{
    tq::LogQt::instance().setLogLevel(level);
    tq::LogQt::instance().setStream(&m_stream);
}

LogCapture::~LogCapture()
{
    tq::LogQt::instance().setStream(nullptr);
    tq::LogQt::instance().setLogLevel(m_before);
}

QStringList LogCapture::lines() const
{
    static const QRegularExpression prefix(QStringLiteral("^\\S+ \\[(\\d)\\] "));
    tq::MutexLocker locker(tq::LogQt::instance().mutex());
    QStringList result = m_text.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    return result.replaceInStrings(prefix, QStringLiteral("\\1 "));
}

void LogCapture::clear()
{
    tq::MutexLocker locker(tq::LogQt::instance().mutex());
    m_text.clear();
}

} // namespace tst
