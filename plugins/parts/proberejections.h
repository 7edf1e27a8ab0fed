// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "discovery/iprobeexplainer.h"

#include <QCache>

class QAbstractSocket;

namespace tq {

/** The reasons of a driver's last rejections. One thread. */
class ProbeRejections
{
public:
    /** Notes a reason of a request; the one that tells most is kept. */
    void note(int requestId, EProbeRejection reason);

    /** Returns eUnknown where none was noted, or that was long ago. */
    EProbeRejection of(int requestId) const;

private:
    QCache<int, EProbeRejection> m_reasons{ 1024 };
};

/** Returns why nothing came over a connection that has ended by itself, or that waits in vain. */
EProbeRejection rejectionOf(const QAbstractSocket& socket);

} // namespace tq
