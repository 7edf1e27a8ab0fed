// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QDataStream>
#include <QVariant>

#include <optional>
#include <string>

namespace tq {

/** Reads packed bytes that may be damaged: nothing is read past the end, and after the first
 * failure everything is zero or empty. */
class PackedReader
{
public:
    PackedReader(const char* data, std::size_t size) : m_at(data), m_end(data + size) { }

    bool isOk() const { return m_isOk; }
    bool atEnd() const { return m_at == m_end; }
    const char* position() const { return m_at; }

    /** Returns a number as packNumber() wrote it. */
    quint64 number();

    /** Returns a number that must not exceed the bytes that are left: a length or a count. */
    std::size_t length();

    /** Returns the start of `size` bytes and steps over them; null when there are fewer. */
    const char* bytes(std::size_t size);

    char byte();
    void fail();

private:
    const char* m_at;
    const char* m_end;
    bool m_isOk = true;
};

/** Appends a number, seven bits to the byte, lowest first. */
void packNumber(std::string& out, quint64 number);

/**
 * Appends a value: one byte for its type, then its bytes. Numbers, texts, bytes, rectangles, lists
 * and maps have forms of their own; anything else goes as its data stream. What has no stream, or
 * is nested deeper than 64, becomes an invalid value.
 */
void packValue(std::string& out, const QVariant& value, int depth = 0);

/** Reads a value back with its exact type. The reader has failed when it is damaged. */
QVariant unpackValue(PackedReader& in, int depth = 0);

/**
 * Returns a variant from its data stream; nothing when it is damaged, nested deeper than 64 or of a
 * type whose stream could nest without bounds.
 */
std::optional<QVariant> variantFromStream(const QByteArray& bytes, QDataStream::Version version);

} // namespace tq
