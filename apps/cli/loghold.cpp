// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/loghold.h"

#include "platform/log.h"

#include <QIODevice>

#include <atomic>
#include <cstdio>

namespace tq::cli {

/** Takes the logger's text, under the logger's mutex. */
class LogHold::Device : public QIODevice
{
public:
    Device() { open(QIODevice::WriteOnly); }

    int count() const { return m_count; }

    void flush()
    {
        std::fwrite(m_text.constData(), 1, std::size_t(m_text.size()), stderr);
        std::fflush(stderr);
        m_text.clear();
        m_count = 0;
    }

protected:
    qint64 readData(char*, qint64) override { return -1; }

    qint64 writeData(const char* data, qint64 size) override
    {
        constexpr qsizetype k_most = 256 * 1024;
        const QByteArrayView added(data, size);
        m_text += added;
        m_count += int(added.count('\n'));
        if (m_text.size() > k_most)
            flush();
        return size;
    }

private:
    QByteArray m_text;
    std::atomic<int> m_count = 0;
};

LogHold::LogHold() : m_device(std::make_unique<Device>()), m_stream(m_device.get())
{
    LogQt::instance().setStream(&m_stream);
}

LogHold::~LogHold()
{
    release();
}

int LogHold::count() const
{
    return m_device->count();
}

void LogHold::release()
{
    LogQt::instance().setStream(nullptr);
    m_device->flush();
}

} // namespace tq::cli
