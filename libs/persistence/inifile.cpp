// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "persistence/inifile_p.h"

#include "persistence/inivalue_p.h"
#include "persistence/storepath_p.h"

#include <QDateTime>
#include <QFile>
#include <QSettings>

#include <algorithm>
#include <atomic>
#include <sys/mman.h>

namespace tq {

namespace {

constexpr char k_anyVersion[] = "; nodedb store, version ";
constexpr char k_firstLine[] = "; nodedb store, version 1\n";
constexpr char k_lastLine[] = "; end of store\n";
constexpr int k_maxFindings = 20;
const QString k_size = QStringLiteral("size");

/** Returns the number of an array's entry, from 1; 0 when the name is none. */
int entryNumber(const QString& name)
{
    const int number = name.toInt();
    return number > 0 && QString::number(number) == name ? number : 0;
}

/** Copies bytes into a file in memory for QSettings to read. Returns its path, empty on failure. */
QString openInMemory(const QByteArray& bytes, QFile& file)
{
    const int descriptor = ::memfd_create("nodedb", MFD_CLOEXEC);
    if (descriptor < 0 || !file.open(descriptor, QIODevice::ReadWrite, QFile::AutoCloseHandle))
        return QString();
    // QSettings remembers files by their path, which comes again, and their time.
    static std::atomic<qint64> time = 0;
    const bool isWritten = file.write(bytes) == bytes.size() && file.flush()
        && file.setFileTime(QDateTime::fromSecsSinceEpoch(++time), QFile::FileModificationTime);
    const QString path = QStringLiteral("/proc/self/fd/%1").arg(descriptor);
    return isWritten && QFile::exists(path) ? path : QString();
}

class Reader
{
public:
    Reader(const QSettings& settings, bool isOurs) : m_settings(settings), m_isOurs(isOurs) { }

    StoreNode read()
    {
        StoreNode groups;
        const QStringList keys = m_settings.allKeys();
        for (const QString& key : keys)
            readValue(groups, key);
        return withArrays(groups, nullptr);
    }

    QStringList findings;

private:
    void note(const QString& key, const char* what)
    {
        if (findings.size() < k_maxFindings)
            findings += QStringLiteral("%1: %2").arg(key.left(100), QLatin1String(what));
    }

    void readValue(StoreNode& root, const QString& key)
    {
        if (std::size_t(key.count(QLatin1Char('/'))) > StorePath::k_maxDepth)
            return note(key, "nested too deeply");
        const QStringList path = unmarkedName(key).split(QLatin1Char('/'));
        if (path.contains(QString()))
            return note(key, "a part without a name");
        const auto value = loadedValue(m_settings.value(key), m_isOurs);
        if (!value)
            return note(key, "a damaged value");
        StoreNode* node = &root;
        std::for_each(path.begin(), path.end() - 1,
            [&node](const QString& name) { node = &node->groups[name]; });
        node->values[path.last()] = *value;
    }

    QString plain(const QString& name) const { return m_isOurs ? loadedName(name) : name; }

    /** Returns a group without what belongs to the array of its name; that goes into `array`. What
     * lies behind the size was cut off by whoever wrote it. */
    StoreNode withArrays(StoreNode& group, StoreArray* array) const
    {
        const auto isEntry = [](const auto& child) { return entryNumber(child.first) > 0; };
        const auto size = group.values.find(k_size);
        const bool isArray = array && size != group.values.end()
            && (m_isOurs || std::any_of(group.groups.begin(), group.groups.end(), isEntry));
        if (isArray) {
            array->size = std::max(size->second.toInt(), 0);
            group.values.erase(size);
        }
        StoreNode result;
        for (auto& [key, value] : group.values)
            result.values[plain(key)] = std::move(value);
        for (auto& [name, child] : group.groups) {
            const int number = isArray && array->size > 0 ? entryNumber(name) : 0;
            if (number == 0)
                placeChild(result, plain(name), child);
            else if (number <= array->size)
                array->entries[number - 1] = withArrays(child, nullptr);
        }
        return result;
    }

    void placeChild(StoreNode& parent, const QString& name, StoreNode& child) const
    {
        StoreArray array;
        StoreNode group = withArrays(child, &array);
        if (array.size > 0)
            parent.arrays[name] = std::move(array);
        if (!group.isEmpty())
            parent.groups[name] = std::move(group);
    }

    const QSettings& m_settings;
    bool m_isOurs;
};

void writeNode(QSettings& settings, const StoreNode& node, const QString& prefix)
{
    for (const auto& [key, value] : node.values)
        settings.setValue(prefix + storedName(key), storedValue(value));
    for (const auto& [name, group] : node.groups)
        writeNode(settings, group, prefix + storedName(name) + QLatin1Char('/'));
    for (const auto& [name, array] : node.arrays) {
        const QString start = prefix + storedName(name) + QLatin1Char('/');
        if (array.size > 0)
            settings.setValue(start + k_size, array.size);
        for (const auto& [index, entry] : array.entries)
            writeNode(settings, entry, start + QStringLiteral("%1/").arg(index + 1));
    }
}

/** Returns the number of lines with values; -1 when the last line has no end. */
qsizetype countValues(const QByteArray& text)
{
    qsizetype count = 0;
    for (qsizetype at = 0, end = 0; at < text.size(); at = end + 1) {
        end = text.indexOf('\n', at);
        if (end < 0)
            return -1;
        if (end > at && text[at] != '[')
            ++count;
    }
    return count;
}

} // namespace

IniContent readIni(const QByteArray& bytes)
{
    IniContent content;
    const bool isOurs = bytes.startsWith(k_firstLine);
    if (bytes.contains('\0'))
        content.error = QStringLiteral("it is not a text");
    else if (!isOurs && bytes.startsWith(k_anyVersion))
        content.error = QStringLiteral("this program does not know its version");
    else if (isOurs && !bytes.endsWith(k_lastLine))
        content.error = QStringLiteral("it was cut off, its end is missing");
    if (!content.error.isEmpty())
        return content;
    QFile file;
    const QString path = openInMemory(markedStreams(bytes), file);
    if (path.isEmpty()) {
        content.error = QStringLiteral("there is no memory to read it");
        return content;
    }
    const QSettings settings(path, QSettings::IniFormat);
    Reader reader(settings, isOurs);
    content.root = reader.read();
    content.findings = reader.findings;
    if (settings.status() != QSettings::NoError) {
        content.findings += QStringLiteral("a line that means nothing");
        if (settings.allKeys().isEmpty())
            content.error = QStringLiteral("it is not an INI file");
    }
    return content;
}

bool writeIni(const StoreNode& root, const QString& file)
{
    qsizetype values = 0;
    {
        QSettings settings(file, QSettings::IniFormat);
        writeNode(settings, root, QString());
        values = settings.allKeys().size();
        settings.sync();
        if (settings.status() != QSettings::NoError)
            return false;
    }
    QFile written(file);
    if (!written.open(QIODevice::ReadWrite))
        return false;
    const QByteArray text = written.readAll();
    // On a full disk QSettings keeps what fits and reports no error.
    if (written.error() != QFile::NoError || countValues(text) != values)
        return false;
    const QByteArray whole = k_firstLine + text + k_lastLine;
    return written.seek(0) && written.write(whole) == whole.size() && written.flush();
}

} // namespace tq
