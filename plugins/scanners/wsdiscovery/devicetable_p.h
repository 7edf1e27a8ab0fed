// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "scanners/wsdiscovery/serviceplace_p.h"
#include "scanners/wsdiscovery/wsmessages_p.h"

#include <QHash>

#include <map>
#include <optional>

namespace tq {

/**
 * Turns what devices say into devices that come, change and go.
 *
 * A device is an endpoint reference. One that says nothing of its address is asked for it; when it
 * stays silent, its place is port 80 of the sender. One that is known and now speaks of other
 * addresses is asked as well: it may have several, or somebody may use its name. It has changed
 * only when nobody tells of the reported address in time. A Bye counts when it comes from the
 * device's own address, and so does a change of anything but the address. One that has just changed
 * or gone and says something else again is asked first (one that has gone and answers an older
 * question is back only if it answers that one too): so there is no more than one event in 1.5 s
 * of each device, besides its going.
 *
 * Whatever strangers say, it keeps at most 4096 devices, 64 of one sender, and 256 questions. When
 * it is full, the newest device of the sender that has most makes way, untold, for one of a sender
 * that has fewer: many who lie do not keep an honest one out.
 *
 * Knows neither sockets nor clocks: times are monotonic ms, and questions are for the caller to
 * ask.
 */
class DeviceTable
{
public:
    enum EEvent { eNew, eChanged, eGone };

    struct Event
    {
        EEvent kind;
        QString endpoint;
        QString name;
        ServicePlace place; ///< for eGone the one that was reported
    };

    struct Sender
    {
        QHostAddress address;
        bool isItself = true; ///< else it speaks for several devices
        bool isAnswer = false; ///< to a question to all; it may be older than a Bye heard before
    };

    /** Sets the networks that this machine is on; nobody from elsewhere is listened to. */
    void setSubnets(const QList<Subnet>& subnets) { m_subnets = subnets; }

    /** Takes what a device says in a Hello or a match. Returns why it was refused, else null. */
    const char* feed(const WsDevice& said, const Sender& sender, qint64 now);

    /** Takes a Bye. Returns why it was refused, else null. */
    const char* dismiss(const QString& endpoint, const QHostAddress& sender, qint64 now);

    /** Returns up to `most` endpoints that should be asked for their addresses now. */
    QStringList takeQuestions(int most, qint64 now);

    /** Decides what nobody answered in time; called now and then while isWaiting(). */
    void advance(qint64 now);
    bool isWaiting() const { return !m_questions.empty(); }

    /** Returns what there is to tell since the last time. */
    QList<Event> takeEvents();

private:
    struct Device
    {
        QString name;
        ServicePlace place;
        QHostAddress sender;
        std::optional<quint32> version;
        qint64 since = 0; ///< the last event
        bool isGone = false; ///< kept for a moment

        /** Returns whether there is something to tell. */
        bool isOther(const Device& older) const;
    };

    /** Asks where a device is; what it will be unless somebody answers. */
    struct Question
    {
        std::optional<ServicePlace> place;
        WsDevice said;
        QHostAddress sender;
        std::optional<qint64> deadline; ///< none before it was asked
    };

    const char* feedNew(
        const WsDevice& said, const Sender& sender, const QList<ServicePlace>& places, qint64 now);
    const char* feedKnown(Device& device, const WsDevice& said, const QHostAddress& sender,
        const QList<ServicePlace>& places, qint64 now);
    const char* ask(const WsDevice& said, const QHostAddress& sender,
        const std::optional<ServicePlace>& otherwise);
    void introduce(
        const WsDevice& said, const QHostAddress& sender, const ServicePlace& place, qint64 now);
    static Device updated(Device device, const WsDevice& said, const ServicePlace& place);
    void replace(Device& device, const QString& endpoint, const Device& newer, qint64 now);
    void settle(const Question& question, qint64 now);
    bool makeRoom(const QHostAddress& sender);
    void forget(const QString& endpoint);
    void forgetGone(qint64 now);
    void countSender(const QHostAddress& sender, int change);
    qsizetype countOf(const QHostAddress& sender) const;
    void tell(EEvent kind, const QString& endpoint, const Device& device);

    QList<Subnet> m_subnets;
    QHash<QString, Device> m_devices; ///< by endpoint
    QHash<QHostAddress, int> m_perSender; ///< how many devices
    std::map<QString, Question> m_questions; ///< by endpoint
    QList<QString> m_gone; ///< endpoints in the order of their going
    QList<Event> m_events;
};

} // namespace tq
