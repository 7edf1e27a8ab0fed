// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QSslConfiguration>

#include <optional>

namespace lab {

/**
 * Makes a self-signed certificate with the program openssl and returns what a server needs to show
 * it; nothing when that fails, with a line on stderr. Key and certificate never touch the disk.
 */
std::optional<QSslConfiguration> makeCertificate();

} // namespace lab
