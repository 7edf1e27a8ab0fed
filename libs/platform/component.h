// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "platform/interface.h"

namespace tq {

/** What the plug-in loader hands out; interfaces are reached from it by a checked cast of its
 * handle. */
class PLATFORM_EXPORT IComponent : public virtual IInterface
{
public:
    ~IComponent() override;
};

} // namespace tq
