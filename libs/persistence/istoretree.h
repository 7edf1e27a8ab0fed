// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "persistence/persistence_export.h"
#include "platform/persistdestination.h"

#include <QList>
#include <QString>
#include <QVariant>

#include <map>

namespace tq {

struct StoreNode;

/** One step into a store: a group, or one entry of an array. */
struct StoreStep
{
    QString name;
    int index = -1; ///< of the entry, from 0; -1 for a group
};

/** The way from the root of a store to a group or to an array's entry. */
using StoreLocation = QList<StoreStep>;

/** An array of a store: its size, and those entries that hold something. */
struct PERSISTENCE_EXPORT StoreArray
{
    StoreArray();
    StoreArray(const StoreArray&);
    StoreArray& operator=(const StoreArray&);
    ~StoreArray();

    /** At least one more than the highest key of `entries`. */
    int size = 0;

    /** The entries by index, from 0; an index without an entry is an entry without content. */
    std::map<int, StoreNode> entries;
};

/**
 * The content of a group or of an array's entry: a plain value, copies are independent.
 *
 * Children are in order of their names. One name may stand for a value, a group and an array at
 * once. Names are taken as they are: a slash in one means nothing.
 */
struct PERSISTENCE_EXPORT StoreNode
{
    std::map<QString, QVariant> values;
    std::map<QString, StoreNode> groups;
    std::map<QString, StoreArray> arrays;

    /** Returns what stands at `location` below this node; null when there is nothing. */
    const StoreNode* find(const StoreLocation& location) const;

    /** Returns whether there is no value and no entry anywhere below. */
    bool isEmpty() const;

    /** Returns a copy without groups and array entries that are empty (an array keeps its size).
     */
    StoreNode pruned() const;
};

/** Returns whether both hold the same names, types and values. */
PERSISTENCE_EXPORT bool operator==(const StoreNode& a, const StoreNode& b);
PERSISTENCE_EXPORT bool operator==(const StoreArray& a, const StoreArray& b);

/** The raw content of a store, whoever wrote it: for converting, and for carrying over what no
 * driver can read. */
class PERSISTENCE_EXPORT IStoreTree
{
public:
    IStoreTree() = default;
    IStoreTree(const IStoreTree&) = delete;
    IStoreTree& operator=(const IStoreTree&) = delete;
    virtual ~IStoreTree();

    /**
     * Returns what stands at `location`, counted from the root whatever is open, with everything
     * written so far; an empty node when there is nothing. The whole subtree is held in memory:
     * take a big array entry by entry.
     */
    virtual StoreNode tree(const StoreLocation& location = StoreLocation()) const = 0;

    /** Writes the whole content into `to`, entry by entry, without calling its sync(). */
    virtual void copyTo(IPersistDestination& to) const = 0;
};

/** Writes `node` into `to`, below whatever is open there, over what is there. */
PERSISTENCE_EXPORT void writeNode(IPersistDestination& to, const StoreNode& node);

/**
 * Makes `node` the whole content of `location`; what stood there and is not in it goes. `to` and
 * `tree` are two faces of one store, in which nothing is open.
 */
PERSISTENCE_EXPORT void putNode(IPersistDestination& to, const IStoreTree& tree,
    const StoreLocation& location, const StoreNode& node);

/**
 * Makes `to` hold what `from` holds and calls its sync(). Groups and arrays of `to` that `from`
 * does not have stay: give it an empty store.
 */
PERSISTENCE_EXPORT void copyStore(const IStoreTree& from, IPersistDestination& to);

} // namespace tq
