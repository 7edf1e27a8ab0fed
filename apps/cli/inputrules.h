// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodestore/nodetypes.h"

#include <QList>
#include <QString>
#include <QVariant>

namespace tq {
class NodeDB;
} // namespace tq

namespace tq::cli {

// What a person may enter, one rule for each kind of value: the library takes everything. Each
// returns an empty text, or one sentence that names the value.

constexpr int k_highestPort = 65535;

/** An address of either family, or a host name; no port. `what` names what wants it. */
QString hostError(const QString& what, const QString& text);

/** A name for people: not blank, without control characters. `what` is what is named. */
QString nameError(const QString& what, const QString& name);

/** Says that `name` is no name for such a thing. */
QString nameRefusal(const QString& what, const QString& name);

/** A place for recordings: an absolute path whose folders are there or could be made, a share as
 * \\HOST\SHARE, or a URL. */
QString recordingPathError(const QString& what, const QString& path);

/** A node type for which there is a driver, or that a node has. */
QString nodeTypeError(const NodeDB& database, int type);

/** A relation type with a meaning, or one of those in use. */
QString relationTypeError(int type, const QList<ENodeRelationType>& used);

/** The value of a property or setting that its name says more of than its type: hosts, ports,
 * names, hardware addresses, what recordings look like, where they go, exceptions from the proxy.
 */
QString valueError(const QString& name, const QVariant& value);

} // namespace tq::cli
