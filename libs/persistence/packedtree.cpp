// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "persistence/packedtree_p.h"

#include "persistence/packedvalue_p.h"
#include "persistence/storepath_p.h"

#include <algorithm>

namespace tq {

void PackedTree::clear()
{
    m_items.assign(1, ItemData());
    m_bytes.clear();
}

PackedTree::Item PackedTree::find(Item parent, EKind kind, quint32 id) const
{
    if (parent == k_none)
        return k_none;
    const ItemData& above = m_items[parent];
    const auto isWanted = [&](Item item) {
        return item != k_none && m_items[item].id == id && m_items[item].kind == kind;
    };
    Item item = above.first;
    if (above.recent != k_none && isWanted(m_items[above.recent].next))
        item = m_items[above.recent].next;
    while (item != k_none && !isWanted(item))
        item = m_items[item].next;
    if (item != k_none)
        above.recent = item;
    return item;
}

PackedTree::Item PackedTree::append(Item parent, EKind kind, quint32 id)
{
    const Item item = Item(m_items.size());
    ItemData data;
    data.id = id;
    data.kind = kind;
    m_items.push_back(data);
    ItemData& above = m_items[parent];
    if (above.last == k_none)
        above.first = item;
    else
        m_items[above.last].next = item;
    above.last = item;
    return item;
}

PackedTree::Item PackedTree::make(Item parent, EKind kind, quint32 id)
{
    // An index beyond the array's end needs no search: entries are mostly written in order.
    const bool isNew = kind == eEntry && id >= m_items[parent].size;
    const Item found = isNew ? k_none : find(parent, kind, id);
    if (found != k_none)
        return found;
    if (kind == eEntry)
        growArray(parent, int(id) + 1);
    return append(parent, kind, id);
}

void PackedTree::setValue(Item parent, quint32 name, const QVariant& value)
{
    const Item item = make(parent, eValue, name);
    const std::size_t offset = m_bytes.size();
    packValue(m_bytes, value);
    m_items[item].offset = offset;
    m_items[item].size = quint32(m_bytes.size() - offset);
}

QVariant PackedTree::value(Item item, bool& isOk) const
{
    const ItemData& data = m_items[item];
    PackedReader in(m_bytes.data() + data.offset, data.size);
    const QVariant result = unpackValue(in);
    if (!in.isOk() || !in.atEnd())
        isOk = false;
    return result;
}

bool PackedTree::remove(Item parent, quint32 name)
{
    bool removed = false;
    Item before = k_none;
    ItemData& above = m_items[parent];
    above.recent = k_none;
    for (Item item = above.first; item != k_none; item = m_items[item].next) {
        if (m_items[item].id != name || m_items[item].kind == eEntry) {
            before = item;
            continue;
        }
        (before == k_none ? above.first : m_items[before].next) = m_items[item].next;
        removed = true;
    }
    above.last = before;
    return removed;
}

int PackedTree::arraySize(Item array) const
{
    return array == k_none ? 0 : int(m_items[array].size);
}

void PackedTree::growArray(Item array, int size)
{
    m_items[array].size = std::max(m_items[array].size, quint32(size));
}

void PackedTree::pack(std::string& out) const
{
    packChildren(out, k_root);
}

void PackedTree::packChildren(std::string& out, Item parent) const
{
    for (Item item = m_items[parent].first; item != k_none; item = m_items[item].next) {
        const ItemData& data = m_items[item];
        packNumber(out, quint64(data.id) * 4 + data.kind + 1);
        if (data.kind == eValue || data.kind == eArray)
            packNumber(out, data.size);
        if (data.kind == eValue)
            out.append(m_bytes, data.offset, data.size);
        else
            packChildren(out, item);
    }
    packNumber(out, 0);
}

bool PackedTree::unpack(const QByteArray& bytes, const IsName& isName)
{
    struct Open
    {
        Item item = k_root;
        quint64 size = 0; ///< as an array announces it
    };
    clear();
    m_bytes.assign(bytes.constData(), std::size_t(bytes.size()));
    PackedReader in(m_bytes.data(), m_bytes.size());
    std::vector<Open> open(1);
    while (!open.empty() && in.isOk()) {
        const auto [parent, size] = open.back();
        const bool inArray = m_items[parent].kind == eArray;
        const quint64 code = in.number();
        if (code == 0) {
            if (inArray && m_items[parent].size != size)
                break;
            open.pop_back();
            continue;
        }
        const auto kind = EKind((code - 1) % 4);
        const quint64 id = (code - 1) / 4;
        if (inArray != (kind == eEntry) || id > quint64(StorePath::k_maxIndex)
            || (kind != eEntry && !isName(quint32(id))) || open.size() > StorePath::k_maxDepth)
            break;
        // Entries mostly come in order, and those need no search for one of that index.
        if (inArray && id < m_items[parent].size && find(parent, eEntry, quint32(id)) != k_none)
            break;
        const Item item = append(parent, kind, quint32(id));
        if (inArray)
            growArray(parent, int(id) + 1);
        if (kind == eValue)
            readBytes(item, in);
        else
            open.push_back({ item, kind == eArray ? in.number() : 0 });
    }
    return open.empty() && in.isOk() && in.atEnd();
}

void PackedTree::readBytes(Item value, PackedReader& in)
{
    const std::size_t size = in.length();
    m_items[value].offset = std::size_t(in.position() - m_bytes.data());
    m_items[value].size = quint32(size);
    in.bytes(size);
}

StoreNode PackedTree::node(const NameOf& nameOf, bool& isOk) const
{
    StoreNode result;
    fillNode(result, k_root, nameOf, isOk);
    return result;
}

void PackedTree::fillNode(StoreNode& node, Item parent, const NameOf& nameOf, bool& isOk) const
{
    for (Item item = m_items[parent].first; item != k_none; item = m_items[item].next) {
        const ItemData& data = m_items[item];
        const QString name = nameOf(data.id);
        if (data.kind == eValue) {
            node.values.emplace(name, value(item, isOk));
        } else if (data.kind == eGroup) {
            fillNode(node.groups[name], item, nameOf, isOk);
        } else {
            StoreArray& array = node.arrays[name];
            array.size = std::max(array.size, arraySize(item));
            for (Item entry = data.first; entry != k_none; entry = m_items[entry].next)
                fillNode(array.entries[int(m_items[entry].id)], entry, nameOf, isOk);
        }
    }
}

} // namespace tq
