// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "platform/macaddress.h"

#include <QString>

namespace tq {

/** What a device says of itself over ONVIF: clean texts of at most 80 characters each. */
struct OnvifFacts
{
    QString manufacturer;
    QString model;
    QString firmware; ///< its version
    QString serialNumber;
    QString reference; ///< its endpoint reference in WS-Discovery
    MACAddress mac;

    /** Returns manufacturer and model as a person would write them; empty when both are. */
    QString fullModel() const
    {
        const bool isSaid = model.startsWith(manufacturer, Qt::CaseInsensitive);
        return isSaid ? model : QString(manufacturer + QLatin1Char(' ') + model).trimmed();
    }
};

} // namespace tq
