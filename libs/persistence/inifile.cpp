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
#include <cerrno>
#include <sys/mman.h>

namespace tq {

namespace {

constexpr char k_anyVersion[] = "; nodedb store, version ";
constexpr char k_firstLine[] = "; nodedb store, version 1\n";
constexpr char k_lastLine[] = "; end of store\n";
constexpr int k_maxFindings = 20;
constexpr int k_noArray = -1;
const QString k_size = QStringLiteral("size");
/** Stands in an array's last entry when that holds nothing; no stored name is spelled so. */
const QString k_emptyEntry = QStringLiteral("%empty");

/** Returns the number of an array's entry, from 1; 0 when the name is none. */
int entryNumber(const QString& name)
{
    const int number = name.toInt();
    return number > 0 && QString::number(number) == name ? number : 0;
}

/** Returns the number of an array's last entry in a group; 0 when there is none. */
int lastEntry(const StoreNode& group)
{
    int last = 0;
    for (const auto& [name, entry] : group.groups)
        last = std::max(last, entryNumber(name));
    return last;
}

/** Copies bytes into a file in memory for QSettings to read. Returns its path, or the error. */
QString openInMemory(const QByteArray& bytes, QFile& file, QString& error)
{
    const int descriptor = ::memfd_create("nodedb", MFD_CLOEXEC);
    if (descriptor < 0 || !file.open(descriptor, QIODevice::ReadWrite, QFile::AutoCloseHandle)) {
        error = qt_error_string(errno);
        return QString();
    }
    // QSettings remembers files by their path, which comes again, and their time.
    static std::atomic<qint64> time = 0;
    const bool isWritten = file.write(bytes) == bytes.size() && file.flush()
        && file.setFileTime(QDateTime::fromSecsSinceEpoch(++time), QFile::FileModificationTime);
    const QString path = QStringLiteral("/proc/self/fd/%1").arg(descriptor);
    if (!isWritten)
        error = file.errorString();
    else if (!QFile::exists(path))
        error = QStringLiteral("there is no %1").arg(path);
    return path;
}

class Reader
{
public:
    Reader(const QSettings& settings, IniContent& content, bool isOurs)
        : m_settings(settings), m_content(content), m_isOurs(isOurs)
    {
    }

    void read(const QStringList& keys)
    {
        StoreNode groups;
        for (const QString& key : keys)
            readValue(groups, key);
        m_content.root = withArrays(groups, QString(), nullptr);
    }

    void note(const QString& key, const QString& what) { add(m_content.findings, key, what); }

private:
    static void add(QStringList& list, const QString& key, const QString& what)
    {
        if (list.size() < k_maxFindings)
            list += QStringLiteral("%1: %2").arg(key.left(100), what);
    }

    void readValue(StoreNode& root, const QString& key)
    {
        if (std::size_t(key.count(QLatin1Char('/'))) > StorePath::k_maxDepth)
            return note(key, QStringLiteral("nested too deeply"));
        const QStringList path = unmarkedName(key).split(QLatin1Char('/'));
        if (path.contains(QString()))
            return note(key, QStringLiteral("a part without a name"));
        const auto value = loadedValue(m_settings.value(key), m_isOurs);
        if (!value)
            return note(key, QStringLiteral("a damaged value"));
        StoreNode* node = &root;
        std::for_each(path.begin(), path.end() - 1,
            [&node](const QString& name) { node = &node->groups[name]; });
        node->values[path.last()] = *value;
    }

    QString plain(const QString& name) const { return m_isOurs ? loadedName(name) : name; }

    /** Returns the size of the array that has the name of a group; k_noArray when there is none. */
    int sizeOfArray(const StoreNode& group, const QString& path)
    {
        const int last = lastEntry(group);
        const auto stored = group.values.find(k_size);
        if (stored == group.values.end()) {
            if (m_isOurs && last > 0)
                note(path, QStringLiteral("an array without a size"));
            return k_noArray;
        }
        bool isNumber = false;
        const int size = stored->second.toInt(&isNumber);
        // An empty array has nothing but its size; what has more may be a group with such a value.
        if (last == 0 && !m_isOurs)
            return isNumber && size == 0 && group.values.size() == 1 && group.groups.empty()
                ? 0
                : k_noArray;
        if (!isNumber || size < 0) {
            note(path, QStringLiteral("the size %1").arg(stored->second.toString().left(100)));
            return k_noArray;
        }
        if (size == last)
            return last;
        const auto finding =
            QStringLiteral("the size %1, but the last entry is %2").arg(size).arg(last);
        // Whoever else wrote the file may have cut off what lies behind the size.
        const bool isDamage = m_isOurs && size < last;
        add(isDamage ? m_content.findings : m_content.remarks, path, finding);
        return isDamage ? last : std::min(size, last);
    }

    /** Returns a group without what belongs to the array of its name; that goes into `array`. */
    StoreNode withArrays(StoreNode& group, const QString& path, StoreArray* array)
    {
        const int size = array ? sizeOfArray(group, path) : k_noArray;
        if (size != k_noArray) {
            array->size = size;
            group.values.erase(k_size);
        }
        if (m_isOurs)
            group.values.erase(k_emptyEntry);
        StoreNode result;
        for (auto& [key, value] : group.values)
            result.values[plain(key)] = std::move(value);
        for (auto& [name, child] : group.groups) {
            const QString below = path.isEmpty() ? name : path + QLatin1Char('/') + name;
            const int number = size > 0 ? entryNumber(name) : 0;
            if (number == 0)
                placeChild(result, plain(name), below, child);
            else if (number <= array->size)
                array->entries[number - 1] = withArrays(child, below, nullptr);
        }
        return result;
    }

    void placeChild(StoreNode& parent, const QString& name, const QString& path, StoreNode& child)
    {
        StoreArray array;
        StoreNode group = withArrays(child, path, &array);
        if (array.size > 0)
            parent.arrays[name] = std::move(array);
        if (!group.isEmpty())
            parent.groups[name] = std::move(group);
    }

    const QSettings& m_settings;
    IniContent& m_content;
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
        const auto last = array.entries.find(array.size - 1);
        if (array.size > 0 && (last == array.entries.end() || last->second.isEmpty()))
            settings.setValue(start + QStringLiteral("%1/").arg(array.size) + k_emptyEntry, true);
    }
}

/** Returns the number of lines with values, without comments; -1 when the last line has no end. */
qsizetype countValues(const QByteArray& text)
{
    qsizetype count = 0;
    for (qsizetype at = 0, end = 0; at < text.size(); at = end + 1) {
        end = text.indexOf('\n', at);
        if (end < 0)
            return -1;
        const QByteArray line = text.sliced(at, end - at).trimmed();
        if (!line.isEmpty() && line[0] != '[' && line[0] != ';')
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
    else if (!isOurs && bytes.endsWith(k_lastLine))
        content.error = QStringLiteral("its first line is damaged");
    if (!content.error.isEmpty())
        return content;
    QFile file;
    QString reason;
    const QString path = openInMemory(markedStreams(bytes), file, reason);
    if (!reason.isEmpty()) {
        content.error = QStringLiteral("it cannot be read: ") + reason;
        return content;
    }
    const QSettings settings(path, QSettings::IniFormat);
    const QStringList keys = settings.allKeys();
    if (settings.status() == QSettings::AccessError)
        content.error = QStringLiteral("it cannot be read: no descriptor or no memory is left");
    else if (settings.status() != QSettings::NoError && keys.isEmpty())
        content.error = QStringLiteral("it is not an INI file");
    if (!content.error.isEmpty())
        return content;
    Reader reader(settings, content, isOurs);
    reader.read(keys);
    if (settings.status() != QSettings::NoError)
        content.findings += QStringLiteral("a line that means nothing");
    // A damaged key may have become that of another value, which it replaces.
    else if (isOurs && countValues(bytes) != keys.size())
        content.findings += QStringLiteral("keys that are there twice, or lines without their end");
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
