// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "drivers/ipcamera/onvifclient_p.h"

#include "drivers/ipcamera/webexchange_p.h"
#include "drivers/ipcamera/weburl_p.h"

#include <QRandomGenerator>

#include <array>

namespace tq {

namespace {

constexpr int k_ok = 200;
constexpr int k_unauthorised = 401;
constexpr int k_nonceWords = 4; ///< of 32 bits

QByteArray newNonce()
{
    std::array<quint32, k_nonceWords> words{};
    QRandomGenerator::system()->fillRange(words.data(), words.size());
    return QByteArray(reinterpret_cast<const char*>(words.data()), sizeof words).toHex();
}

/** Whether a question needs no login, and so never gets one. */
bool isForAnybody(EOnvifQuestion question)
{
    return question == eOnvifDateAndTime || question == eOnvifReference;
}

/** Whether the head lets the body be XML: many devices name another kind of it than they should. */
bool mayBeXml(const WebAnswer& answer)
{
    const QByteArray type = answer.field("content-type").toLower();
    return type.isEmpty() || type.contains("xml");
}

} // namespace

OnvifClient::OnvifClient(const Target& target, QObject* parent) : QObject(parent), m_target(target)
{
}

OnvifClient::~OnvifClient() = default;

void OnvifClient::ask(const QList<EOnvifQuestion>& questions)
{
    m_questions = questions;
    send();
}

void OnvifClient::giveUp()
{
    if (m_exchange)
        fail(tr("The device did not answer in time."));
}

void OnvifClient::askNext()
{
    m_questions.removeFirst();
    m_challenges = 0;
    if (m_questions.isEmpty())
        emit finished();
    else
        send();
}

void OnvifClient::send()
{
    const EOnvifQuestion question = m_questions.first();
    QByteArray fields = "Content-Type: " + onvifContentType(question) + "\r\n" + authorization();
    const WebRequest request{ m_target.service, fields, onvifMessage(question) };
    m_exchange = new WebExchange(m_target.host, request, this);
    QObject::connect(m_exchange, &WebExchange::ended, this, &OnvifClient::takeAnswer);
    m_exchange->start(m_target.proxy);
}

/** Returns the login's line of the head; empty until it was asked for. */
QByteArray OnvifClient::authorization()
{
    if (!m_challenge)
        return QByteArray();
    const QByteArray target = requestTarget(m_target.service);
    const DigestUse use{ "POST", target, newNonce(), ++m_uses };
    return "Authorization: " + digestAuthorization(*m_challenge, m_target.login, use) + "\r\n";
}

void OnvifClient::takeAnswer()
{
    const WebAnswer answer = m_exchange->answer();
    dropExchange();
    m_isReached = m_isReached || answer.status() != 0;
    if (answer.status() == k_unauthorised && sendLogin(answer))
        return;
    QString fault;
    std::optional<XmlElement> response;
    if (mayBeXml(answer))
        response = onvifResponse(m_questions.first(), answer.body(), &fault);
    if (!response || answer.status() != k_ok) {
        const bool isUnknown = m_questions.first() == eOnvifReference && answer.status() != 0;
        return isUnknown ? askNext() : fail(refusal(answer, fault));
    }
    takeResponse(*response);
    askNext();
}

/** Repeats the question with the login, if that is asked for as it may be; a login that was refused
 * only for its age once more. */
bool OnvifClient::sendLogin(const WebAnswer& answer)
{
    const auto challenge = digestChallenge(answer.fields("www-authenticate"));
    const bool isAllowed = challenge && !isForAnybody(m_questions.first())
        && (m_challenges == 0 || (m_challenges == 1 && challenge->isStale));
    if (!isAllowed || digestAuthorization(*challenge, m_target.login, {}).isEmpty())
        return false;
    ++m_challenges;
    m_challenge = challenge;
    m_uses = 0;
    send();
    return true;
}

void OnvifClient::takeResponse(const XmlElement& response)
{
    m_hasAnswered = true;
    if (m_questions.first() == eOnvifInformation)
        takeInformation(response, m_facts);
    else if (m_questions.first() == eOnvifReference)
        m_facts.reference = referenceOf(response);
    else if (m_questions.first() == eOnvifInterfaces)
        m_facts.mac = macOf(response, m_target.host);
}

QString OnvifClient::refusal(const WebAnswer& answer, const QString& fault) const
{
    if (answer.status() == 0)
        return tr("The device did not answer.");
    if (answer.status() == k_unauthorised) {
        if (m_challenges > 0)
            return tr("The device refused the login of %1.").arg(m_target.login.user);
        return m_target.login.user.isEmpty()
            ? tr("The device asks for a login.")
            : tr("The device asks for a login in a way that is not answered.");
    }
    return fault.isEmpty() ? tr("The device does not answer in the way of ONVIF.")
                           : tr("The device refused to answer: %1").arg(fault);
}

void OnvifClient::fail(const QString& error)
{
    dropExchange();
    if (m_questions.first() != eOnvifInterfaces)
        m_error = error;
    emit finished();
}

void OnvifClient::dropExchange()
{
    if (!m_exchange)
        return;
    m_rejection = m_exchange->rejection();
    m_exchange->disconnect(this);
    m_exchange->abandon();
    m_exchange->deleteLater(); // we may stand in its signal
    m_exchange = nullptr;
}

} // namespace tq
