// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "persistence/packedvalue_p.h"

#include <QIODevice>
#include <QRect>
#include <QStringList>
#include <QtEndian>

#include <algorithm>
#include <cstring>
#include <limits>

namespace tq {

namespace {

constexpr int k_maxDepth = 64;
constexpr auto k_streamVersion = QDataStream::Qt_6_0;

// The bytes that name the types; they are part of the stored format.
enum ETag : char {
    eInvalid = '0',
    eTrue = 't',
    eFalse = 'f',
    eInt = 'i',
    eUInt = 'u',
    eLongLong = 'I',
    eULongLong = 'U',
    eFloat = 'F',
    eDouble = 'D',
    eLatin1 = 'a',
    eUtf16 = 'w',
    eBytes = 'b',
    eRect = 'r',
    eStringList = 'S',
    eList = 'L',
    eMap = 'm',
    eHash = 'h',
    eStream = 'v',
};

/** Returns small numbers of either sign as small ones without. */
quint64 folded(qint64 value)
{
    return (quint64(value) << 1) ^ quint64(value >> 63);
}

qint64 unfolded(quint64 value)
{
    return qint64(value >> 1) ^ -qint64(value & 1);
}

/** Reads a folded number that has to be an int. */
int unpackInt(PackedReader& in)
{
    const quint64 value = in.number();
    if (value > std::numeric_limits<quint32>::max())
        in.fail();
    return in.isOk() ? int(unfolded(value)) : 0;
}

uint unpackUInt(PackedReader& in)
{
    const quint64 value = in.number();
    if (value > std::numeric_limits<quint32>::max())
        in.fail();
    return in.isOk() ? uint(value) : 0;
}

template <class T>
const T& held(const QVariant& value)
{
    return *static_cast<const T*>(value.constData());
}

void packBytes(std::string& out, const char* data, qsizetype size)
{
    packNumber(out, quint64(size));
    out.append(data, std::size_t(size));
}

void packString(std::string& out, const QString& text)
{
    const auto isWide = [](QChar c) { return c.unicode() > 0xff; };
    const bool wide = std::any_of(text.begin(), text.end(), isWide);
    const qsizetype size = wide ? text.size() * 2 : text.size();
    out += wide ? eUtf16 : eLatin1;
    packNumber(out, quint64(size));
    const std::size_t start = out.size();
    out.resize(start + std::size_t(size));
    if (wide)
        qToLittleEndian<char16_t>(text.utf16(), text.size(), out.data() + start);
    else
        std::transform(text.begin(), text.end(), out.begin() + std::ptrdiff_t(start),
            [](QChar c) { return char(c.unicode()); });
}

QString unpackString(PackedReader& in, char tag)
{
    const std::size_t size = in.length();
    const char* data = in.bytes(size);
    if (tag == eLatin1)
        return QString::fromLatin1(data, qsizetype(size));
    if (tag != eUtf16 || size % 2 != 0) {
        in.fail();
        return QString();
    }
    QString text(qsizetype(size / 2), Qt::Uninitialized);
    qFromLittleEndian<char16_t>(data, text.size(), text.data());
    return text;
}

template <class T>
void packRaw(std::string& out, T value)
{
    char bytes[sizeof(T)];
    qToLittleEndian(value, bytes);
    out.append(bytes, sizeof(T));
}

template <class T>
T unpackRaw(PackedReader& in)
{
    const char* data = in.bytes(sizeof(T));
    return data ? qFromLittleEndian<T>(data) : T();
}

template <class Map>
void packMap(std::string& out, const Map& map, int depth)
{
    packNumber(out, quint64(map.size()));
    for (auto it = map.begin(); it != map.end(); ++it) {
        packString(out, it.key());
        packValue(out, it.value(), depth + 1);
    }
}

template <class Map>
QVariant unpackMap(PackedReader& in, int depth)
{
    Map map;
    for (std::size_t left = in.length(); left > 0 && in.isOk(); --left) {
        const QString key = unpackString(in, in.byte());
        map.insert(key, unpackValue(in, depth + 1));
    }
    return map;
}

void packRect(std::string& out, const QRect& rect)
{
    for (const int side : { rect.left(), rect.top(), rect.right(), rect.bottom() })
        packNumber(out, folded(side));
}

QRect unpackRect(PackedReader& in)
{
    int sides[4];
    for (int& side : sides)
        side = unpackInt(in);
    QRect rect;
    rect.setCoords(sides[0], sides[1], sides[2], sides[3]);
    return rect;
}

void packStream(std::string& out, const QVariant& value)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(k_streamVersion);
    stream << value;
    if (!variantFromStream(bytes, k_streamVersion)) {
        out += eInvalid;
        return;
    }
    out += eStream;
    packBytes(out, bytes.constData(), bytes.size());
}

void packContainer(std::string& out, const QVariant& value, int depth)
{
    switch (value.typeId()) {
    case QMetaType::QStringList:
        out += eStringList;
        packNumber(out, quint64(held<QStringList>(value).size()));
        for (const QString& text : held<QStringList>(value))
            packString(out, text);
        break;
    case QMetaType::QVariantList:
        out += eList;
        packNumber(out, quint64(held<QVariantList>(value).size()));
        for (const QVariant& element : held<QVariantList>(value))
            packValue(out, element, depth + 1);
        break;
    case QMetaType::QVariantMap:
        out += eMap;
        packMap(out, held<QVariantMap>(value), depth);
        break;
    case QMetaType::QVariantHash:
        out += eHash;
        packMap(out, held<QVariantHash>(value), depth);
        break;
    default:
        packStream(out, value);
    }
}

QVariant unpackContainer(PackedReader& in, char tag, int depth)
{
    if (tag == eMap)
        return unpackMap<QVariantMap>(in, depth);
    if (tag == eHash)
        return unpackMap<QVariantHash>(in, depth);
    std::size_t left = in.length();
    if (tag == eStringList) {
        QStringList list;
        for (; left > 0 && in.isOk(); --left)
            list.append(unpackString(in, in.byte()));
        return list;
    }
    if (tag == eList) {
        QVariantList list;
        for (; left > 0 && in.isOk(); --left)
            list.append(unpackValue(in, depth + 1));
        return list;
    }
    const char* data = in.bytes(left);
    const auto value = tag == eStream && data
        ? variantFromStream(QByteArray::fromRawData(data, qsizetype(left)), k_streamVersion)
        : std::nullopt;
    if (!value)
        in.fail();
    return value.value_or(QVariant());
}

/** Returns whether the stream of a type cannot hold further variants. The numbers are those of the
 * library's own types, of today and of its older releases. */
bool isFlat(quint32 type)
{
    if (type == QMetaType::QVariant || type == QMetaType::QVariantHash)
        return false;
    return type <= 86 || (type >= 128 && type <= 135)
        || (type >= 4096 && type < 65536 && QMetaType::isRegistered(int(type)));
}

/** Reads one variant; lists and maps element by element, so that their depth is bounded. */
QVariant readVariant(QDataStream& in, int depth)
{
    QVariant result;
    const QByteArray head = in.device()->peek(4);
    const quint32 type = head.size() == 4 ? qFromBigEndian<quint32>(head.constData()) : 0;
    const bool isMap = type == QMetaType::QVariantMap;
    if (depth > k_maxDepth || head.size() != 4 || !isFlat(type)) {
        in.setStatus(QDataStream::ReadCorruptData);
    } else if (!isMap && type != QMetaType::QVariantList) {
        in >> result;
    } else {
        in.skipRawData(in.version() >= QDataStream::Qt_4_2 ? 5 : 4);
        quint32 left = 0;
        QVariantList list;
        QVariantMap map;
        for (in >> left; left > 0 && in.status() == QDataStream::Ok; --left) {
            QString key;
            if (isMap)
                in >> key;
            const QVariant element = readVariant(in, depth + 1);
            if (isMap)
                map.insert(key, element);
            else
                list.append(element);
        }
        result = isMap ? QVariant(map) : QVariant(list);
    }
    return result;
}

} // namespace

quint64 PackedReader::number()
{
    quint64 result = 0;
    for (int shift = 0; shift < 64; shift += 7) {
        const quint8 next = quint8(byte());
        if (shift == 63 && next > 1)
            break; // more than 64 bits
        result |= quint64(next & 0x7f) << shift;
        if (next < 0x80)
            return result;
    }
    fail();
    return 0;
}

std::size_t PackedReader::length()
{
    const quint64 result = number();
    if (result <= quint64(m_end - m_at))
        return std::size_t(result);
    fail();
    return 0;
}

const char* PackedReader::bytes(std::size_t size)
{
    if (size > std::size_t(m_end - m_at)) {
        fail();
        return nullptr;
    }
    const char* result = m_at;
    m_at += size;
    return result;
}

char PackedReader::byte()
{
    const char* data = bytes(1);
    return data ? *data : '\0';
}

void PackedReader::fail()
{
    m_isOk = false;
    m_at = m_end;
}

void packNumber(std::string& out, quint64 number)
{
    for (; number >= 0x80; number >>= 7)
        out += char(number | 0x80);
    out += char(number);
}

void packValue(std::string& out, const QVariant& value, int depth)
{
    const int type = depth > k_maxDepth ? int(QMetaType::UnknownType) : value.typeId();
    switch (type) {
    case QMetaType::UnknownType:
        out += eInvalid;
        break;
    case QMetaType::Bool:
        out += value.toBool() ? eTrue : eFalse;
        break;
    case QMetaType::Int:
        out += eInt;
        packNumber(out, folded(value.toInt()));
        break;
    case QMetaType::UInt:
        out += eUInt;
        packNumber(out, value.toUInt());
        break;
    case QMetaType::LongLong:
        out += eLongLong;
        packNumber(out, folded(value.toLongLong()));
        break;
    case QMetaType::ULongLong:
        out += eULongLong;
        packNumber(out, value.toULongLong());
        break;
    case QMetaType::Float:
        out += eFloat;
        packRaw(out, held<float>(value));
        break;
    case QMetaType::Double:
        out += eDouble;
        packRaw(out, held<double>(value));
        break;
    case QMetaType::QString:
        packString(out, held<QString>(value));
        break;
    case QMetaType::QByteArray:
        out += eBytes;
        packBytes(out, held<QByteArray>(value).constData(), held<QByteArray>(value).size());
        break;
    case QMetaType::QRect:
        out += eRect;
        packRect(out, held<QRect>(value));
        break;
    default:
        packContainer(out, value, depth);
    }
}

QVariant unpackValue(PackedReader& in, int depth)
{
    if (depth > k_maxDepth) {
        in.fail();
        return QVariant();
    }
    const char tag = in.byte();
    switch (tag) {
    case eInvalid:
        return QVariant();
    case eTrue:
    case eFalse:
        return tag == eTrue;
    case eInt:
        return unpackInt(in);
    case eUInt:
        return unpackUInt(in);
    case eLongLong:
        return qlonglong(unfolded(in.number()));
    case eULongLong:
        return qulonglong(in.number());
    case eFloat:
        return QVariant(unpackRaw<float>(in));
    case eDouble:
        return unpackRaw<double>(in);
    case eLatin1:
    case eUtf16:
        return unpackString(in, tag);
    case eRect:
        return unpackRect(in);
    case eBytes: {
        const std::size_t size = in.length();
        return QByteArray(in.bytes(size), qsizetype(size));
    }
    default:
        return unpackContainer(in, tag, depth);
    }
}

std::optional<QVariant> variantFromStream(const QByteArray& bytes, QDataStream::Version version)
{
    QDataStream stream(bytes);
    stream.setVersion(version);
    const QVariant result = readVariant(stream, 0);
    if (stream.status() != QDataStream::Ok)
        return std::nullopt;
    return result;
}

} // namespace tq
