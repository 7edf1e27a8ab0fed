// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "persistence/istoretree.h"
#include "platform/testexport.h"

#include <QByteArray>
#include <QString>
#include <QVariant>

#include <functional>
#include <string>
#include <vector>

namespace tq {

class PackedReader;

/**
 * The content of one row: a tree of values, groups and arrays whose names are numbers and whose
 * values stay packed until they are asked for. It is meant to be cleared and filled again and
 * again, which costs no memory.
 *
 * Packed form: a sequence of items, closed by a 0. An item begins with the number of its name (or
 * the index of the entry) times four, plus its kind, plus one. A value follows as its length and
 * its bytes; an array as its size and its entries, up to the last; a group and an entry as their
 * items, each such sequence closed by a 0.
 */
class TQ_TEST_EXPORT PackedTree
{
public:
    /** The position of an item; it holds until clear() or unpack(). */
    using Item = quint32;
    static constexpr Item k_root = 0;
    static constexpr Item k_none = ~Item(0);

    enum EKind : quint8 { eValue, eGroup, eArray, eEntry };
    using NameOf = std::function<QString(quint32)>;
    using IsName = std::function<bool(quint32)>;

    PackedTree() { clear(); }
    void clear();

    /** Returns the child of that kind with that name (for an entry: that index); k_none when there
     * is none, or no parent. */
    Item find(Item parent, EKind kind, quint32 id) const;

    /** Returns the child of that kind and name, which is made when there is none. */
    Item make(Item parent, EKind kind, quint32 id);

    void setValue(Item parent, quint32 name, const QVariant& value);

    /** Returns the value of an item of that kind; `isOk` is cleared when it is damaged. */
    QVariant value(Item item, bool& isOk) const;

    /** Removes the value, the group and the array of that name. Returns whether there was one. */
    bool remove(Item parent, quint32 name);

    /** Returns the number of entries of an array; 0 for k_none. */
    int arraySize(Item array) const;

    bool isEmpty() const { return m_items[k_root].first == k_none; }

    /** Appends the packed form. */
    void pack(std::string& out) const;

    /** Replaces the content by a packed one. Returns false when it is damaged, which names without
     * a text are too, entries that are there twice, and arrays that do not end with their last
     * one; what could be read up to there is kept. */
    [[nodiscard]] bool unpack(const QByteArray& bytes, const IsName& isName);

    /** Returns the content as a plain tree; `isOk` is cleared when a value is damaged. */
    StoreNode node(const NameOf& nameOf, bool& isOk) const;

private:
    struct ItemData
    {
        quint32 id = 0;
        EKind kind = eGroup;
        Item first = k_none;
        Item last = k_none;
        Item next = k_none;
        mutable Item recent = k_none; ///< the child found last: clients ask in stored order
        quint32 size = 0; ///< of the value in bytes, or of the array
        std::size_t offset = 0; ///< of the value among the bytes
    };

    Item append(Item parent, EKind kind, quint32 id);
    void readBytes(Item value, PackedReader& in);
    void growArray(Item array, int size);
    void packChildren(std::string& out, Item parent) const;
    void fillNode(StoreNode& node, Item parent, const NameOf& nameOf, bool& isOk) const;

    std::vector<ItemData> m_items;
    std::string m_bytes;
};

} // namespace tq
