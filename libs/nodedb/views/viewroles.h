// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <qnamespace.h>

namespace tq {

/** What a model of views tells of a row, beside Qt's own roles. */
enum EViewRole : int {
    eEntryIdRole =
        Qt::UserRole + 1, ///< QString: the id of the node or view; empty for "Not in a view"
    eIsViewRole, ///< bool: a view or "Not in a view", not a node
    eIsMissingRole, ///< bool: a node that the database does not know
    eIsRelationDestinationRole, ///< bool: a node that a relation of type 1 leads to
    eNodeTypeRole, ///< int: the node's type; eAnyNodeType for views and missing nodes
    eAddressRole, ///< QString: an IP device's host in the active environment, else empty
    eMacRole, ///< QString: an IP device's MAC address, else empty
    eModelRole, ///< QString: what the node's model information says
    eNoteRole, ///< QString: the node's note
};

} // namespace tq
