// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "devices/ptzsettings.h"
#include "persistence/storefactory.h"
#include "shared/calllogdestination.h"

#include "platform/properties/properties.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace tq;

namespace {

PTZSettings ceilingMount()
{
    PTZSettings settings;
    settings.setInclination(-15);
    settings.setLensTypeAutoDetect(false);
    settings.setMountTypeAutoDetect(false);
    settings.setLensFocalWidth(0.1F);
    settings.setLensCorrectionRadius(2.5F);
    return settings;
}

QVariantList valuesOf(const PTZSettings& settings)
{
    tqgen::PropertySet set;
    settings.properties(set);
    QVariantList values;
    for (const auto& property : set.properties())
        values.append(property->value());
    return values;
}

} // namespace

class TestPTZSettings : public QObject
{
    Q_OBJECT

private slots:
    void comesBackFromAStore();
    void keepsWhatIsMissingAndRemovesItsKeys();
    void takesEditedFieldsByName();
};

void TestPTZSettings::comesBackFromAStore()
{
    const auto memory = openStore(u"memory:"_s);
    PTZSettings().save(memory.get());
    const QVariantList defaults{ 0, true, true, 0.0F, 0.0F };
    const QStringList keys{ u"Inclination"_s, u"LensTypeAutoDetect"_s, u"MountTypeAutoDetect"_s,
        u"LensFocalWidth"_s, u"LensCorrectionRadius"_s };
    for (int i = 0; i < keys.size(); ++i) {
        const QVariant stored = memory->value(keys.at(i), QVariant());
        QCOMPARE(stored, defaults.at(i));
        QCOMPARE(stored.typeId(), defaults.at(i).typeId());
    }
    const PTZSettings mounted(ceilingMount());
    mounted.save(memory.get());
    PTZSettings loaded;
    loaded.load(memory.get());
    QCOMPARE(valuesOf(loaded), valuesOf(mounted));
    // A store may hand back texts and doubles.
    memory->setValue(keys.at(1), u"true"_s);
    memory->setValue(keys.at(3), 0.75);
    loaded.load(memory.get());
    QVERIFY(loaded.lensTypeAutoDetect());
    QCOMPARE(loaded.lensFocalWidth(), 0.75F);
}

void TestPTZSettings::keepsWhatIsMissingAndRemovesItsKeys()
{
    const auto memory = openStore(u"memory:"_s);
    PTZSettings settings = ceilingMount();
    settings.load(memory.get());
    QCOMPARE(valuesOf(settings), valuesOf(ceilingMount()));
    settings.save(memory.get());
    memory->setValue(u"Other"_s, 1);
    tst::CallLogDestination log(memory.get());
    settings.remove(&log);
    QCOMPARE(log.calls().size(), 5);
    QVERIFY(log.calls().first().contains(u"Inclination"_s));
    QVERIFY(log.calls().last().contains(u"LensCorrectionRadius"_s));
    QVERIFY(!memory->contains(u"LensFocalWidth"_s));
    QVERIFY(memory->contains(u"Other"_s));
}

void TestPTZSettings::takesEditedFieldsByName()
{
    PTZSettings settings;
    tqgen::PropertySet set;
    ceilingMount().properties(set);
    for (const auto& property : set.properties())
        QVERIFY(settings.updateField(*property));
    QCOMPARE(valuesOf(settings), valuesOf(ceilingMount()));
    QCOMPARE(set.find(u"LensFocalWidth"_s)->description(), u"Focal width of camera lens"_s);
    QCOMPARE(set.find(u"LensFocalWidth"_s)->value().typeId(), int(QMetaType::Float));
    QVERIFY(!settings.updateField(tqgen::IntProperty(u"inclination"_s, QString(), 3)));
    QCOMPARE(valuesOf(settings), valuesOf(ceilingMount()));
}

QTEST_GUILESS_MAIN(TestPTZSettings)
#include "tst_ptzsettings.moc"
