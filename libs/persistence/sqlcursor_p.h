// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "persistence/packedtree_p.h"
#include "persistence/sqltables_p.h"
#include "persistence/storepath_p.h"

#include <QStringList>

#include <functional>
#include <string>
#include <vector>

namespace tq {

/**
 * Where a client stands in an SQL store: the open path, the row that belongs to it, and the place
 * inside that row.
 *
 * Outside arrays the row is the group's own one. The outermost array has a row per entry; whatever
 * is open inside an entry is a place in its row. A row is written when the client moves on.
 */
class SqlCursor
{
public:
    SqlCursor(const QString& path, OpenMode mode) : m_tables(path, mode), m_mode(mode) { }
    Q_DISABLE_COPY_MOVE(SqlCursor)

    void openGroup(const QString& name);
    void openArray(const QString& name, int size, bool forWriting);
    void closeGroup();
    void closeArray();
    void select(int wanted);
    void closeAll();

    /** Returns the size of the array of that name; 0 when it is absent. */
    int arraySize(const QString& name);

    /** Returns the place of a value and the tree that holds it. */
    PackedTree::Item find(const QString& key, const PackedTree*& tree);
    void setValue(const QString& key, const QVariant& value);
    void remove(const QString& key);

    /** Notes that the current row is damaged. */
    void noteDamage();

    /** Writes the rows that have changed. */
    void flush();

    /** Forgets the rows that were read: they may be others by now. */
    void forget();

    using Visit = std::function<void(const QStringList& names, int index, const StoreNode& node)>;

    /** Visits every row of the group at that path and of all below: the names from the root, the
     * index of the entry (-1 for a group's own values), the content. */
    void visitRows(const QStringList& path, const Visit& visit);

    /** Returns the content of one entry of an outermost array. */
    StoreNode entry(const QStringList& path, int index);

    SqlTables& tables() { return m_tables; }
    OpenMode mode() const { return m_mode; }

private:
    /** A row that is held, and whether it has to be written. */
    struct Row
    {
        QString path;
        int index = 0;
        PackedTree tree;
        bool isLoaded = false;
        bool isChanged = false;
    };

    /** The place of one open level inside an entry's row. */
    struct Place
    {
        PackedTree::Item array = PackedTree::k_none;
        PackedTree::Item content = PackedTree::k_none; ///< of the group, or of the current entry
    };

    bool mayWrite();
    bool isInEntry() const { return m_outermost < m_path.levels().size(); }
    Place placeOf(PackedTree::Item parent, const StorePath::Level& level) const;
    void locate();
    PackedTree::Item makeContent();
    void afterClosing();
    void load(Row& row, const QString& path, int index);
    void flush(Row& row);
    void loadEntry();
    StoreNode nodeOf(const QString& path, int index, const QByteArray& data);

    SqlTables m_tables;
    OpenMode m_mode;
    StorePath m_path;
    std::size_t m_outermost = 0; ///< the level of the outermost array; else the number of levels
    QString m_container; ///< the path of the open groups, with the outermost array
    std::vector<Place> m_places; ///< of the levels from the outermost array on
    Row m_group;
    Row m_entry;
    std::string m_packed;
    PackedTree m_visited;
    const PackedTree::IsName m_isName = [this](quint32 id) { return m_tables.hasName(id); };
};

} // namespace tq
