// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "persistence/istoretree.h"

#include <algorithm>
#include <set>

namespace tq {

StoreArray::StoreArray() = default;
StoreArray::StoreArray(const StoreArray&) = default;
StoreArray& StoreArray::operator=(const StoreArray&) = default;
StoreArray::~StoreArray() = default;

IStoreTree::~IStoreTree() = default;

const StoreNode* StoreNode::find(const StoreLocation& location) const
{
    const auto child = [](const auto& children, const auto& key) {
        const auto it = children.find(key);
        return it == children.end() ? nullptr : &it->second;
    };
    const StoreNode* node = this;
    for (const StoreStep& step : location) {
        if (step.index < 0) {
            node = child(node->groups, step.name);
        } else {
            const StoreArray* array = child(node->arrays, step.name);
            node = array ? child(array->entries, step.index) : nullptr;
        }
        if (!node)
            break;
    }
    return node;
}

bool StoreNode::isEmpty() const
{
    const auto hasEntries = [](const auto& array) { return array.second.size > 0; };
    const auto hasContent = [](const auto& group) { return !group.second.isEmpty(); };
    return values.empty() && std::none_of(arrays.begin(), arrays.end(), hasEntries)
        && std::none_of(groups.begin(), groups.end(), hasContent);
}

StoreNode StoreNode::pruned() const
{
    StoreNode result;
    result.values = values;
    for (const auto& [name, group] : groups) {
        if (!group.isEmpty())
            result.groups.emplace(name, group.pruned());
    }
    for (const auto& [name, array] : arrays) {
        if (array.size <= 0)
            continue;
        StoreArray& copy = result.arrays[name];
        copy.size = array.size;
        for (const auto& [index, entry] : array.entries) {
            if (!entry.isEmpty())
                copy.entries.emplace(index, entry.pruned());
        }
    }
    return result;
}

bool operator==(const StoreArray& a, const StoreArray& b)
{
    return a.size == b.size && a.entries == b.entries;
}

bool operator==(const StoreNode& a, const StoreNode& b)
{
    // A plain comparison of variants would take the number 1 for the text "1".
    const auto same = [](const auto& x, const auto& y) {
        return x.first == y.first && x.second.metaType() == y.second.metaType()
            && x.second == y.second;
    };
    return std::equal(a.values.begin(), a.values.end(), b.values.begin(), b.values.end(), same)
        && a.groups == b.groups && a.arrays == b.arrays;
}

void writeNode(IPersistDestination& to, const StoreNode& node)
{
    for (const auto& [key, value] : node.values)
        to.setValue(key, value);
    for (const auto& [name, array] : node.arrays) {
        to.beginWriteArray(name);
        for (const auto& [index, entry] : array.entries) {
            to.setArrayIndex(index);
            writeNode(to, entry);
        }
        if (array.size > 0 && !array.entries.contains(array.size - 1))
            to.setArrayIndex(array.size - 1);
        to.endArray();
    }
    for (const auto& [name, group] : node.groups) {
        to.beginGroup(name);
        writeNode(to, group);
        to.endGroup();
    }
}

void putNode(IPersistDestination& to, const IStoreTree& tree, const StoreLocation& location,
    const StoreNode& node)
{
    const StoreNode before = tree.tree(location);
    std::set<QString> names;
    const auto collect = [&names](const auto& children) {
        for (const auto& child : children)
            names.insert(child.first);
    };
    collect(before.values);
    collect(before.groups);
    collect(before.arrays);

    for (const StoreStep& step : location) {
        if (step.index < 0) {
            to.beginGroup(step.name);
        } else {
            to.beginWriteArray(step.name);
            to.setArrayIndex(step.index);
        }
    }
    for (const QString& name : names)
        to.remove(name);
    writeNode(to, node);
    for (auto step = location.crbegin(); step != location.crend(); ++step) {
        if (step->index < 0)
            to.endGroup();
        else
            to.endArray();
    }
}

void copyStore(const IStoreTree& from, IPersistDestination& to)
{
    from.copyTo(to);
    to.sync();
}

} // namespace tq
