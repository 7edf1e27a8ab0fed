// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

namespace tq {

/** One element of an XML document, without its attributes. */
struct XmlElement
{
    QString ns; ///< the URI of its namespace
    QString name; ///< without prefix
    QString text; ///< the characters directly inside, without blanks at the ends
    QList<XmlElement> children;

    /** Returns the first child of that local name, in any namespace; null when there is none. */
    const XmlElement* child(QStringView localName) const;

    /** Returns the first element of that local name below this one, at any depth and in the order
     * of the document; null when there is none. */
    const XmlElement* find(QStringView localName) const;
};

/**
 * Reads a document that a stranger sent; returns its root.
 *
 * Time and memory are bounded: nothing is returned for more than 64 KiB, 2,000 elements, 250
 * attributes of an element (counted by equals signs up to the next tag), or a depth of more than
 * 32. Nor for a document that is not well-formed or has a document type or an entity other than the
 * five built-in ones. It may be written in UTF-8 or UTF-16, with or without byte order mark, or in
 * ISO-8859-1, and must be in the encoding that it declares.
 *
 * `error`, unless null, gets a sentence of at most 200 characters, which may hold what the stranger
 * wrote; it is cleared when there is none. Thread-safe.
 */
std::optional<XmlElement> readBoundedXml(const QByteArray& document, QString* error);

} // namespace tq
