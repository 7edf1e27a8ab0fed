// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "platform/interface.h"

class QLocale;

namespace tq {

/** A component that carries texts for people. */
class PLATFORM_EXPORT ICanBeLocalized : public virtual IInterface
{
public:
    ~ICanBeLocalized() override;

    /** Makes the component's texts follow `locale`. Returns false when it has none for it: they
     * stay as they are. */
    virtual bool setLocale(const QLocale& locale);
};

} // namespace tq
