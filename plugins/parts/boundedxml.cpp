// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "parts/boundedxml.h"

#include <QStringDecoder>
#include <QXmlStreamReader>

#include <algorithm>

namespace tq {

namespace {

constexpr qsizetype k_mostBytes = 64 * 1024;
constexpr int k_mostElements = 2000;
constexpr int k_deepest = 32;
constexpr int k_longestError = 200;
constexpr int k_mostAttributes = 250;

/** Returns whether any tag may have more attributes than is usual: the parser compares each with
 * all others. Between two opening brackets lies one tag at most. */
bool hasTooManyAttributes(const QString& text)
{
    int found = 0;
    return std::any_of(text.begin(), text.end(), [&](QChar each) {
        found = each == QLatin1Char('<') ? 0 : found + int(each == QLatin1Char('='));
        return found > k_mostAttributes;
    });
}

/** Returns the encoding that the document declares; nothing when it declares none. */
QString declaredEncoding(const QString& text)
{
    QXmlStreamReader reader(text);
    reader.readNext();
    return reader.documentEncoding().toString().toUpper();
}

/**
 * Returns the document as text; nothing when it is written otherwise than it declares. Left to
 * itself, the parser takes any decoder that a stranger names, and some of them forgive everything.
 */
QString decoded(const QByteArray& document)
{
    using Encoding = QStringConverter::Encoding;
    const auto found = QStringConverter::encodingForData(document, QLatin1Char('<').unicode());
    const Encoding encoding = found.value_or(QStringConverter::Utf8);
    QStringDecoder decoder(encoding, QStringConverter::Flag::Stateless);
    const QString text = decoder(document);
    const QString declared = declaredEncoding(text);
    QStringList allowed{ QString() };
    if (encoding == QStringConverter::Utf8)
        allowed += { QStringLiteral("UTF-8"), QStringLiteral("US-ASCII") };
    else if (encoding == QStringConverter::Utf16LE)
        allowed += { QStringLiteral("UTF-16"), QStringLiteral("UTF-16LE") };
    else if (encoding == QStringConverter::Utf16BE)
        allowed += { QStringLiteral("UTF-16"), QStringLiteral("UTF-16BE") };
    else
        return QString();
    if (!found && declared == QLatin1String("ISO-8859-1"))
        return QString::fromLatin1(document);
    const bool isSound = !decoder.hasError() && text.isValidUtf16();
    return isSound && allowed.contains(declared) ? text : QString();
}

/** Builds the tree; what it refuses becomes the reader's error. */
class TreeReader
{
public:
    explicit TreeReader(const QString& document) : m_reader(document) { }

    XmlElement read()
    {
        XmlElement root;
        while (!m_reader.atEnd()) {
            if (m_reader.readNext() == QXmlStreamReader::StartElement)
                root = readElement(1);
            else
                refuseForeign();
        }
        return root;
    }

    bool hasFailed() const { return m_reader.hasError(); }
    QString error() const { return m_reader.errorString(); }

private:
    XmlElement readElement(int depth)
    {
        XmlElement element;
        if (depth > k_deepest)
            m_reader.raiseError(QStringLiteral("The elements are nested too deep."));
        if (++m_elements > k_mostElements)
            m_reader.raiseError(QStringLiteral("There are too many elements."));
        element.ns = m_reader.namespaceUri().toString();
        element.name = m_reader.name().toString();
        while (!m_reader.atEnd()) {
            const auto token = m_reader.readNext();
            if (token == QXmlStreamReader::EndElement)
                break;
            if (token == QXmlStreamReader::StartElement)
                element.children.append(readElement(depth + 1));
            else if (token == QXmlStreamReader::Characters)
                element.text += m_reader.text();
            else
                refuseForeign();
        }
        element.text = element.text.trimmed();
        return element;
    }

    void refuseForeign()
    {
        const auto token = m_reader.tokenType();
        if (token == QXmlStreamReader::DTD)
            m_reader.raiseError(QStringLiteral("There is a document type."));
        else if (token == QXmlStreamReader::EntityReference)
            m_reader.raiseError(QStringLiteral("There is an entity."));
    }

    QXmlStreamReader m_reader;
    int m_elements = 0;
};

} // namespace

const XmlElement* XmlElement::child(QStringView localName) const
{
    for (const XmlElement& each : children) {
        if (each.name == localName)
            return &each;
    }
    return nullptr;
}

const XmlElement* XmlElement::find(QStringView localName) const
{
    for (const XmlElement& each : children) {
        if (each.name == localName)
            return &each;
        if (const XmlElement* const found = each.find(localName))
            return found;
    }
    return nullptr;
}

std::optional<XmlElement> readBoundedXml(const QByteArray& document, QString* error)
{
    QString ignored;
    QString& reason = error ? *error : ignored;
    reason.clear();
    const bool isTooLarge = document.size() > k_mostBytes;
    const QString text = isTooLarge ? QString() : decoded(document);
    if (isTooLarge)
        reason = QStringLiteral("The document is too large.");
    else if (text.isEmpty())
        reason = QStringLiteral("The document is empty or not in the encoding that it declares.");
    else if (hasTooManyAttributes(text))
        reason = QStringLiteral("There are too many attributes.");
    if (!reason.isEmpty())
        return std::nullopt;
    TreeReader reader(text);
    XmlElement root = reader.read();
    if (!reader.hasFailed())
        return root;
    reason = reader.error().left(k_longestError);
    return std::nullopt;
}

} // namespace tq
