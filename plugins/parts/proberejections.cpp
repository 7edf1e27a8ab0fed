// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "parts/proberejections.h"

#include <QAbstractSocket>

#include <algorithm>

namespace tq {

void ProbeRejections::note(int requestId, EProbeRejection reason)
{
    m_reasons.insert(requestId, new EProbeRejection(std::max(reason, of(requestId))));
}

EProbeRejection ProbeRejections::of(int requestId) const
{
    const EProbeRejection* const reason = m_reasons.object(requestId);
    return reason ? *reason : EProbeRejection::eUnknown;
}

EProbeRejection rejectionOf(const QAbstractSocket& socket)
{
    switch (socket.error()) {
    case QAbstractSocket::HostNotFoundError:
        return EProbeRejection::eNoSuchHost;
    case QAbstractSocket::NetworkError: // no route, told by the kernel or by a router
    case QAbstractSocket::SocketAccessError: // a route that is forbidden
        return EProbeRejection::eNoRoute;
    case QAbstractSocket::ConnectionRefusedError:
        return EProbeRejection::eRefused;
    case QAbstractSocket::RemoteHostClosedError: // it took the connection
    case QAbstractSocket::SslHandshakeFailedError:
    case QAbstractSocket::SslInternalError:
        return EProbeRejection::eAnswered;
    case QAbstractSocket::ProxyAuthenticationRequiredError:
    case QAbstractSocket::ProxyConnectionRefusedError:
    case QAbstractSocket::ProxyConnectionClosedError:
    case QAbstractSocket::ProxyConnectionTimeoutError:
    case QAbstractSocket::ProxyNotFoundError:
    case QAbstractSocket::ProxyProtocolError:
        return EProbeRejection::eNoProxy;
    default:
        break;
    }
    switch (socket.state()) {
    case QAbstractSocket::HostLookupState:
        return EProbeRejection::eNoSuchHost;
    case QAbstractSocket::ConnectingState:
        return EProbeRejection::eSilent;
    case QAbstractSocket::ConnectedState:
    case QAbstractSocket::ClosingState:
        return EProbeRejection::eSlow;
    default:
        return EProbeRejection::eUnknown;
    }
}

} // namespace tq
