// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/deviceread.h"

#include "cli/invocation.h"
#include "cli/output.h"
#include "cli/stopsignal.h"

#include "discovery/idevicereader.h"
#include "discovery/inodedrivercomponent.h"
#include "nodestore/nodedb.h"

#include <QTimer>

#include <cstdio>
#include <unistd.h>

namespace tq::cli {

namespace {

/** Readers end by themselves well before. */
constexpr int k_longest = 60; // s
constexpr int k_msPerSecond = 1000;

} // namespace

Outcome DeviceRead::run(IDeviceReader& reader)
{
    // Before the reading begins: its end is announced once.
    if (!tq::connect(reader.readFinishedSignal(), this, SLOT(finished(tq::NodeID, QString))))
        return Outcome::refused(
            QStringLiteral("the driver of %1 does not tell when it has read").arg(quoted(m_id)));
    const StopSignal stop;
    connect(&stop, &StopSignal::received, &m_loop, &QEventLoop::quit);
    const QString refusal = reader.readDevice(m_id);
    if (!refusal.isEmpty()) {
        m_error = refusal;
        return Outcome::refused(QStringLiteral("%1 cannot be read: %2").arg(quoted(m_id), refusal));
    }
    int seconds = 0;
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [&] {
        showProgress(++seconds);
        if (seconds >= k_longest)
            m_loop.quit();
    });
    timer.start(k_msPerSecond);
    if (!m_error && !stop.hasCome())
        m_loop.exec();
    if (seconds > 0)
        showProgress(0);
    if (!m_error)
        return Outcome::refused(stop.hasCome()
                ? QStringLiteral("reading %1 was interrupted").arg(quoted(m_id))
                : QStringLiteral("%1 was not read within %2 s").arg(quoted(m_id)).arg(seconds));
    return m_error->isEmpty()
        ? Outcome::done()
        : Outcome::refused(QStringLiteral("%1 was not read: %2").arg(quoted(m_id), *m_error));
}

void DeviceRead::finished(tq::NodeID id, QString error)
{
    if (id != m_id)
        return;
    m_error = error;
    m_loop.quit();
}

void DeviceRead::showProgress(int seconds) const
{
    if (::isatty(STDERR_FILENO) != 1)
        return;
    std::fputs("\r\033[K", stderr);
    if (seconds > 0)
        std::fprintf(stderr, "%d s: the device is being read; Ctrl-C ends", seconds);
    std::fflush(stderr);
}

Outcome tryLogin(Invocation& call, const QString& id)
{
    const auto driver = call.database().nodeDriver(id);
    auto* const reader = dynamic_cast<IDeviceReader*>(driver.get());
    if (!reader)
        return Outcome::refused(QStringLiteral("its driver cannot try logins"));
    DeviceRead read(id);
    const Outcome outcome = read.run(*reader);
    QString reason = read.reason();
    if (outcome.isDone() || reason.isEmpty())
        return outcome;
    reason.replace(0, 1, reason.at(0).toLower());
    if (reason.endsWith(QLatin1Char('.')))
        reason.chop(1);
    return Outcome::refused(reason);
}

Outcome readDevice(Invocation& call, const QString& id)
{
    const auto driver = call.database().nodeDriver(id);
    auto* const reader = dynamic_cast<IDeviceReader*>(driver.get());
    if (!reader)
        return Outcome::refused(
            QStringLiteral("the driver of %1 cannot read devices").arg(quoted(id)));
    if (call.session().isUndecided(id))
        return Invocation::undecided(id);
    const Outcome outcome = DeviceRead(id).run(*reader);
    return outcome.isDone() && call.session().hasUnsavedChanges() ? call.save() : outcome;
}

} // namespace tq::cli
