// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "platform/properties/valueproperty.h"

#include <QRect>

namespace tqgen {

using BoolProperty = ValueProperty<bool>;
using IntProperty = ValueProperty<int>;
using UIntProperty = ValueProperty<uint>;
using U64Property = ValueProperty<quint64>;
using FloatProperty = ValueProperty<float>;
using DoubleProperty = ValueProperty<double>;
using StringProperty = ValueProperty<QString>;
using RectProperty = ValueProperty<QRect>;

} // namespace tqgen
