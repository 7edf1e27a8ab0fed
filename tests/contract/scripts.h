// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "contract/persistdestinationcontract.h"

#include <QVariant>

namespace tst {

/** Adds the rows "script" and "tree": calls, and the flat tree that they leave. */
void addScripts();

/** The same for calls that do not match; each is worth one log line. */
void addUnmatchedCalls();

/** Returns a value of every type that clients store, and awkward ones. */
QVariantList valuesOfEveryType();

/** Writes that many devices as they are stored: values, groups, arrays in groups in entries. */
void writeDevices(tq::IPersistDestination& to, int count);

/** Makes the same random calls on all of the targets, and closes everything. */
void callAtRandom(const std::vector<tq::IPersistDestination*>& targets, quint32 seed);

} // namespace tst

Q_DECLARE_METATYPE(tst::Script)
