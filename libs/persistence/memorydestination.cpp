// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "persistence/memorydestination.h"

#include "persistence/storepath_p.h"
#include "platform/logline.h"

#include <algorithm>
#include <optional>

namespace tq {

namespace {

template <class Map>
auto* child(Map& map, const typename std::remove_const_t<Map>::key_type& key)
{
    const auto it = map.find(key);
    return it == map.end() ? nullptr : &it->second;
}

} // namespace

struct MemoryDestination::Private
{
    StoreNode root;
    StorePath path;
    OpenMode mode = OpenMode::ReadWrite;
    QString error;
    /** The node that is open, as far as it is known: null means that it does not exist. */
    std::optional<StoreNode*> current;

    StoreNode* find()
    {
        if (!current) {
            current =
                path.hasEntry() ? const_cast<StoreNode*>(root.find(path.location())) : nullptr;
        }
        return *current;
    }

    StoreNode& make()
    {
        if (StoreNode* node = find())
            return *node;
        StoreNode* node = &root;
        for (const StorePath::Level& level : path.levels()) {
            if (level.isArray) {
                StoreArray& array = node->arrays[level.name];
                array.size = std::max(array.size, level.index + 1);
                node = &array.entries[level.index];
            } else {
                node = &node->groups[level.name];
            }
        }
        current = node;
        return *node;
    }
};

MemoryDestination::MemoryDestination() : MemoryDestination(OpenMode::ReadWrite) { }

MemoryDestination::MemoryDestination(OpenMode mode) : d(std::make_unique<Private>())
{
    d->mode = mode;
}

MemoryDestination::~MemoryDestination() = default;

bool MemoryDestination::mayWrite() const
{
    if (d->mode == OpenMode::ReadOnly) {
        setError(QStringLiteral("The store %1 was opened for reading only, nothing is written.")
                     .arg(location()));
        return false;
    }
    return d->path.isWritable();
}

void MemoryDestination::beginGroup(const QString& name)
{
    d->path.open(name);
    d->current.reset();
}

void MemoryDestination::endGroup()
{
    d->path.close();
    d->current.reset();
}

void MemoryDestination::beginWriteArray(const QString& name, int size)
{
    if (size > 0 && mayWrite()) {
        StoreArray& array = d->make().arrays[name];
        array.size = std::max(array.size, size);
    }
    d->path.openArray(name, true);
    d->current.reset();
}

int MemoryDestination::beginReadArray(const QString& name)
{
    StoreNode* node = d->find();
    const StoreArray* array = node ? child(node->arrays, name) : nullptr;
    d->path.openArray(name, false);
    d->current.reset();
    return array ? array->size : 0;
}

void MemoryDestination::endArray()
{
    d->path.closeArray();
    d->current.reset();
}

void MemoryDestination::setArrayIndex(int index)
{
    d->current.reset();
    if (!d->path.select(index))
        return;
    const StorePath::Level& array = d->path.levels().back();
    if (array.isWritten && array.index >= 0 && mayWrite())
        d->make();
}

void MemoryDestination::setValue(const QString& key, const QVariant& value)
{
    if (mayWrite())
        d->make().values[key] = value;
}

QVariant MemoryDestination::value(const QString& key, const QVariant& defaultValue) const
{
    StoreNode* node = d->find();
    const QVariant* found = node ? child(node->values, key) : nullptr;
    return found ? *found : defaultValue;
}

void MemoryDestination::remove(const QString& key)
{
    StoreNode* node = mayWrite() ? d->find() : nullptr;
    if (!node)
        return;
    node->values.erase(key);
    node->groups.erase(key);
    node->arrays.erase(key);
}

bool MemoryDestination::contains(const QString& key) const
{
    StoreNode* node = d->find();
    return node && node->values.contains(key);
}

void MemoryDestination::sync()
{
    d->path.closeAll();
    d->current.reset();
}

StoreNode MemoryDestination::tree(const StoreLocation& location) const
{
    const StoreNode* node = d->root.find(location);
    return node ? node->pruned() : StoreNode();
}

void MemoryDestination::copyTo(IPersistDestination& to) const
{
    writeNode(to, d->root);
}

QString MemoryDestination::location() const
{
    return QStringLiteral("memory:");
}

OpenMode MemoryDestination::openMode() const
{
    return d->mode;
}

QString MemoryDestination::errorString() const
{
    return d->error;
}

void MemoryDestination::setContent(StoreNode content)
{
    d->root = std::move(content);
    d->current.reset();
}

const StoreNode& MemoryDestination::content() const
{
    return d->root;
}

void MemoryDestination::setError(const QString& error) const
{
    d->error = error;
    if (!error.isEmpty())
        logLine(Log::eSurvived, "Store: ", error);
}

} // namespace tq
