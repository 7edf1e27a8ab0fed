// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "platform/log.h"

#include <QDateTime>
#include <QFile>
#include <QTextStream>

#include <atomic>
#include <cstdio>

namespace tq {

struct LogQt::Private
{
    Mutex mutex;
    std::atomic<Log::ELevel> level = Log::eSurvived;
    QTextStream standardError{ stderr, QIODevice::WriteOnly };
    std::unique_ptr<QFile> file;
    std::unique_ptr<QTextStream> fileStream;
    QTextStream* stream = &standardError;
};

LogQt& LogQt::instance()
{
    // Never destroyed: objects of static storage may still log while the process ends.
    static LogQt* const logger = new LogQt;
    return *logger;
}

LogQt::LogQt() : d(std::make_unique<Private>()) { }

LogQt::~LogQt() = default;

Mutex& LogQt::mutex()
{
    return d->mutex;
}

QTextStream& LogQt::getStream(Log::ELevel)
{
    return *d->stream;
}

void LogQt::pre(Log::ELevel level)
{
    getStream(level) << QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs) << " ["
                     << int(level) << "] ";
}

Log::ELevel LogQt::logLevel() const
{
    return d->level;
}

void LogQt::setLogLevel(Log::ELevel level)
{
    d->level = level;
}

void LogQt::setStream(QTextStream* stream)
{
    MutexLocker locker(d->mutex);
    d->stream = stream ? stream : &d->standardError;
    d->fileStream.reset();
    d->file.reset();
}

bool LogQt::setFile(const QString& path)
{
    auto file = std::make_unique<QFile>(path);
    if (!file->open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text))
        return false;
    MutexLocker locker(d->mutex);
    d->fileStream = std::make_unique<QTextStream>(file.get());
    d->file = std::move(file);
    d->stream = d->fileStream.get();
    return true;
}

} // namespace tq
