// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "views/nodeviewproxymodel.h"

#include "nodestore/nodedb.h"
#include "views/nodeviewmodel_p.h"
#include "views/viewmatches_p.h"

#include "platform/logline.h"

#include <QCollator>
#include <QVarLengthArray>

namespace tq {

struct NodeViewProxyModel::Private
{
    explicit Private(NodeViewModel& model) : source(model) { }

    /** Looks for matches in everything; returns which views changed. */
    QSet<NodeViewID> find()
    {
        return matches.find(source.database(), source.viewAt({}), source.d->unplacedNodes());
    }

    NodeViewModel& source;
    QCollator collator;
    QString filterText;
    ViewMatches matches;
    bool isScheduled = false;
};

NodeViewProxyModel::NodeViewProxyModel(NodeViewModel& source, QObject* parent)
    : QSortFilterProxyModel(parent), d(std::make_unique<Private>(source))
{
    d->collator.setNumericMode(true);
    d->collator.setCaseSensitivity(Qt::CaseInsensitive);
    setLocale(QLocale());
    QSortFilterProxyModel::setSourceModel(&source);
    sort(0);
    const auto schedule = [this] { scheduleMatching(); };
    connect(source.viewAt({}).get(), &NodeView::contentsChanged, this, schedule);
    connect(&source, &NodeViewModel::rowsInserted, this, [this](const QModelIndex& above) {
        if (!above.isValid()) // "Not in a view" may be new
            scheduleMatching();
    });
    if (NodeDB* const db = source.database()) {
        // Nodes in views whose rows nobody asked for announce themselves here only.
        for (const auto signal : { &NodeDB::nodeInserted, &NodeDB::nodeUpdated,
                 &NodeDB::nodeRemoved, &NodeDB::connectionDataChanged })
            connect(db, signal, this, schedule);
        for (const auto signal : { &NodeDB::nodeRelationAdded, &NodeDB::nodeRelationRemoved })
            connect(db, signal, this, schedule);
    }
}

NodeViewProxyModel::~NodeViewProxyModel() = default;

void NodeViewProxyModel::setSourceModel(QAbstractItemModel* model)
{
    if (model != &d->source)
        logLine(Log::eSurvived, "A sorted model of views keeps the model that it was made for.");
}

void NodeViewProxyModel::setFilterText(const QString& text)
{
    if (text == d->filterText)
        return;
    const NodeViewModelPrivate::Silence silence(*d->source.d);
    d->filterText = text;
    d->matches = ViewMatches(text);
    d->find();
    invalidateRowsFilter();
}

QString NodeViewProxyModel::filterText() const
{
    return d->filterText;
}

void NodeViewProxyModel::setLocale(const QLocale& locale)
{
    // The locale "C" knows no numbers in names.
    const bool isC = locale.language() == QLocale::C;
    d->collator.setLocale(isC ? QLocale(QLocale::English, QLocale::UnitedStates) : locale);
    if (!sourceModel())
        return;
    const NodeViewModelPrivate::Silence silence(*d->source.d);
    invalidate();
}

void NodeViewProxyModel::sort(int column, Qt::SortOrder order)
{
    const NodeViewModelPrivate::Silence silence(*d->source.d);
    QSortFilterProxyModel::sort(column, order);
}

void NodeViewProxyModel::scheduleMatching()
{
    if (d->matches.isEverything() || d->isScheduled)
        return;
    d->isScheduled = true;
    QMetaObject::invokeMethod(this, &NodeViewProxyModel::matchViews, Qt::QueuedConnection);
}

void NodeViewProxyModel::matchViews()
{
    d->isScheduled = false;
    for (const NodeViewID& id : d->find())
        d->source.touch(id);
}

bool NodeViewProxyModel::hasChildren(const QModelIndex& parent) const
{
    // While rows come and go, what counts is which of them are there. The top is always read.
    if (d->source.d->isTelling() || !parent.isValid())
        return QSortFilterProxyModel::hasChildren(parent);
    const NodeView* const view = d->source.d->itemAt(mapToSource(parent)).view;
    return view && d->matches.showsAnythingIn(d->source.database(), *view);
}

QModelIndex NodeViewProxyModel::mapFromSource(const QModelIndex& sourceIndex) const
{
    // Qt would keep rows in mind for a view that is filtered out, and then take them for shown: it
    // asks so itself when rows move in a view that lies in one. So each view is asked for only
    // when the one above it is there.
    QVarLengthArray<QModelIndex, 16> way{ sourceIndex };
    while (way.last().parent().isValid())
        way.append(way.last().parent());
    QModelIndex mapped;
    for (auto it = way.crbegin(); it != way.crend(); ++it) {
        mapped = QSortFilterProxyModel::mapFromSource(*it);
        if (!mapped.isValid())
            break;
    }
    return mapped;
}

bool NodeViewProxyModel::filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const
{
    const QModelIndex index = d->source.index(sourceRow, 0, sourceParent);
    if (const NodeView* const view = d->source.d->itemAt(index).view)
        return d->matches.isEverything() || d->matches.holdsMatch(*view);
    return !index.data(eIsRelationDestinationRole).toBool()
        && d->matches.matchesNode(d->source.database(), index.data(eEntryIdRole).toString());
}

bool NodeViewProxyModel::lessThan(const QModelIndex& left, const QModelIndex& right) const
{
    const bool isLeftView = left.data(eIsViewRole).toBool();
    if (isLeftView != right.data(eIsViewRole).toBool())
        return isLeftView == (sortOrder() == Qt::AscendingOrder);
    const int order = d->collator.compare(left.data().toString(), right.data().toString());
    return order != 0 ? order < 0
                      : left.data(eEntryIdRole).toString() < right.data(eEntryIdRole).toString();
}

} // namespace tq
