// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "labdevice/soap.h"

#include <QXmlStreamReader>
#include <QXmlStreamWriter>

namespace lab {

namespace {

const qsizetype k_deepest = 64;

/** Walks through a message and keeps what matters. */
class SoapReader
{
public:
    explicit SoapReader(const QByteArray& bytes) : m_xml(bytes) { }

    std::optional<SoapMessage> read();

private:
    struct Level
    {
        QString name;
        QXmlStreamNamespaceDeclarations declared;
    };

    bool enter();
    void leave();
    std::pair<QString, QString> resolved(const QString& qualified) const;

    QXmlStreamReader m_xml;
    QList<Level> m_levels;
    QString m_text;
    SoapMessage m_message;
};

bool SoapReader::enter()
{
    if (m_levels.isEmpty()
        && (m_xml.namespaceUri() != ns::soap || m_xml.name() != QLatin1String("Envelope")))
        return false;
    m_levels.append({ m_xml.name().toString(), m_xml.namespaceDeclarations() });
    if (m_levels.size() == 3 && m_levels.at(1).name == QLatin1String("Body"))
        m_message.body = { m_xml.namespaceUri().toString(), m_xml.name().toString() };
    m_text.clear();
    return m_levels.size() <= k_deepest;
}

void SoapReader::leave()
{
    const QString name = m_levels.last().name;
    const QString text = m_text.simplified();
    const QStringList words = text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (m_levels.size() < 3) {
        // Envelope, header and body have no text of their own.
    } else if (m_levels.at(1).name != QLatin1String("Body")) {
        if (name == QLatin1String("MessageID"))
            m_message.messageId = text;
        else if (name == QLatin1String("Username"))
            m_message.tokenUser = text;
    } else if (name == QLatin1String("Types")) {
        for (const QString& word : words)
            m_message.types.append(resolved(word));
    } else if (name == QLatin1String("Scopes")) {
        m_message.scopes = words;
    } else if (name == QLatin1String("Address")) {
        m_message.endpoint = text;
    }
    m_levels.removeLast();
    m_text.clear();
}

std::pair<QString, QString> SoapReader::resolved(const QString& qualified) const
{
    const qsizetype colon = qualified.indexOf(QLatin1Char(':'));
    const QString prefix = qualified.left(qMax<qsizetype>(colon, 0));
    for (auto level = m_levels.rbegin(); level != m_levels.rend(); ++level) {
        for (const auto& declaration : level->declared) {
            if (declaration.prefix() == prefix)
                return { declaration.namespaceUri().toString(), qualified.mid(colon + 1) };
        }
    }
    return { QString(), qualified.mid(colon + 1) };
}

std::optional<SoapMessage> SoapReader::read()
{
    while (!m_xml.atEnd()) {
        const auto token = m_xml.readNext();
        if (token == QXmlStreamReader::DTD)
            return std::nullopt;
        if (token == QXmlStreamReader::StartElement && !enter())
            return std::nullopt;
        if (token == QXmlStreamReader::Characters)
            m_text += m_xml.text();
        if (token == QXmlStreamReader::EndElement)
            leave();
    }
    if (m_xml.hasError() || m_message.body.second.isEmpty())
        return std::nullopt;
    return m_message;
}

} // namespace

std::optional<SoapMessage> readSoap(const QByteArray& bytes)
{
    return SoapReader(bytes).read();
}

QByteArray writtenSoap(const SoapPart& header, const SoapPart& body)
{
    QByteArray bytes;
    QXmlStreamWriter xml(&bytes);
    xml.writeStartDocument();
    xml.writeNamespace(ns::soap, QStringLiteral("env"));
    xml.writeStartElement(ns::soap, QStringLiteral("Envelope"));
    if (header) {
        xml.writeStartElement(ns::soap, QStringLiteral("Header"));
        header(xml);
        xml.writeEndElement();
    }
    xml.writeStartElement(ns::soap, QStringLiteral("Body"));
    body(xml);
    xml.writeEndDocument();
    return bytes;
}

} // namespace lab
