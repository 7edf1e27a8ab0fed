// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "persistence/initext_p.h"

#include "persistence/packedvalue_p.h"

#include <QLocale>
#include <QPoint>
#include <QRect>
#include <QSize>
#include <QStringList>

#include <algorithm>
#include <array>
#include <optional>

namespace tq {

namespace {

const QString k_listMark = QStringLiteral("@list");
const QString k_stringsMark = QStringLiteral("@strings");

bool isPlain(char16_t c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_'
        || c == '-' || c == '.';
}

int hexDigit(char16_t c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

/** Splits a line's text into its items and resolves quotes and escapes. */
class ItemReader
{
public:
    explicit ItemReader(const QString& text) : m_text(text) { }

    QStringList read()
    {
        const auto isSpecial = [](QChar c) {
            return c == u'\\' || c == u'"' || c == u',' || c == u';';
        };
        if (std::none_of(m_text.begin(), m_text.end(), isSpecial))
            return QStringList{ m_text };
        for (; m_at < m_text.size(); ++m_at) {
            const char16_t c = m_text[m_at].unicode();
            if (c == '\\')
                readEscape();
            else if (c == '"')
                m_inQuotes = !m_inQuotes, m_kept = m_item.size();
            else if (c == ',' && !m_inQuotes)
                endItem();
            else if (c == ';' && !m_inQuotes)
                break;
            else if ((c == ' ' || c == '\t') && !m_inQuotes)
                m_item += m_item.isEmpty() ? QString() : QString(QChar(c));
            else
                keep(c);
        }
        endItem();
        return m_items;
    }

private:
    void keep(char16_t c)
    {
        m_item += QChar(c);
        m_kept = m_item.size();
    }

    void endItem()
    {
        m_items += m_item.first(m_kept); // without the blanks at its end
        m_item.clear();
        m_kept = 0;
    }

    void readEscape()
    {
        static constexpr char16_t names[] = u"abfnrtv";
        static constexpr char16_t characters[] = u"\a\b\f\n\r\t\v";
        if (++m_at == m_text.size())
            return;
        const char16_t c = m_text[m_at].unicode();
        if (c == 'x')
            return readNumber(16, 1);
        if (c >= '0' && c <= '7')
            return readNumber(8, 0);
        const auto* name = std::find(names, names + 7, c);
        keep(name == names + 7 ? c : characters[name - names]);
    }

    void readNumber(int base, qsizetype skipped)
    {
        m_at += skipped;
        uint number = 0;
        for (; m_at < m_text.size(); ++m_at) {
            const int digit = hexDigit(m_text[m_at].unicode());
            if (digit < 0 || digit >= base)
                break;
            number = number * uint(base) + uint(digit);
        }
        --m_at;
        keep(char16_t(number));
    }

    const QString m_text;
    qsizetype m_at = 0;
    bool m_inQuotes = false;
    QString m_item;
    qsizetype m_kept = 0;
    QStringList m_items;
};

/** A text of the form "@NAME(CONTENT)", taken apart; the name is empty when it is of another. */
struct TypedText
{
    explicit TypedText(const QString& text)
    {
        const qsizetype bracket = text.indexOf(QLatin1Char('('));
        if (bracket < 0 || !text.startsWith(QLatin1Char('@')) || !text.endsWith(QLatin1Char(')')))
            return;
        name = text.sliced(1, bracket - 1);
        content = text.sliced(bracket + 1, text.size() - bracket - 2);
    }

    QString name;
    QString content;
};

std::optional<QVariant> withNumbers(const TypedText& text)
{
    const QStringList parts = text.content.split(QLatin1Char(' '));
    const auto number = [&parts](qsizetype i) { return parts[i].toInt(); };
    if (text.name == QStringLiteral("Rect") && parts.size() == 4)
        return QRect(number(0), number(1), number(2), number(3));
    if (text.name == QStringLiteral("Size") && parts.size() == 2)
        return QSize(number(0), number(1));
    if (text.name == QStringLiteral("Point") && parts.size() == 2)
        return QPoint(number(0), number(1));
    return std::nullopt;
}

/** Returns the value of a type that only files of ours name. */
std::optional<QVariant> withOurType(const TypedText& text, bool& isOk)
{
    if (text.name == QStringLiteral("uint"))
        return text.content.toUInt();
    if (text.name == QStringLiteral("int64"))
        return text.content.toLongLong();
    if (text.name == QStringLiteral("uint64"))
        return text.content.toULongLong();
    if (text.name == QStringLiteral("float"))
        return QVariant(text.content.toFloat());
    if (text.name == QStringLiteral("double"))
        return text.content.toDouble();
    if (text.name != QStringLiteral("packed"))
        return std::nullopt;
    const QByteArray packed = QByteArray::fromBase64(text.content.toLatin1());
    PackedReader in(packed.constData(), std::size_t(packed.size()));
    const QVariant result = unpackValue(in);
    isOk = isOk && in.isOk() && in.atEnd();
    return result;
}

std::optional<QVariant> withBytes(const TypedText& text, bool& isOk)
{
    if (text.name == QStringLiteral("Invalid"))
        return QVariant();
    if (text.name == QStringLiteral("String"))
        return text.content;
    if (text.name == QStringLiteral("ByteArray"))
        return text.content.toLatin1();
    const bool isDate = text.name == QStringLiteral("DateTime");
    if (!isDate && text.name != QStringLiteral("Variant"))
        return std::nullopt;
    const auto result = variantFromStream(
        text.content.toLatin1(), isDate ? QDataStream::Qt_5_6 : QDataStream::Qt_4_0);
    isOk = isOk && result.has_value();
    return result.value_or(QVariant());
}

/** Returns whether a text without a mark would be read as a number or a truth value. */
bool isBareWord(const QString& text)
{
    const QChar first = text.isEmpty() ? QChar() : text.front();
    if (first == u't' || first == u'f')
        return text == QStringLiteral("true") || text == QStringLiteral("false");
    return (first == u'-' || first.isDigit()) && text == QString::number(text.toInt());
}

QVariant itemValue(const QString& text, bool isOurs, bool& isOk)
{
    if (isOurs && isBareWord(text))
        return text.startsWith(QLatin1Char('t')) || text.startsWith(QLatin1Char('f'))
            ? QVariant(text == QStringLiteral("true"))
            : QVariant(text.toInt());
    if (!text.startsWith(QLatin1Char('@')))
        return text;
    if (text.startsWith(QStringLiteral("@@")))
        return text.sliced(1);
    const TypedText typed(text);
    std::optional<QVariant> result = withBytes(typed, isOk);
    if (!result)
        result = withNumbers(typed);
    if (!result && isOurs)
        result = withOurType(typed, isOk);
    return result.value_or(text);
}

QString packedText(const QVariant& value)
{
    std::string packed;
    packValue(packed, value);
    const QByteArray bytes = QByteArray::fromRawData(packed.data(), qsizetype(packed.size()));
    return QStringLiteral("@packed(%1)").arg(QLatin1String(bytes.toBase64()));
}

QString itemText(const QVariant& value)
{
    const auto marked = [](const char* name, const QString& content) {
        return QLatin1Char('@') + QLatin1String(name) + QLatin1Char('(') + content
            + QLatin1Char(')');
    };
    switch (value.typeId()) {
    case QMetaType::UnknownType:
        return QStringLiteral("@Invalid()");
    case QMetaType::Bool:
    case QMetaType::Int:
        return value.toString();
    case QMetaType::QString: {
        const QString text = value.toString();
        if (!text.isValidUtf16())
            return packedText(value);
        if (isBareWord(text))
            return marked("String", text);
        return text.startsWith(QLatin1Char('@')) ? QLatin1Char('@') + text : text;
    }
    case QMetaType::UInt:
        return marked("uint", value.toString());
    case QMetaType::LongLong:
        return marked("int64", value.toString());
    case QMetaType::ULongLong:
        return marked("uint64", value.toString());
    case QMetaType::Float:
        return marked("float", QString::number(double(value.toFloat()), 'g', 9));
    case QMetaType::Double:
        return marked("double", QString::number(value.toDouble(), 'g', 17));
    case QMetaType::QByteArray:
        return marked("ByteArray", QString::fromLatin1(value.toByteArray()));
    case QMetaType::QRect: {
        const QRect rect = value.toRect();
        const std::array<int, 4> sides{ rect.x(), rect.y(), rect.width(), rect.height() };
        return marked("Rect",
            QStringLiteral("%1 %2 %3 %4").arg(sides[0]).arg(sides[1]).arg(sides[2]).arg(sides[3]));
    }
    default:
        return packedText(value);
    }
}

/** Appends an item with its quotes and escapes. */
void appendItem(QByteArray& out, const QString& item)
{
    const qsizetype start = out.size();
    bool needsQuotes =
        item.startsWith(QLatin1Char(' ')) || item.endsWith(QLatin1Char(' ')) || item.isEmpty();
    bool afterNumber = false;
    for (const char c : item.toUtf8()) {
        const bool continues = afterNumber && hexDigit(uchar(c)) >= 0;
        afterNumber = false;
        if (c == '\n' || c == '\r' || c == '\t') {
            out += c == '\n' ? "\\n" : c == '\r' ? "\\r" : "\\t";
        } else if (uchar(c) < 0x20 || c == 0x7f || continues) {
            out += "\\x" + QByteArray::number(uint(uchar(c)), 16);
            afterNumber = true;
        } else {
            if (c == '"' || c == '\\')
                out += '\\';
            needsQuotes = needsQuotes || c == ';' || c == ',' || c == '=';
            out += c;
        }
    }
    if (needsQuotes) {
        out.insert(start, '"');
        out += '"';
    }
}

} // namespace

QString iniName(const QByteArray& raw)
{
    const QString text = QString::fromUtf8(raw);
    if (text == QStringLiteral("%E"))
        return QStringLiteral("");
    if (!text.contains(QLatin1Char('%')))
        return text;
    QString name;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const bool isWide = i + 1 < text.size() && text[i + 1] == QLatin1Char('U');
        const qsizetype start = i + (isWide ? 2 : 1);
        const qsizetype length = isWide ? 4 : 2;
        bool isEscape = text[i] == QLatin1Char('%') && start + length <= text.size();
        const uint unit = isEscape ? text.sliced(start, length).toUInt(&isEscape, 16) : 0;
        name += isEscape ? QChar(char16_t(unit)) : text[i];
        if (isEscape)
            i = start + length - 1;
    }
    return name;
}

QByteArray iniEscapedName(const QString& name)
{
    if (name.isEmpty())
        return QByteArrayLiteral("%E");
    const bool isNumber =
        std::all_of(name.begin(), name.end(), [](QChar c) { return c >= u'0' && c <= u'9'; });
    bool isEscaped = isNumber || name == QStringLiteral("size");
    QByteArray out;
    for (const QChar c : name) {
        const char16_t unit = c.unicode();
        if (isPlain(unit) && !isEscaped)
            out += char(unit);
        else if (unit < 0x100)
            out += '%' + QByteArray::number(unit, 16).rightJustified(2, '0').toUpper();
        else
            out += "%U" + QByteArray::number(unit, 16).rightJustified(4, '0').toUpper();
        isEscaped = false;
    }
    return out;
}

QVariant iniValue(const QByteArray& raw, bool isOurs, bool& isOk)
{
    QStringList items = ItemReader(QString::fromUtf8(raw)).read();
    const bool isMarked = isOurs && (items.first() == k_listMark || items.first() == k_stringsMark);
    if (items.size() == 1 && !isMarked)
        return itemValue(items.first(), isOurs, isOk);
    const QString mark = isMarked ? items.takeFirst() : QString();
    const auto isTyped = [](const QString& item) {
        return item.startsWith(QLatin1Char('@')) && !item.startsWith(QStringLiteral("@@"));
    };
    const bool isTexts = !isOurs && std::none_of(items.begin(), items.end(), isTyped);
    if (mark == k_stringsMark || isTexts) {
        for (QString& item : items)
            item = itemValue(item, isOurs, isOk).toString();
        return items;
    }
    QVariantList list;
    for (const QString& item : std::as_const(items))
        list += itemValue(item, isOurs, isOk);
    return list;
}

QByteArray iniText(const QVariant& value)
{
    const int type = value.typeId();
    QByteArray out;
    if (type != QMetaType::QStringList && type != QMetaType::QVariantList) {
        appendItem(out, itemText(value));
        return out;
    }
    const QVariantList list = value.toList();
    if (type == QMetaType::QStringList)
        out += k_stringsMark.toLatin1();
    else if (list.size() < 2)
        out += k_listMark.toLatin1();
    for (const QVariant& element : list) {
        if (!out.isEmpty())
            out += ", ";
        appendItem(out, itemText(element));
    }
    return out;
}

} // namespace tq
