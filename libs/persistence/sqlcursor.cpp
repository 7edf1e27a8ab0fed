// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "persistence/sqlcursor_p.h"

#include "platform/logline.h"

#include <algorithm>

namespace tq {

namespace {

QString pathPart(QString name)
{
    return QLatin1Char('/')
        + name.replace(QLatin1Char('%'), QStringLiteral("%25"))
              .replace(QLatin1Char('/'), QStringLiteral("%2F"));
}

QString joined(const QStringList& names)
{
    QString result;
    for (const QString& name : names)
        result += pathPart(name);
    return result;
}

QStringList split(const QString& path)
{
    if (path.isEmpty())
        return QStringList();
    QStringList names = path.mid(1).split(QLatin1Char('/'));
    for (QString& name : names)
        name.replace(QStringLiteral("%2F"), QStringLiteral("/"))
            .replace(QStringLiteral("%25"), QStringLiteral("%"));
    return names;
}

} // namespace

bool SqlCursor::mayWrite()
{
    if (m_mode == OpenMode::ReadOnly) {
        m_tables.fail(
            QStringLiteral("The store %1 was opened for reading only, nothing is written.")
                .arg(m_tables.path()));
        return false;
    }
    if (!m_path.isWritable())
        return false;
    if (m_tables.isWriting())
        return true;
    if (!m_tables.write())
        return false;
    // What was read before may have been changed by others until now.
    forget();
    locate();
    return true;
}

SqlCursor::Place SqlCursor::placeOf(PackedTree::Item parent, const StorePath::Level& level) const
{
    Place place;
    const quint32 name = m_tables.nameId(level.name);
    if (!level.isArray) {
        place.content = m_entry.tree.find(parent, PackedTree::eGroup, name);
    } else {
        place.array = m_entry.tree.find(parent, PackedTree::eArray, name);
        if (level.index >= 0)
            place.content =
                m_entry.tree.find(place.array, PackedTree::eEntry, quint32(level.index));
    }
    return place;
}

void SqlCursor::loadEntry()
{
    const int index = m_path.levels()[m_outermost].index;
    Place place;
    if (index >= 0) {
        load(m_entry, m_container, index);
        place.content = PackedTree::k_root;
    }
    m_places.assign(1, place);
}

void SqlCursor::locate()
{
    m_places.clear();
    if (!isInEntry())
        return;
    loadEntry();
    for (std::size_t i = m_outermost + 1; i < m_path.levels().size(); ++i)
        m_places.push_back(placeOf(m_places.back().content, m_path.levels()[i]));
}

PackedTree::Item SqlCursor::makeContent()
{
    if (m_places.back().content != PackedTree::k_none)
        return m_places.back().content;
    for (std::size_t i = 1; i < m_places.size(); ++i) {
        Place& place = m_places[i];
        if (place.content != PackedTree::k_none)
            continue;
        const StorePath::Level& level = m_path.levels()[m_outermost + i];
        const PackedTree::Item parent = m_places[i - 1].content;
        const quint32 name = m_tables.makeNameId(level.name);
        if (!level.isArray) {
            place.content = m_entry.tree.make(parent, PackedTree::eGroup, name);
        } else {
            place.array = m_entry.tree.make(parent, PackedTree::eArray, name);
            place.content =
                m_entry.tree.make(place.array, PackedTree::eEntry, quint32(level.index));
        }
    }
    m_entry.isChanged = true;
    return m_places.back().content;
}

void SqlCursor::openGroup(const QString& name)
{
    m_path.open(name);
    if (m_outermost + 1 < m_path.levels().size()) {
        m_places.push_back(placeOf(m_places.back().content, m_path.levels().back()));
    } else {
        m_outermost = m_path.levels().size();
        m_container += pathPart(name);
    }
}

void SqlCursor::openArray(const QString& name, int size, bool forWriting)
{
    const bool isSized = size > 0 && mayWrite();
    if (isSized && isInEntry()) {
        const PackedTree::Item parent = makeContent();
        const quint32 id = m_tables.makeNameId(name);
        const PackedTree::Item array = m_entry.tree.make(parent, PackedTree::eArray, id);
        if (size > m_entry.tree.arraySize(array))
            m_entry.tree.make(array, PackedTree::eEntry, quint32(size - 1));
        m_entry.isChanged = true;
    }
    m_path.openArray(name, forWriting);
    if (m_outermost + 1 < m_path.levels().size()) {
        m_places.push_back(placeOf(m_places.back().content, m_path.levels().back()));
        return;
    }
    m_container += pathPart(name);
    m_places.assign(1, Place());
    if (!isSized)
        return;
    SqlTables::Container* container = m_tables.makeContainer(m_container);
    if (size - 1 > m_tables.highestIndex(*container)) {
        load(m_entry, m_container, size - 1);
        m_entry.isChanged = true;
    }
}

void SqlCursor::closeGroup()
{
    if (m_path.close())
        afterClosing();
}

void SqlCursor::closeArray()
{
    if (m_path.closeArray())
        afterClosing();
}

void SqlCursor::afterClosing()
{
    m_outermost = m_path.outermostArray();
    if (isInEntry()) {
        m_places.resize(m_path.levels().size() - m_outermost);
        return;
    }
    flush(m_entry);
    m_entry.isLoaded = false;
    m_places.clear();
    m_container.clear();
    for (const StorePath::Level& level : m_path.levels())
        m_container += pathPart(level.name);
}

void SqlCursor::select(int wanted)
{
    if (!m_path.select(wanted))
        return;
    const StorePath::Level& level = m_path.levels().back();
    const int index = level.index;
    m_places.resize(m_path.levels().size() - m_outermost);
    const bool isTouched = level.isWritten && index >= 0 && mayWrite();
    if (m_places.size() == 1) {
        loadEntry();
        if (isTouched) {
            const SqlTables::Container* container = m_tables.container(m_container);
            if (!container || index > container->highest)
                m_entry.isChanged = true;
        }
        return;
    }
    Place& place = m_places.back();
    place.content = index < 0 ? PackedTree::k_none
                              : m_entry.tree.find(place.array, PackedTree::eEntry, quint32(index));
    if (isTouched)
        makeContent();
}

void SqlCursor::closeAll()
{
    m_path.closeAll();
    afterClosing();
}

int SqlCursor::arraySize(const QString& name)
{
    if (isInEntry()) {
        const quint32 id = m_tables.nameId(name);
        return m_entry.tree.arraySize(
            m_entry.tree.find(m_places.back().content, PackedTree::eArray, id));
    }
    SqlTables::Container* container =
        m_tables.read() ? m_tables.container(m_container + pathPart(name)) : nullptr;
    return container ? std::max(m_tables.highestIndex(*container) + 1, 0) : 0;
}

PackedTree::Item SqlCursor::find(const QString& key, const PackedTree*& tree)
{
    PackedTree::Item parent = PackedTree::k_root;
    if (isInEntry()) {
        tree = &m_entry.tree;
        parent = m_places.back().content;
    } else {
        load(m_group, m_container, SqlTables::k_ownRow);
        tree = &m_group.tree;
    }
    return tree->find(parent, PackedTree::eValue, m_tables.nameId(key));
}

void SqlCursor::setValue(const QString& key, const QVariant& value)
{
    if (!mayWrite())
        return;
    const quint32 name = m_tables.makeNameId(key);
    if (isInEntry()) {
        m_entry.tree.setValue(makeContent(), name, value);
        m_entry.isChanged = true;
    } else {
        load(m_group, m_container, SqlTables::k_ownRow);
        m_group.tree.setValue(PackedTree::k_root, name, value);
        m_group.isChanged = true;
    }
}

void SqlCursor::remove(const QString& key)
{
    if (!mayWrite())
        return;
    const quint32 name = m_tables.nameId(key);
    if (isInEntry()) {
        const PackedTree::Item content = m_places.back().content;
        if (content != PackedTree::k_none && m_entry.tree.remove(content, name))
            m_entry.isChanged = true;
        return;
    }
    // Loading this group's row writes that of a group inside it, which may be about to go.
    load(m_group, m_container, SqlTables::k_ownRow);
    if (m_group.tree.remove(PackedTree::k_root, name))
        m_group.isChanged = true;
    m_tables.erase(m_container + pathPart(key));
}

void SqlCursor::load(Row& row, const QString& path, int index)
{
    if (row.isLoaded && row.index == index && row.path == path)
        return;
    flush(row);
    row.path = path;
    row.index = index;
    row.isLoaded = true;
    QByteArray data;
    SqlTables::Container* container = m_tables.read() ? m_tables.container(path) : nullptr;
    if (!container || !m_tables.fetch(*container, index, data))
        row.tree.clear();
    else if (!row.tree.unpack(data, m_isName))
        m_tables.noteDamage(QStringLiteral("row %1 of %2").arg(index).arg(path));
}

void SqlCursor::flush(Row& row)
{
    if (!row.isLoaded || !row.isChanged)
        return;
    row.isChanged = false;
    if (!m_tables.isWriting())
        return; // the transaction has failed
    SqlTables::Container* container = m_tables.makeContainer(row.path);
    if (row.index == SqlTables::k_ownRow && row.tree.isEmpty()) {
        m_tables.eraseRow(*container, row.index);
        return;
    }
    m_packed.clear();
    row.tree.pack(m_packed);
    m_tables.store(*container, row.index, m_packed);
}

void SqlCursor::flush()
{
    flush(m_group);
    flush(m_entry);
}

void SqlCursor::forget()
{
    m_group.isLoaded = m_group.isChanged = false;
    m_entry.isLoaded = m_entry.isChanged = false;
}

void SqlCursor::noteDamage()
{
    const Row& row = isInEntry() ? m_entry : m_group;
    m_tables.noteDamage(QStringLiteral("row %1 of %2").arg(row.index).arg(row.path));
}

StoreNode SqlCursor::nodeOf(const QString& path, int index, const QByteArray& data)
{
    bool isOk = m_visited.unpack(data, m_isName);
    const StoreNode node = m_visited.node([this](quint32 id) { return m_tables.nameOf(id); }, isOk);
    if (!isOk)
        m_tables.noteDamage(QStringLiteral("row %1 of %2").arg(index).arg(path));
    return node;
}

void SqlCursor::visitRows(const QStringList& path, const Visit& visit)
{
    flush();
    if (!m_tables.read())
        return;
    const QString root = joined(path);
    const QMap<QString, SqlTables::Container> containers = m_tables.containers();
    for (auto it = containers.lowerBound(root); it != containers.end(); ++it) {
        if (!it.key().startsWith(root))
            break;
        const bool isRoot = it.key() == root;
        if (!isRoot && !root.isEmpty() && it.key().at(root.size()) != QLatin1Char('/'))
            continue;
        const QStringList names = split(it.key());
        QByteArray data;
        int index = SqlTables::k_ownRow;
        // The entries of an array with the root's name stand beside the root, not in it.
        while (m_tables.fetchNext(*it, index, data) && (!isRoot || index < 0)) {
            visit(names, index, nodeOf(it.key(), index, data));
            ++index;
        }
    }
}

StoreNode SqlCursor::entry(const QStringList& path, int index)
{
    flush();
    const QString name = joined(path);
    SqlTables::Container* container = m_tables.read() ? m_tables.container(name) : nullptr;
    QByteArray data;
    if (!container || !m_tables.fetch(*container, index, data))
        return StoreNode();
    return nodeOf(name, index, data);
}

} // namespace tq
