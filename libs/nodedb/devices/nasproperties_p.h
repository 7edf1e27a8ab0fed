// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "devices/nasdevicenode.h"

#include "platform/properties/propertyset.h"

namespace tq::nasproperties {

/** Returns the users as a property set: three entries each, whose names end in the position from 0.
 */
tqgen::PropertySet fromLocalUsers(const QList<UserAndPassword>& users);

/** Returns the users of such a set, a third of its size. */
QList<UserAndPassword> toLocalUsers(const tqgen::PropertySet& set);

/** Returns the shares as a property set: four entries each, the last one a set of the rights. */
tqgen::PropertySet fromShares(const QList<NASDeviceNode::Share>& shares);

} // namespace tq::nasproperties
