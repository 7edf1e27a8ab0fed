// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QMetaType>
#include <QString>
#include <QVariant>

#include <functional>

namespace tq {
class NodeDB;
} // namespace tq

namespace tq::cli {

/** A setting of the whole database, by the name that people use for it. */
struct Setting
{
    QString name;
    QString meaning;
    std::function<QVariant(const NodeDB&)> get;
    std::function<void(NodeDB&, const QVariant&)> set;
};

/** Returns all settings in the order of lists. Their values have the type that get() returns. */
const QList<Setting>& allSettings();

/** Returns the setting of that name; null when there is none. */
const Setting* findSetting(const QString& name);

} // namespace tq::cli
