// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "cli/viewarguments.h"

#include <QHash>
#include <QStringList>

namespace tq::cli {

/** Knows, as of when it was made, which views each entry stands in. */
class ViewHolders
{
public:
    explicit ViewHolders(const NodeViews& views);

    /** Returns the ids of the views that the view or node with this id stands in, by what people
     * call them. */
    QStringList ids(const QString& entry) const { return said(entry, &Holder::id); }

    /** Returns what people call those views, in the same order. */
    QStringList labels(const QString& entry) const { return said(entry, &Holder::label); }

private:
    struct Holder
    {
        QString id;
        QString label;
    };

    QStringList said(const QString& entry, QString Holder::*what) const;

    QHash<QString, QList<Holder>> m_holders; ///< by the id of what they hold
};

} // namespace tq::cli
