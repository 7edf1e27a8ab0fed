// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "persistence/inivalue_p.h"

#include "persistence/packedvalue_p.h"

#include <QRegularExpression>
#include <QStringList>
#include <QUrl>

#include <algorithm>

namespace tq {

namespace {

/** Stands before what might start a stream: a noncharacter, which is not for use in texts. */
constexpr QChar k_mark(0xfdd0);
constexpr char k_packed[] = "packed:";
const QString k_noName = QStringLiteral("%");

bool isTruth(const QString& text)
{
    return text == QStringLiteral("true") || text == QStringLiteral("false");
}

/** Returns whether a text would come back as a truth value or a number. */
bool isBareWord(const QString& text)
{
    return isTruth(text) || text == QString::number(text.toInt());
}

bool isText(const QVariant& value)
{
    return value.typeId() == QMetaType::QString;
}

bool isList(const QVariant& value)
{
    return value.typeId() == QMetaType::QStringList || value.typeId() == QMetaType::QVariantList;
}

QByteArray packed(const QVariant& value)
{
    std::string bytes(k_packed);
    packValue(bytes, value);
    return QByteArray::fromStdString(bytes);
}

std::optional<QVariant> unpacked(const QByteArray& bytes)
{
    const qsizetype start = qstrlen(k_packed);
    PackedReader in(bytes.constData() + start, std::size_t(bytes.size() - start));
    const QVariant value = unpackValue(in);
    return in.isOk() && in.atEnd() ? std::optional(value) : std::nullopt;
}

/** Decodes a text that the mark may have kept QSettings from decoding. */
std::optional<QVariant> unmarked(QString text)
{
    const bool isMarked = text.startsWith(k_mark);
    text.remove(k_mark);
    if (!isMarked)
        return text;
    if (text.startsWith(QStringLiteral("@@")))
        return text.sliced(1);
    const qsizetype start = text.indexOf(QLatin1Char('(')) + 1;
    const QString kind = text.endsWith(QLatin1Char(')')) ? text.first(start) : QString();
    const QString content = text.sliced(start).chopped(kind.isEmpty() ? 0 : 1);
    if (kind == QStringLiteral("@String("))
        return content;
    if (kind == QStringLiteral("@ByteArray("))
        return content.toLatin1();
    if (kind == QStringLiteral("@Variant("))
        return variantFromStream(content.toLatin1(), QDataStream::Qt_4_0);
    if (kind == QStringLiteral("@DateTime("))
        return variantFromStream(content.toLatin1(), QDataStream::Qt_5_6);
    return text;
}

std::optional<QVariant> loadedItem(const QVariant& read, bool isOurs)
{
    const auto value = isText(read) ? unmarked(read.toString()) : read;
    if (!value || !isOurs)
        return value;
    const bool isBytes = value->typeId() == QMetaType::QByteArray;
    const QByteArray bytes = isBytes ? value->toByteArray() : QByteArray();
    if (bytes.startsWith(k_packed))
        return unpacked(bytes);
    const QString text = isBytes ? QString::fromLatin1(bytes) : value->toString();
    if ((!isBytes && !isText(*value)) || !isBareWord(text))
        return value;
    if (isBytes)
        return text;
    return isTruth(text) ? QVariant(text == QStringLiteral("true")) : QVariant(text.toInt());
}

QVariant storedItem(const QVariant& value)
{
    bool isPlain = true;
    switch (value.typeId()) {
    case QMetaType::UnknownType:
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::QRect:
        break;
    case QMetaType::QString:
        if (isBareWord(value.toString()))
            return value.toString().toLatin1();
        isPlain = value.toString().isValidUtf16() && !value.toString().contains(k_mark);
        break;
    case QMetaType::QByteArray:
        isPlain = !value.toByteArray().startsWith(k_packed)
            && !isBareWord(QString::fromLatin1(value.toByteArray()));
        break;
    default:
        isPlain = false;
    }
    return isPlain ? value : packed(value);
}

} // namespace

QByteArray markedStreams(const QByteArray& text)
{
    // A stream starts with "@", itself or as a number. Rectangles and the like are left alone.
    static const QRegularExpression start(
        QStringLiteral(R"(\\\\(*SKIP)(*FAIL)|(?=@(?!(Rect|Size|Point|Invalid)\()|\\[x0-7]))"));
    const QString mark = QString::fromLatin1(QString(k_mark).toUtf8());
    return QString::fromLatin1(text).replace(start, mark).toLatin1();
}

QString unmarkedName(QString name)
{
    return name.remove(k_mark);
}

QVariant storedValue(const QVariant& value)
{
    if (!isList(value))
        return storedItem(value);
    // QSettings does not tell a list of one element from the element, nor lists of texts apart.
    const QVariantList list = value.toList();
    const bool areTexts = std::all_of(list.begin(), list.end(), isText);
    if (list.size() < 2 || areTexts != (value.typeId() == QMetaType::QStringList))
        return packed(value);
    QVariantList result;
    std::transform(list.begin(), list.end(), std::back_inserter(result), storedItem);
    return result;
}

std::optional<QVariant> loadedValue(const QVariant& read, bool isOurs)
{
    if (!isList(read))
        return loadedItem(read, isOurs);
    QVariantList list;
    for (const QVariant& element : read.toList()) {
        const auto value = loadedItem(element, isOurs);
        if (!value)
            return std::nullopt;
        list += *value;
    }
    const bool areTexts = std::all_of(list.begin(), list.end(), isText);
    return areTexts ? QVariant(QVariant(list).toStringList()) : QVariant(list);
}

QString storedName(const QString& name)
{
    QByteArray result = QUrl::toPercentEncoding(name);
    const bool isReserved = name.toInt() > 0 || name == QStringLiteral("size")
        || name.compare(QStringLiteral("general"), Qt::CaseInsensitive) == 0;
    if (isReserved)
        result.replace(0, 1, '%' + result.first(1).toHex());
    return name.isEmpty() ? k_noName : QString::fromLatin1(result);
}

QString loadedName(const QString& stored)
{
    return stored == k_noName ? QString() : QUrl::fromPercentEncoding(stored.toLatin1());
}

} // namespace tq
