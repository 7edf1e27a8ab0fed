// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "platform/properties/propertyset.h"
#include "platform/properties/valueproperty.h"

namespace tqgen {

/** A property that holds a nested set. */
using PropertySetProperty = ValueProperty<PropertySet>;

} // namespace tqgen
