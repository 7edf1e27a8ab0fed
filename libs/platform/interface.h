// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "platform/platform_export.h"

#include <string>

namespace tq {

/** The root of every plug-in interface. */
class PLATFORM_EXPORT IInterface
{
public:
    IInterface() = default;
    IInterface(const IInterface&) = default;
    IInterface& operator=(const IInterface&) = default;
    virtual ~IInterface();

    /** Returns this object as the interface of that name; null when it does not implement it. */
    virtual IInterface* getInterface(const std::string& name) = 0;
    virtual const IInterface* getInterface(const std::string& name) const = 0;
};

} // namespace tq
