// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "views/nodeviewmodel.h"

#include "views/nodedata_p.h"
#include "views/nodeviewmodel_p.h"

namespace tq {

NodeViewModel::NodeViewModel(NodeDB& database, const tqm::smart<NodeView>& root, QObject* parent)
    : QAbstractItemModel(parent), d(std::make_unique<NodeViewModelPrivate>(*this, database, root))
{
}

NodeViewModel::~NodeViewModel() = default;

NodeDB* NodeViewModel::database() const
{
    return d->database;
}

tqm::smart<NodeView> NodeViewModel::viewAt(const QModelIndex& index) const
{
    const ViewItem& item = d->itemAt(index);
    return d->isUnplaced(item) ? nullptr : tqm::smart<NodeView>(item.entry);
}

void NodeViewModel::setShowsUnplacedNodes(bool shows)
{
    d->showUnplacedNodes(shows);
}

bool NodeViewModel::showsUnplacedNodes() const
{
    return !d->unplacedNodes().null();
}

QModelIndexList NodeViewModel::indexesOf(const QString& id) const
{
    QModelIndexList result;
    for (const ViewItem* const item : d->itemsOf(id)) {
        if (item->parent)
            result.append(d->indexOf(*item));
    }
    return result;
}

void NodeViewModel::touch(const QString& id, const QList<int>& roles)
{
    d->touch(id, roles);
}

QModelIndex NodeViewModel::index(int row, int column, const QModelIndex& parent) const
{
    return hasIndex(row, column, parent) ? createIndex(row, column, &d->itemAt(parent).child(row))
                                         : QModelIndex();
}

QModelIndex NodeViewModel::parent(const QModelIndex& child) const
{
    return child.isValid() ? d->indexOf(*d->itemAt(child).parent) : QModelIndex();
}

int NodeViewModel::rowCount(const QModelIndex& parent) const
{
    if (parent.column() > 0)
        return 0;
    ViewItem& item = d->itemAt(parent);
    d->read(item);
    return item.childCount();
}

int NodeViewModel::columnCount(const QModelIndex&) const
{
    return 1;
}

bool NodeViewModel::hasChildren(const QModelIndex& parent) const
{
    ViewItem& item = d->itemAt(parent);
    if (!item.view || parent.column() > 0)
        return false;
    if (item.view->count() == 0)
        d->read(item); // so that the first entry is told of
    return item.isRead ? item.childCount() > 0 : true;
}

QVariant NodeViewModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid())
        return QVariant();
    const ViewItem& item = d->itemAt(index);
    if (role == Qt::DisplayRole)
        return item.name;
    if (!item.view)
        return nodeData(d->database, item.entry->id(), role);
    switch (role) {
    case Qt::EditRole:
        return item.view->name();
    case Qt::DecorationRole:
        return d->folderIcon;
    case eEntryIdRole:
        return d->isUnplaced(item) ? QString() : item.view->id();
    case eIsViewRole:
        return true;
    case eIsMissingRole:
    case eIsRelationDestinationRole:
        return false;
    case eNodeTypeRole:
        return int(eAnyNodeType);
    default:
        return QVariant();
    }
}

bool NodeViewModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    const tqm::smart<NodeView> view = index.isValid() ? viewAt(index) : nullptr;
    const QString name = value.toString().trimmed();
    if (role != Qt::EditRole || view.null() || name.isEmpty())
        return false;
    view->rename(name);
    return true;
}

Qt::ItemFlags NodeViewModel::flags(const QModelIndex& index) const
{
    if (!index.isValid())
        return Qt::ItemIsDropEnabled;
    const Qt::ItemFlags fixed = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    if (d->isUnplaced(d->itemAt(index)))
        return fixed;
    const Qt::ItemFlags common = fixed | Qt::ItemIsDragEnabled;
    return d->itemAt(index).view ? common | Qt::ItemIsDropEnabled | Qt::ItemIsEditable
                                 : common | Qt::ItemNeverHasChildren;
}

QHash<int, QByteArray> NodeViewModel::roleNames() const
{
    QHash<int, QByteArray> names = QAbstractItemModel::roleNames();
    names.insert({
        { eEntryIdRole, "entryId" },
        { eIsViewRole, "isView" },
        { eIsMissingRole, "isMissing" },
        { eIsRelationDestinationRole, "isRelationDestination" },
        { eNodeTypeRole, "nodeType" },
        { eAddressRole, "address" },
        { eMacRole, "mac" },
        { eModelRole, "model" },
        { eNoteRole, "note" },
    });
    return names;
}

} // namespace tq
