// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

namespace tq {

/**
 * The first exchange of SMB, before any login: a client says which dialects it speaks, and a server
 * chooses one.
 */
namespace smbnegotiation {

enum EAnswer {
    eIncomplete, ///< more may make it an answer
    eServer, ///< an SMB server's choice
    eForeign, ///< nothing of SMB, or a refusal
};

/** Returns a request for the dialects 2.0.2 to 3.0.2. */
QByteArray request();

/** Judges what came back so far; 132 bytes decide. */
EAnswer judge(const QByteArray& received);

} // namespace smbnegotiation

} // namespace tq
