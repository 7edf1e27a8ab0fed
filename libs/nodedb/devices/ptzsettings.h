// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodedb/nodedb_export.h"

#include "platform/properties/propertyset.h"

#include <QCoreApplication>

namespace tq {

class IPersistDestination;

/**
 * How a camera with a wide-angle lens is mounted and corrected for views that pan, tilt and zoom.
 *
 * A value; its owner opens the group that it is stored in. Units are those of whoever uses it: the
 * figures are passed on as they are.
 */
class NODEDB_EXPORT PTZSettings
{
    Q_DECLARE_TR_FUNCTIONS(tq::PTZSettings)

public:
    PTZSettings() = default;
    PTZSettings(const PTZSettings&) = default;
    PTZSettings& operator=(const PTZSettings&) = default;
    virtual ~PTZSettings();

    /** Writes all fields into the current group. */
    virtual void save(IPersistDestination* target) const;

    /** Reads them; a missing key leaves its field as it is. */
    virtual void load(IPersistDestination* source);

    /** Adds an entry for each field to `set`. */
    virtual void properties(tqgen::PropertySet& set) const;

    /** Takes a value back into the field of the property's name; false when there is none. */
    virtual bool updateField(const tqgen::BaseProperty& property);

    /** Removes the keys of all fields from the current group. */
    void remove(IPersistDestination* target) const;

    int inclination() const { return m_inclination; }
    void setInclination(int inclination) { m_inclination = inclination; }
    bool lensTypeAutoDetect() const { return m_lensTypeAutoDetect; }
    void setLensTypeAutoDetect(bool isAutomatic) { m_lensTypeAutoDetect = isAutomatic; }
    bool mountTypeAutoDetect() const { return m_mountTypeAutoDetect; }
    void setMountTypeAutoDetect(bool isAutomatic) { m_mountTypeAutoDetect = isAutomatic; }
    float lensFocalWidth() const { return m_lensFocalWidth; }
    void setLensFocalWidth(float width) { m_lensFocalWidth = width; }
    float lensCorrectionRadius() const { return m_lensCorrectionRadius; }
    void setLensCorrectionRadius(float radius) { m_lensCorrectionRadius = radius; }

private:
    template <class Self, class Function>
    static void forEachField(Self& self, Function function);

    int m_inclination = 0;
    bool m_lensTypeAutoDetect = true;
    bool m_mountTypeAutoDetect = true;
    float m_lensFocalWidth = 0.0F;
    float m_lensCorrectionRadius = 0.0F;
};

} // namespace tq
