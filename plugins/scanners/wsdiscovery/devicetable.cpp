// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "scanners/wsdiscovery/devicetable_p.h"

#include <algorithm>
#include <utility>

namespace tq {

namespace {

constexpr std::size_t k_mostDevices = 4096;
constexpr int k_mostOfSender = 64;
constexpr std::size_t k_mostQuestions = 256;
// A device takes up to 500 ms to answer, and a lost question is repeated within 250 ms.
constexpr qint64 k_answerTime = 1500;
constexpr qint64 k_quietTime = 1500;

} // namespace

const char* DeviceTable::feed(const WsDevice& said, const Sender& sender, qint64 now)
{
    if (!isOnLink(sender.address, m_subnets))
        return "a sender that is not on our networks";
    forgetGone(now);
    const auto places = placesOf(said.addresses, sender.address, sender.isItself, m_subnets);
    const auto known = m_devices.find(said.endpoint);
    const bool isThere = known != m_devices.end() && !known->isGone;
    return isThere ? feedKnown(*known, said, sender.address, places, now)
                   : feedNew(said, sender, places, now);
}

const char* DeviceTable::feedNew(
    const WsDevice& said, const Sender& sender, const QList<ServicePlace>& places, qint64 now)
{
    const bool isGone = m_devices.contains(said.endpoint);
    const bool hasPlace = isGone || m_questions.count(said.endpoint) != 0;
    if (!hasPlace && countOf(sender.address) >= k_mostOfSender)
        return "too many devices of one sender";
    if (!hasPlace && !makeRoom(sender.address))
        return "too many devices";
    if (!places.isEmpty() && !isGone) {
        introduce(said, sender.address, places.first(), now);
        return nullptr;
    }
    const bool mayBeOld = isGone && sender.isAnswer;
    if (mayBeOld && m_questions.count(said.endpoint) != 0)
        return nullptr;
    std::optional<ServicePlace> otherwise;
    if (!mayBeOld && !places.isEmpty())
        otherwise = places.first();
    else if (!mayBeOld && sender.isItself)
        otherwise = ServicePlace{ sender.address, ServicePlace().port, false, QString() };
    return ask(said, sender.address, otherwise);
}

bool DeviceTable::makeRoom(const QHostAddress& sender)
{
    if (std::size_t(m_devices.size()) + m_questions.size() < k_mostDevices)
        return true;
    const auto most = std::max_element(m_perSender.cbegin(), m_perSender.cend());
    // One more than the newcomer will have: so nobody takes turns in making others go.
    if (most == m_perSender.cend() || *most <= countOf(sender) + 1)
        return false;
    auto newest = m_devices.cend();
    for (auto each = m_devices.cbegin(); each != m_devices.cend(); ++each) {
        const bool isNewer = newest == m_devices.cend() || each->since > newest->since;
        if (each->sender == most.key() && isNewer)
            newest = each;
    }
    forget(QString(newest.key()));
    return true;
}

const char* DeviceTable::feedKnown(Device& device, const WsDevice& said, const QHostAddress& sender,
    const QList<ServicePlace>& places, qint64 now)
{
    const auto same = std::find_if(places.begin(), places.end(),
        [&](const ServicePlace& each) { return each.address == device.place.address; });
    const bool isThere = same != places.end();
    if (!isThere && !places.isEmpty())
        return ask(said, sender, places.first());
    const bool isOwn = sender == device.sender || sender == device.place.address;
    const bool isElsewhere = isThere && isOwn && !places.contains(device.place);
    const Device newer = isOwn ? updated(device, said, isElsewhere ? *same : device.place) : device;
    if (newer.isOther(device) && now - device.since < k_quietTime)
        return ask(said, sender, newer.place);
    if (isThere)
        m_questions.erase(said.endpoint);
    const bool isVague = places.isEmpty() && newer.version != device.version;
    replace(device, said.endpoint, newer, now);
    return isVague ? ask(said, sender, std::nullopt) : nullptr;
}

const char* DeviceTable::ask(
    const WsDevice& said, const QHostAddress& sender, const std::optional<ServicePlace>& otherwise)
{
    const auto asked = m_questions.find(said.endpoint);
    if (asked == m_questions.end() && m_questions.size() >= k_mostQuestions)
        return "too many devices to be asked for their addresses";
    // Of several that speak meanwhile the last is believed; none of them puts the end off.
    const auto deadline = asked == m_questions.end() ? std::nullopt : asked->second.deadline;
    m_questions.insert_or_assign(said.endpoint, Question{ otherwise, said, sender, deadline });
    return nullptr;
}

void DeviceTable::introduce(
    const WsDevice& said, const QHostAddress& sender, const ServicePlace& place, qint64 now)
{
    m_questions.erase(said.endpoint);
    forget(said.endpoint);
    const Device device{ said.name, place, sender, said.version, now, false };
    m_devices.insert(said.endpoint, device);
    countSender(sender, 1);
    tell(eNew, said.endpoint, device);
}

bool DeviceTable::Device::isOther(const Device& older) const
{
    const bool isNewer = older.version && version != older.version;
    return isNewer || place != older.place || name != older.name;
}

DeviceTable::Device DeviceTable::updated(
    Device device, const WsDevice& said, const ServicePlace& place)
{
    device.place = place;
    if (!said.name.isEmpty()) // a Hello often leaves it out
        device.name = said.name;
    if (said.version)
        device.version = said.version;
    return device;
}

void DeviceTable::replace(Device& device, const QString& endpoint, const Device& newer, qint64 now)
{
    const bool isOther = newer.isOther(device);
    countSender(device.sender, -1);
    device = newer;
    countSender(device.sender, 1);
    if (!isOther)
        return;
    device.since = now;
    tell(eChanged, endpoint, device);
}

const char* DeviceTable::dismiss(const QString& endpoint, const QHostAddress& sender, qint64 now)
{
    const auto known = m_devices.find(endpoint);
    if (known == m_devices.end())
        return nullptr;
    if (sender != known->sender && sender != known->place.address)
        return "a Bye from elsewhere than the device";
    m_questions.erase(endpoint);
    if (std::exchange(known->isGone, true))
        return nullptr;
    known->since = now;
    m_gone.append(endpoint);
    tell(eGone, endpoint, *known);
    return nullptr;
}

void DeviceTable::forget(const QString& endpoint)
{
    const auto known = m_devices.constFind(endpoint);
    if (known == m_devices.constEnd())
        return;
    countSender(known->sender, -1);
    m_devices.erase(known);
}

void DeviceTable::forgetGone(qint64 now)
{
    while (!m_gone.isEmpty()) {
        const auto known = m_devices.constFind(m_gone.first());
        const bool isGone = known != m_devices.constEnd() && known->isGone;
        if (isGone && now - known->since < k_quietTime)
            return;
        if (isGone)
            forget(m_gone.first());
        m_gone.removeFirst();
    }
}

QStringList DeviceTable::takeQuestions(int most, qint64 now)
{
    QStringList result;
    for (auto& [endpoint, question] : m_questions) {
        if (result.size() == most)
            break;
        if (question.deadline)
            continue;
        question.deadline = now + k_answerTime;
        result.append(endpoint);
    }
    return result;
}

void DeviceTable::advance(qint64 now)
{
    for (auto next = m_questions.begin(); next != m_questions.end();) {
        const auto current = next++;
        if (!current->second.deadline || now < *current->second.deadline)
            continue;
        const Question question = current->second;
        m_questions.erase(current);
        settle(question, now);
    }
}

void DeviceTable::settle(const Question& question, qint64 now)
{
    if (!question.place)
        return;
    const auto known = m_devices.find(question.said.endpoint);
    if (known == m_devices.end() || known->isGone)
        return introduce(question.said, question.sender, *question.place, now);
    Device newer = updated(*known, question.said, *question.place);
    newer.sender = question.sender;
    replace(*known, question.said.endpoint, newer, now);
}

QList<DeviceTable::Event> DeviceTable::takeEvents()
{
    return std::exchange(m_events, {});
}

void DeviceTable::countSender(const QHostAddress& sender, int change)
{
    int& count = m_perSender[sender];
    count += change;
    if (count == 0)
        m_perSender.remove(sender);
}

qsizetype DeviceTable::countOf(const QHostAddress& sender) const
{
    const auto asked = std::count_if(m_questions.begin(), m_questions.end(),
        [&](const auto& each) { return each.second.sender == sender; });
    return m_perSender.value(sender) + qsizetype(asked);
}

void DeviceTable::tell(EEvent kind, const QString& endpoint, const Device& device)
{
    m_events.append({ kind, endpoint, device.name, device.place });
}

} // namespace tq
