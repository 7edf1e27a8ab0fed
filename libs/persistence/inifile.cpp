// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "persistence/inifile_p.h"

#include "persistence/initext_p.h"
#include "persistence/storepath_p.h"

#include <algorithm>
#include <limits>
#include <set>
#include <utility>

namespace tq {

namespace {

constexpr char k_firstLine[] = "; nodedb store, version 1\n";
constexpr char k_lastLine[] = "; end of store\n";
constexpr int k_maxBadLines = 20;

/** Stands for a value "size" until it is known whether it is that of an array; no name from a file
 * begins with a character 0. */
const QString k_size = QLatin1Char('\0') + QStringLiteral("size");

/** Returns the number of an array's entry, from 1; 0 when the text is none. */
int entryNumber(QByteArrayView raw)
{
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    bool isNumber = std::all_of(raw.begin(), raw.end(), isDigit);
    const int number = isNumber ? raw.toInt(&isNumber) : 0;
    return isNumber && number < std::numeric_limits<int>::max() ? number : 0;
}

class Reader
{
public:
    explicit Reader(bool isOurs) : m_isOurs(isOurs) { }

    void readAll(const QByteArray& bytes)
    {
        QByteArray line;
        for (qsizetype at = 0; at < bytes.size();) {
            qsizetype end = bytes.indexOf('\n', at);
            end = end < 0 ? bytes.size() : end;
            line += bytes.sliced(at, end - at);
            at = end + 1;
            ++m_number;
            if (line.endsWith('\r'))
                line.chop(1);
            if (isContinued(line)) {
                line.chop(1);
                continue;
            }
            readLine(line.trimmed());
            line.clear();
        }
        if (!line.isEmpty())
            readLine(line.trimmed());
        fixArrays(content.root);
    }

    IniContent content;
    bool hasValues = false;

private:
    static bool isContinued(const QByteArray& line)
    {
        qsizetype end = line.size();
        while (end > 0 && line[end - 1] == '\\')
            --end;
        return (line.size() - end) % 2 == 1;
    }

    void refuse(const char* reason)
    {
        if (content.badLines.size() < k_maxBadLines)
            content.badLines += QStringLiteral("%1: %2").arg(m_number).arg(QLatin1String(reason));
    }

    void readLine(const QByteArray& line)
    {
        if (line.isEmpty() || line.startsWith(';') || line.startsWith('#'))
            return;
        if (line.startsWith('[')) {
            const qsizetype end = line.indexOf(']');
            if (end < 0)
                return refuse("a section without its end");
            const QByteArray name = line.sliced(1, end - 1).trimmed();
            m_section.clear();
            if (name.compare("%general", Qt::CaseInsensitive) == 0)
                m_section = { name.sliced(1) };
            else if (name.compare("general", Qt::CaseInsensitive) != 0)
                m_section = splitPath(name);
            return;
        }
        const qsizetype equals = line.indexOf('=');
        if (equals < 0)
            return refuse("no value");
        const QList<QByteArray> path = m_section + splitPath(line.first(equals).trimmed());
        if (std::size_t(path.size()) > StorePath::k_maxDepth)
            return refuse("nested too deeply");
        bool isOk = true;
        const QVariant value = iniValue(line.sliced(equals + 1).trimmed(), m_isOurs, isOk);
        if (!isOk)
            return refuse("a damaged value");
        insert(path, value);
    }

    static QList<QByteArray> splitPath(QByteArray path)
    {
        if (path.contains('/'))
            path.replace('/', '\\');
        return path.split('\\');
    }

    void insert(const QList<QByteArray>& path, const QVariant& value)
    {
        StoreNode* node = &content.root;
        const qsizetype last = path.size() - 1;
        for (qsizetype i = 0; i < last; ++i) {
            const int number = i + 1 < last ? entryNumber(path[i + 1]) : 0;
            const QString name = iniName(path[i]);
            if (number > 0) {
                node = &node->arrays[name].entries[number - 1];
                ++i;
            } else {
                node = &node->groups[name];
            }
        }
        const bool isSize = last > 0 && path[last] == "size";
        node->values[isSize ? k_size : iniName(path[last])] = value;
        hasValues = true;
    }

    /** Gives arrays their sizes, and turns into groups again what has numbers but no size. */
    void fixArrays(StoreNode& node)
    {
        for (auto& [name, group] : node.groups) {
            const auto size = group.values.find(k_size);
            if (size == group.values.end())
                continue;
            if (m_isOurs || node.arrays.contains(name))
                node.arrays[name].size = std::max(size->second.toInt(), 0);
            else
                group.values[QStringLiteral("size")] = size->second;
            group.values.erase(size);
        }
        for (auto& [name, array] : node.arrays) {
            for (auto& [index, entry] : array.entries) {
                if (array.size == 0)
                    node.groups[name].groups[QString::number(index + 1)] = std::move(entry);
                else
                    fixArrays(entry);
            }
            // What lies behind the size was cut off by whoever wrote it.
            array.entries.erase(array.entries.lower_bound(array.size), array.entries.end());
        }
        std::erase_if(node.arrays, [](const auto& array) { return array.second.size == 0; });
        for (auto& group : node.groups)
            fixArrays(group.second);
    }

    bool m_isOurs;
    int m_number = 0;
    QList<QByteArray> m_section;
};

class Writer
{
public:
    void writeAll(const StoreNode& root)
    {
        out = k_firstLine;
        if (!root.values.empty())
            out += "[General]\n";
        writeValues(root);
        std::set<QString> sections;
        for (const auto& group : root.groups)
            sections.insert(group.first);
        for (const auto& array : root.arrays)
            sections.insert(array.first);
        for (const QString& name : sections) {
            const bool isGeneral =
                name.compare(QStringLiteral("general"), Qt::CaseInsensitive) == 0;
            out += '[' + (isGeneral ? '%' + name.toLatin1() : iniEscapedName(name)) + "]\n";
            if (const auto array = root.arrays.find(name); array != root.arrays.end())
                writeArray(array->second);
            if (const auto group = root.groups.find(name); group != root.groups.end())
                writeNode(group->second);
        }
        out += k_lastLine;
    }

    QByteArray out;

private:
    void writeValues(const StoreNode& node)
    {
        for (const auto& [key, value] : node.values)
            out += m_prefix + iniEscapedName(key) + '=' + iniText(value) + '\n';
    }

    void writeNode(const StoreNode& node)
    {
        writeValues(node);
        const qsizetype length = m_prefix.size();
        for (const auto& [name, array] : node.arrays) {
            m_prefix += iniEscapedName(name) + '\\';
            writeArray(array);
            m_prefix.truncate(length);
        }
        for (const auto& [name, group] : node.groups) {
            m_prefix += iniEscapedName(name) + '\\';
            writeNode(group);
            m_prefix.truncate(length);
        }
    }

    void writeArray(const StoreArray& array)
    {
        if (array.size <= 0)
            return;
        const qsizetype length = m_prefix.size();
        out += m_prefix + "size=" + QByteArray::number(array.size) + '\n';
        for (const auto& [index, entry] : array.entries) {
            m_prefix += QByteArray::number(index + 1) + '\\';
            writeNode(entry);
            m_prefix.truncate(length);
        }
    }

    QByteArray m_prefix;
};

} // namespace

IniContent readIni(const QByteArray& bytes)
{
    IniContent content;
    const bool isOurs = bytes.startsWith(k_firstLine);
    if (bytes.contains('\0')) {
        content.error = QStringLiteral("it is not a text");
    } else if (isOurs && !bytes.endsWith(k_lastLine)) {
        content.error = QStringLiteral("it was cut off, its end is missing");
    } else {
        Reader reader(isOurs);
        reader.readAll(bytes.startsWith("\xef\xbb\xbf") ? bytes.sliced(3) : bytes);
        content = std::move(reader.content);
        if (!reader.hasValues && !content.badLines.isEmpty())
            content.error = QStringLiteral("it is not an INI file");
    }
    return content;
}

QByteArray writeIni(const StoreNode& root)
{
    Writer writer;
    writer.writeAll(root.pruned());
    return writer.out;
}

} // namespace tq
