// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "devices/userandpassword.h"
#include "discovery/iprobeexplainer.h"
#include "drivers/ipcamera/digestlogin_p.h"
#include "drivers/ipcamera/onvifmessages_p.h"

#include <QNetworkProxy>
#include <QObject>
#include <QUrl>

#include <optional>

namespace tq {

class WebAnswer;
class WebExchange;

/**
 * Asks a device what it says of itself over ONVIF, one question after the other.
 *
 * The login goes to the one URL of the device's service, and there only in answer to a challenge
 * for a digest, never with eOnvifDateAndTime and eOnvifReference: those are told to anybody. A
 * redirection is no answer. There is no time limit: the owner has one.
 */
class OnvifClient : public QObject
{
    Q_OBJECT

public:
    /** Where and as whom to ask; without an HTTP proxy the device is asked directly. */
    struct Target
    {
        QString host; ///< that of `service`, in the form of sockets
        QUrl service;
        QNetworkProxy proxy{ QNetworkProxy::NoProxy };
        UserAndPassword login; ///< with an empty user: nobody
    };

    OnvifClient(const Target& target, QObject* parent);
    ~OnvifClient() override;
    Q_DISABLE_COPY_MOVE(OnvifClient)

    /** Asks the questions in order, up to the first without an answer; a device may not know
     * eOnvifReference. Once. */
    void ask(const QList<EOnvifQuestion>& questions);

    /** Finishes with what is there, unless it has finished. */
    void giveUp();

    QUrl service() const { return m_target.service; }

    /** Returns whether anything answered at all, be it with refusals. */
    bool isReached() const { return m_isReached; }

    /** Returns whether there was a right answer to any question. */
    bool hasAnswered() const { return m_hasAnswered; }

    OnvifFacts facts() const { return m_facts; }

    /** Returns in one sentence why a question had no answer; empty when all had, and when only the
     * reference and the network interfaces stay unknown, which are a bonus. */
    QString error() const { return m_error; }

    /** Returns why there was no answer at all, when there was none. */
    EProbeRejection rejection() const { return m_rejection; }

signals:
    /** Emitted once, never from ask(). */
    void finished();

private:
    void askNext();
    void send();
    QByteArray authorization();
    void takeAnswer();
    bool sendLogin(const WebAnswer& answer);
    void takeResponse(const XmlElement& response);
    QString refusal(const WebAnswer& answer, const QString& fault) const;
    void fail(const QString& error);
    void dropExchange();

    Target m_target;
    QList<EOnvifQuestion> m_questions; ///< from the one that is asked on
    WebExchange* m_exchange = nullptr; ///< a child
    std::optional<DigestChallenge> m_challenge; ///< that the login answers
    quint32 m_uses = 0; ///< of the challenge
    int m_challenges = 0; ///< answered for this question
    bool m_isReached = false;
    bool m_hasAnswered = false;
    OnvifFacts m_facts;
    QString m_error;
    EProbeRejection m_rejection = EProbeRejection::eUnknown;
};

} // namespace tq
