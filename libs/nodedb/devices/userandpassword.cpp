// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "devices/userandpassword.h"

#include <QByteArray>

namespace tq {

UserAndPassword::UserAndPassword(
    const QString& userName, const QString& userPassword, bool maySavePassword)
    : user(userName), password(userPassword), savePassword(maySavePassword)
{
}

QVariant UserAndPassword::toVariant() const
{
    QVariantList list{ user, savePassword };
    if (savePassword)
        list.append(password.toUtf8().toBase64());
    return list;
}

void UserAndPassword::fromVariant(const QVariant& variant)
{
    // Asked first, because Qt converts texts and byte arrays to lists of their characters.
    const int type = variant.typeId();
    const bool isList = type == QMetaType::QVariantList || type == QMetaType::QStringList;
    const QVariantList list = isList ? variant.toList() : QVariantList();
    if (list.isEmpty())
        return;
    user = list.at(0).toString();
    savePassword = list.value(1).toBool();
    password = savePassword ? QString::fromUtf8(QByteArray::fromBase64(list.value(2).toByteArray()))
                            : QString();
}

} // namespace tq
