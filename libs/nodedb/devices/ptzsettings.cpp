// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "devices/ptzsettings.h"

#include "platform/persistdestination.h"
#include "platform/properties/properties.h"

#include <type_traits>

namespace tq {

PTZSettings::~PTZSettings() = default;

template <class Self, class Function>
void PTZSettings::forEachField(Self& self, Function function)
{
    function(QStringLiteral("Inclination"), QT_TR_NOOP("Camera mounting inclination"),
        self.m_inclination);
    function(QStringLiteral("LensTypeAutoDetect"), QT_TR_NOOP("Automatic detection of lens type"),
        self.m_lensTypeAutoDetect);
    function(QStringLiteral("MountTypeAutoDetect"), QT_TR_NOOP("Automatic detection of mount type"),
        self.m_mountTypeAutoDetect);
    function(QStringLiteral("LensFocalWidth"), QT_TR_NOOP("Focal width of camera lens"),
        self.m_lensFocalWidth);
    function(QStringLiteral("LensCorrectionRadius"), QT_TR_NOOP("Lens correction radius"),
        self.m_lensCorrectionRadius);
}

void PTZSettings::save(IPersistDestination* target) const
{
    forEachField(*this, [&](const QString& key, const char*, const auto& field) {
        target->setValue(key, QVariant(field));
    });
}

void PTZSettings::load(IPersistDestination* source)
{
    forEachField(*this, [&](const QString& key, const char*, auto& field) {
        using Field = std::remove_reference_t<decltype(field)>;
        const QVariant value = source->value(key, QVariant(field));
        // Stores may hand back a double: converted to that, then narrowed.
        if constexpr (std::is_same_v<Field, float>)
            field = float(value.toDouble());
        else
            field = value.value<Field>();
    });
}

void PTZSettings::remove(IPersistDestination* target) const
{
    forEachField(*this, [&](const QString& key, const char*, const auto&) { target->remove(key); });
}

void PTZSettings::properties(tqgen::PropertySet& set) const
{
    forEachField(*this, [&](const QString& key, const char* label, const auto& field) {
        using Field = std::remove_cvref_t<decltype(field)>;
        set.emplace<tqgen::ValueProperty<Field>>(key, tr(label), field);
    });
}

bool PTZSettings::updateField(const tqgen::BaseProperty& property)
{
    bool isOurs = false;
    forEachField(*this, [&](const QString& key, const char*, auto& field) {
        if (property.name() != key)
            return;
        isOurs = true;
        field = tqgen::getValue(property, field);
    });
    return isOurs;
}

} // namespace tq
