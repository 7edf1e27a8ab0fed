// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractItemModel>
#include <QAbstractItemModelTester>
#include <QObject>
#include <QStringList>

namespace tst {

/** Checks a model's every signal, and writes down in short what it announced. */
class ModelWatch : public QObject
{
public:
    explicit ModelWatch(QAbstractItemModel* model)
        : m_tester(model, QAbstractItemModelTester::FailureReportingMode::QtTest)
    {
        using Model = QAbstractItemModel;
        const auto note = [this](const char* what) {
            return [this, what](const QModelIndex&, int first, int last) {
                m_said.append(
                    QStringLiteral("%1 %2-%3").arg(QLatin1String(what)).arg(first).arg(last));
            };
        };
        connect(model, &Model::rowsInserted, this, note("inserted"));
        connect(model, &Model::rowsRemoved, this, note("removed"));
        connect(model, &Model::rowsMoved, this,
            [this](const QModelIndex&, int first, int, const QModelIndex&, int row) {
                m_said.append(QStringLiteral("moved %1>%2").arg(first).arg(row));
            });
        connect(model, &Model::dataChanged, this,
            [this](const QModelIndex& first, const QModelIndex& last) {
                m_said.append(QStringLiteral("data %1-%2").arg(first.row()).arg(last.row()));
            });
        connect(model, &Model::modelReset, this, [this] { ++m_resets; });
        connect(model, &Model::modelAboutToBeReset, this, [this] { ++m_resets; });
    }

    /** Returns what was said since the last take(), as "inserted 0-1, data 3-3". */
    QString take() { return std::exchange(m_said, {}).join(QStringLiteral(", ")); }
    int resets() const { return m_resets; }

private:
    QAbstractItemModelTester m_tester;
    QStringList m_said;
    int m_resets = 0;
};

/** Returns the rows below `parent` as "name(name, name(…))", every level read. */
inline QString rowText(const QAbstractItemModel& model, const QModelIndex& parent = {})
{
    QStringList parts;
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const QModelIndex index = model.index(row, 0, parent);
        const QString name = index.data().toString();
        parts.append(model.flags(index).testFlag(Qt::ItemNeverHasChildren)
                ? name
                : name + QLatin1Char('(') + rowText(model, index) + QLatin1Char(')'));
    }
    return parts.join(QStringLiteral(", "));
}

/** Returns the first row that shows `name`, at any level; invalid without one. */
inline QModelIndex rowOf(const QAbstractItemModel& model, const char* name)
{
    return model
        .match(model.index(0, 0), Qt::DisplayRole, QString::fromUtf8(name), 1,
            Qt::MatchExactly | Qt::MatchRecursive)
        .value(0);
}

} // namespace tst
