// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "views/nodedata_p.h"

#include "devices/ipdevicenode.h"
#include "nodestore/nodedb.h"
#include "views/viewroles.h"

#include "platform/plugincall.h"

#include <QCoreApplication>
#include <QFont>
#include <QIcon>

namespace tq {

namespace {

QVariant missingNodeData(const NodeID& id, int role)
{
    switch (role) {
    case Qt::DisplayRole:
        return id;
    case Qt::DecorationRole:
        return QIcon(QStringLiteral(":/nodeIcons/cam_ip.png")); // what a new node has
    case Qt::ToolTipRole:
        return QCoreApplication::translate(
            "tq::NodeViewModel", "Not among the known devices: its driver may be missing.");
    case Qt::FontRole: {
        QFont font;
        font.setItalic(true);
        return font;
    }
    case eIsMissingRole:
        return true;
    case eNodeTypeRole:
        return int(eAnyNodeType);
    default:
        return QVariant();
    }
}

QVariant deviceData(const Node& node, int role)
{
    const auto* const device = dynamic_cast<const IPDeviceNode*>(&node);
    if (!device)
        return QString();
    return role == eAddressRole ? device->hostAddress() : device->mac().toString();
}

QVariant knownNodeData(const Node& node, int role)
{
    switch (role) {
    case Qt::DisplayRole:
        return node.name().isEmpty() ? node.id() : node.name();
    case Qt::DecorationRole:
        return node.icon();
    case eIsMissingRole:
        return false;
    case eNodeTypeRole:
        return int(node.type());
    case eAddressRole:
    case eMacRole:
        return deviceData(node, role);
    case eModelRole:
        return node.modelInfo();
    case eNoteRole:
        return node.note();
    default:
        return QVariant();
    }
}

/** Returns the same, whatever the node throws: then nothing, and its id for its name. */
QVariant guardedData(const Node& node, const NodeID& id, int role)
{
    return callPlugin("the getters of a node", role == Qt::DisplayRole ? QVariant(id) : QVariant(),
        [&] { return knownNodeData(node, role); });
}

} // namespace

QVariant nodeData(const NodeDB* database, const NodeID& id, int role)
{
    switch (role) {
    case eEntryIdRole:
        return id;
    case eIsViewRole:
        return false;
    case eIsRelationDestinationRole:
        return database && database->isDestinationOfNodeRelation(id, eDeviceToRecordingFolder);
    default:
        break;
    }
    const tqm::smart<const Node> node = database ? database->node(id) : nullptr;
    if (node.null())
        return missingNodeData(id, role);
    return guardedData(*node, id, role);
}

QStringList searchTexts(const NodeDB* database, const NodeID& id)
{
    const tqm::smart<const Node> node = database ? database->node(id) : nullptr;
    if (node.null())
        return { id };
    const QString mac = guardedData(*node, id, eMacRole).toString();
    QStringList texts{ mac, QString(mac).remove(QLatin1Char(':')) };
    for (const int role :
        { int(Qt::DisplayRole), int(eAddressRole), int(eModelRole), int(eNoteRole) })
        texts.append(guardedData(*node, id, role).toString());
    return texts;
}

} // namespace tq
