// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

namespace tst {

/** Returns an envelope of a peer that has its own prefixes. */
inline QByteArray envelope(const QByteArray& content, const QByteArray& header = QByteArray())
{
    return "<e:Envelope xmlns:e='http://www.w3.org/2003/05/soap-envelope' "
           "xmlns:w='http://schemas.xmlsoap.org/ws/2004/08/addressing' "
           "xmlns='http://schemas.xmlsoap.org/ws/2005/04/discovery'><e:Header>"
        + header + "</e:Header><e:Body>" + content + "</e:Body></e:Envelope>";
}

inline QByteArray device(const QByteArray& endpoint, const QByteArray& more = QByteArray())
{
    return "<w:EndpointReference><w:Address>" + endpoint + "</w:Address></w:EndpointReference>"
        + more;
}

} // namespace tst
