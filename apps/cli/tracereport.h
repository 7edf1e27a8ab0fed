// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

namespace tq {
class DiscoveryRecorder;
}

namespace tq::cli {

class Output;

/** Prints the story of each hint that was recorded, and hands them to the JSON document as "trace".
 */
void reportTrace(Output& output, const DiscoveryRecorder& recorder);

} // namespace tq::cli
