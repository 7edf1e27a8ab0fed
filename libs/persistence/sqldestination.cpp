// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "persistence/sqldestination.h"

#include "persistence/privatefile_p.h"
#include "persistence/sqlcursor_p.h"
#include "platform/logline.h"

#include <algorithm>

namespace tq {

struct SqlDestination::Private
{
    Private(const QString& path, OpenMode mode) : cursor(path, mode) { }

    SqlCursor cursor;
};

SqlDestination::SqlDestination(const QString& path, OpenMode mode)
    : d(std::make_unique<Private>(path, mode))
{
}

SqlDestination::~SqlDestination() = default;

std::unique_ptr<SqlDestination> SqlDestination::open(
    const QString& path, OpenMode mode, QString& error)
{
    const QString file = resolvedPath(path);
    bool exists = false;
    error = whyNoStoreAt(file, mode, exists);
    if (!error.isEmpty())
        return nullptr;
    std::unique_ptr<SqlDestination> store(new SqlDestination(file, mode));
    if (exists)
        error = store->d->cursor.tables().openExisting();
    if (!error.isEmpty())
        store.reset();
    return store;
}

void SqlDestination::beginGroup(const QString& name)
{
    d->cursor.openGroup(name);
}

void SqlDestination::endGroup()
{
    d->cursor.closeGroup();
}

void SqlDestination::beginWriteArray(const QString& name, int size)
{
    d->cursor.openArray(name, size, true);
}

int SqlDestination::beginReadArray(const QString& name)
{
    const int size = d->cursor.arraySize(name);
    d->cursor.openArray(name, -1, false);
    return size;
}

void SqlDestination::endArray()
{
    d->cursor.closeArray();
}

void SqlDestination::setArrayIndex(int index)
{
    d->cursor.select(index);
}

void SqlDestination::setValue(const QString& key, const QVariant& value)
{
    d->cursor.setValue(key, value);
}

QVariant SqlDestination::value(const QString& key, const QVariant& defaultValue) const
{
    const PackedTree* tree = nullptr;
    const PackedTree::Item item = d->cursor.find(key, tree);
    if (item == PackedTree::k_none)
        return defaultValue;
    bool isOk = true;
    const QVariant result = tree->value(item, isOk);
    if (isOk)
        return result;
    d->cursor.noteDamage();
    return defaultValue;
}

void SqlDestination::remove(const QString& key)
{
    d->cursor.remove(key);
}

bool SqlDestination::contains(const QString& key) const
{
    const PackedTree* tree = nullptr;
    return d->cursor.find(key, tree) != PackedTree::k_none;
}

void SqlDestination::sync()
{
    d->cursor.closeAll();
    if (openMode() == OpenMode::ReadOnly)
        return endReading();
    d->cursor.flush();
    d->cursor.forget();
    SqlTables& tables = d->cursor.tables();
    if (tables.commit())
        tables.clearError();
    else
        logLine(Log::eSurvived, "Store: the save failed: ", tables.error());
}

StoreNode SqlDestination::tree(const StoreLocation& location) const
{
    const auto array = std::find_if(
        location.begin(), location.end(), [](const StoreStep& step) { return step.index >= 0; });
    QStringList path;
    std::for_each(location.begin(), array, [&path](const StoreStep& step) { path += step.name; });
    if (array != location.end()) {
        path += array->name;
        const StoreNode entry = d->cursor.entry(path, array->index);
        const StoreNode* node = entry.find(StoreLocation(array + 1, location.end()));
        return node ? node->pruned() : StoreNode();
    }
    StoreNode result;
    const auto place = [&](const QStringList& names, int index, const StoreNode& node) {
        StoreNode* parent = &result;
        const qsizetype depth = names.size() - (index < 0 ? 0 : 1);
        for (qsizetype i = path.size(); i < depth; ++i)
            parent = &parent->groups[names[i]];
        if (index < 0) {
            parent->values = node.values;
        } else {
            StoreArray& entries = parent->arrays[names.last()];
            entries.size = std::max(entries.size, index + 1);
            entries.entries[index] = node;
        }
    };
    d->cursor.visitRows(path, place);
    return result.pruned();
}

void SqlDestination::copyTo(IPersistDestination& to) const
{
    const auto copy = [&to](const QStringList& names, int index, const StoreNode& node) {
        const qsizetype groups = names.size() - (index < 0 ? 0 : 1);
        for (qsizetype i = 0; i < groups; ++i)
            to.beginGroup(names[i]);
        if (index >= 0) {
            to.beginWriteArray(names.last());
            to.setArrayIndex(index);
        }
        writeNode(to, node);
        if (index >= 0)
            to.endArray();
        for (qsizetype i = 0; i < groups; ++i)
            to.endGroup();
    };
    d->cursor.visitRows(QStringList(), copy);
}

QString SqlDestination::location() const
{
    return d->cursor.tables().path();
}

OpenMode SqlDestination::openMode() const
{
    return d->cursor.mode();
}

QString SqlDestination::errorString() const
{
    return d->cursor.tables().error();
}

bool SqlDestination::isDamaged() const
{
    return d->cursor.tables().isDamaged();
}

void SqlDestination::endReading()
{
    if (d->cursor.tables().isWriting())
        return;
    d->cursor.forget();
    d->cursor.tables().endReading();
}

} // namespace tq
