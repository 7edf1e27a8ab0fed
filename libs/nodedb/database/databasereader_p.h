// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodestore/nodedb.h"

#include <QPointer>

namespace tq {

class DriverTable;

/** Reads nodes and relations back through the database's public operations, without a lock of its
 * own. */
class DatabaseReader
{
public:
    DatabaseReader(NodeDB& db, const DriverTable& drivers, IPersistDestination* source)
        : m_db(&db), m_drivers(drivers), m_source(source)
    {
    }

    /** Makes and inserts the stored nodes. Entries without driver or id are logged and left out. */
    void readNodes();
    void readRelations();

    int nodeCount() const { return m_nodeCount; }
    int relationCount() const { return m_relationCount; }

private:
    bool readNode(int index);
    bool load(Node& node, ENodeType type, int index);

    QPointer<NodeDB>
        m_db; // a slot may end the database between two entries; the rest is passed over then
    const DriverTable& m_drivers; ///< of that database
    IPersistDestination* m_source;
    int m_nodeCount = 0;
    int m_relationCount = 0;
};

} // namespace tq
