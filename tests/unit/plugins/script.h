// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "shared/rows.h"

#include <QRegularExpression>

namespace tst {

/** Scripts of what a table hears, and what it tells of it; parted by ";", ".5" for 10.0.0.5. */
using Scripts = Rows<QString, QString>;

/** Plays the script of the current row to a Player, which writes down what it is told. */
template <class Player>
void playScript()
{
    static const QRegularExpression k_short(QStringLiteral("(?<![0-9])\\.(?=[0-9])"));
    QFETCH(QString, script);
    QFETCH(QString, told);
    Player player;
    for (QString step : script.split(u';'))
        player.play(step.replace(k_short, QStringLiteral("10.0.0.")));
    QCOMPARE(player.told.join(u';').replace(QStringLiteral("10.0.0."), QStringLiteral(".")), told);
}

} // namespace tst
