// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodedb/nodedb_export.h"

#include <QLocale>
#include <QSortFilterProxyModel>
#include <QString>

#include <memory>

namespace tq {

class NodeViewModel;

/**
 * A model of views as people want to see it: sorted, filtered, and without the nodes that a
 * relation of type 1 leads to (the recording folders of devices).
 *
 * Views come before nodes in either direction; names are ordered as the locale has it, numbers in
 * them by value ("Gate 9" before "Gate 10"). It is sorted ascending from the start; sort(-1) gives
 * the order of the views themselves. It follows the model, the database and its relations by single
 * rows and never resets; rows that move in a view change the layout. Only while a filter is set,
 * views come and go with what lies in them a turn of the event loop later. A view that matches does
 * not show what else is in it. The row "Not in a view" of the model stands among the views; the
 * filter looks at its nodes, not at its name.
 */
class NODEDB_EXPORT NodeViewProxyModel : public QSortFilterProxyModel
{
    Q_OBJECT

public:
    /** Shows `source`, which must outlive this model; it cannot be given another one. */
    explicit NodeViewProxyModel(NodeViewModel& source, QObject* parent = nullptr);
    ~NodeViewProxyModel() override;
    Q_DISABLE_COPY_MOVE(NodeViewProxyModel)

    /**
     * Shows only what matches, with the views it lies in. The words of `text` (the first 32), in
     * any case, must each occur in a node's name, address, MAC address (with or without colons),
     * model or note, or in a view's name. Without words everything is shown.
     */
    void setFilterText(const QString& text);
    QString filterText() const;

    /** Sorts as in that locale; the default is QLocale(). "C" is taken as American English. */
    void setLocale(const QLocale& locale);

    /** Tells of a view without reading its rows. */
    bool hasChildren(const QModelIndex& parent = {}) const override;
    QModelIndex mapFromSource(const QModelIndex& sourceIndex) const override;
    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;

protected:
    bool filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const override;
    bool lessThan(const QModelIndex& left, const QModelIndex& right) const override;

private:
    void setSourceModel(QAbstractItemModel* model) override;
    void scheduleMatching();
    void matchViews();

    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tq
