// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "nodestore/nodetypes.h"
#include "views/nodeviewentry.h"

#include "platform/smart.h"

#include <QList>
#include <QObject>
#include <QSet>

#include <optional>

namespace tq {

/**
 * A named, ordered list of nodes and other views that a person arranged.
 *
 * A view may stand in several views, so views form a graph without cycles; each node and each view
 * stands at most once in one view. Views are owned by shared handles, those of the views that they
 * stand in among them, and have no parent object. They belong to one thread, the database's.
 *
 * Each change is announced after it was made, first by the signal that names it, then by
 * contentsChanged() of this view and of every view that it stands in. A slot may change views
 * again, and let this one go.
 */
class NODEDB_EXPORT NodeView final : public QObject, public NodeViewEntry
{
    Q_OBJECT

public:
    using Entry = tqm::smart<NodeViewEntry>;

    /** How many steps the longest way from a view down to another one may take. */
    static constexpr int k_mostLevels = 256;

    /** Makes an empty view with a new id: a UUID in braces. */
    explicit NodeView(const QString& name);

    /** Makes an empty view with an id that it had before, and that no other view has now: views are
     * told apart by their ids in stores, and only one of two would come back. */
    NodeView(const NodeViewID& id, const QString& name);

    ~NodeView() override;
    Q_DISABLE_COPY_MOVE(NodeView)

    NodeViewID id() const override;
    QString name() const;

    /** Gives the view another name, any text. The same name changes nothing. Emits renamed(). */
    void rename(const QString& name);

    /** Returns the entries in their order. */
    QList<Entry> entries() const;
    int count() const;

    /** Returns the views among the entries, in their order. */
    QList<tqm::smart<NodeView>> views() const;

    /** Returns the views that this one stands in, in no particular order; not owned. */
    QList<NodeView*> containers() const;

    /** Returns the entry with that id. Throws IllegalArgumentException "Not found in NAME.". */
    Entry find(const QString& id) const;

    /** Returns whether an entry has that id. */
    bool contains(const QString& id) const;

    /** Returns the place of the entry with that id, from 0; -1 when there is none. */
    int indexOf(const QString& id) const;

    /** Whether an entry may be inserted. */
    enum class EFit {
        eFits,
        eStandsHere, ///< an entry of that id is here
        eCycle, ///< it is this view or one that this view stands in, at whatever distance
        eTooDeep, ///< some way down would take more than k_mostLevels steps
        eNothing, ///< a null handle, or an entry without an id
    };
    EFit fit(const Entry& entry) const;

    /**
     * Inserts the entry before the one at `index`; an index beyond either end means that end.
     * Emits entryInserted().
     *
     * Throws IllegalArgumentException "Adding this view would lead to a cycle." with the id of the
     * view. Returns false, and changes nothing, for what else does not fit(); depth is logged.
     */
    bool insert(int index, const Entry& entry);

    /** Does so at the end. */
    bool append(const Entry& entry);

    /**
     * Moves the entry with that id before the one that is at `index` now; an index beyond either
     * end means that end. Emits entryMoved() unless it stands there already. Throws
     * IllegalArgumentException "Not found in NAME.".
     */
    void move(const QString& id, int index);

    /** Removes the entry with that id; a view lives on where else it stands. Emits entryRemoved().
     * Throws IllegalArgumentException "Not found in NAME.". */
    void remove(const QString& id);

signals:
    void renamed(tq::NodeViewID id);
    void entryInserted(tq::NodeViewID id, int index);

    /** The entry that was at `from` is at `to` now. */
    void entryMoved(tq::NodeViewID id, int from, int to);

    /** `entry` is the id of the entry that was at `index`. */
    void entryRemoved(tq::NodeViewID id, int index, const QString& entry);

    /** Something changed in this view or in one that stands in it, at whatever distance. */
    void contentsChanged(tq::NodeViewID id);

private:
    friend class UnplacedNodes;
    friend class ViewRestorer;

    int indexOfOrThrow(const QString& id) const;
    void place(int index, const Entry& entry);
    void removeAt(int index);
    bool standsIn(const NodeView& view) const;
    void forgetViews(const Entry& entry);
    void announceContents();

    NodeViewID m_id;
    QString m_name;
    QList<Entry> m_entries;
    QSet<QString> m_ids; ///< of the entries
    mutable std::optional<QList<tqm::smart<NodeView>>> m_views; ///< among them, once asked for
    QList<NodeView*> m_containers;
};

} // namespace tq
