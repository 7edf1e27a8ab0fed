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

} // namespace

const char* DeviceTable::feed(const WsDevice& said, const Sender& sender)
{
    if (!isOnLink(sender.address, m_subnets))
        return "a sender that is not on our networks";
    const auto places = placesOf(said.addresses, sender.address, sender.isItself, m_subnets);
    const auto known = m_devices.find(said.endpoint);
    return known == m_devices.end() ? feedNew(said, sender, places)
                                    : feedKnown(*known, said, sender.address, places);
}

const char* DeviceTable::feedNew(
    const WsDevice& said, const Sender& sender, const QList<ServicePlace>& places)
{
    const bool isAsked = m_questions.count(said.endpoint) != 0;
    if (!isAsked && std::size_t(m_devices.size()) + m_questions.size() >= k_mostDevices)
        return "too many devices";
    if (!isAsked && countOf(sender.address) >= k_mostOfSender)
        return "too many devices of one sender";
    if (!places.isEmpty()) {
        introduce(said, sender.address, places.first());
        return nullptr;
    }
    std::optional<ServicePlace> otherwise;
    if (sender.isItself)
        otherwise = ServicePlace{ sender.address, ServicePlace().port, false, QString() };
    return ask(said, sender.address, otherwise);
}

const char* DeviceTable::feedKnown(Device& device, const WsDevice& said, const QHostAddress& sender,
    const QList<ServicePlace>& places)
{
    const auto same = std::find_if(places.begin(), places.end(),
        [&](const ServicePlace& each) { return each.address == device.place.address; });
    if (same == places.end() && !places.isEmpty())
        return ask(said, sender, places.first());
    if (same != places.end())
        m_questions.erase(said.endpoint);
    if (sender != device.sender && sender != device.place.address)
        return nullptr;
    const bool isElsewhere = same != places.end() && !places.contains(device.place);
    const bool isVague = places.isEmpty() && said.version && said.version != device.version;
    update(device, said, isElsewhere ? *same : device.place);
    return isVague ? ask(said, sender, std::nullopt) : nullptr;
}

const char* DeviceTable::ask(
    const WsDevice& said, const QHostAddress& sender, const std::optional<ServicePlace>& otherwise)
{
    const auto asked = m_questions.find(said.endpoint);
    if (asked == m_questions.end() && m_questions.size() >= k_mostQuestions)
        return "too many devices to be asked for their addresses";
    // The first to raise a question names what it comes to; repeats don't put it off.
    if (asked == m_questions.end())
        m_questions.emplace(said.endpoint, Question{ otherwise, said, sender, std::nullopt });
    return nullptr;
}

void DeviceTable::introduce(
    const WsDevice& said, const QHostAddress& sender, const ServicePlace& place)
{
    m_questions.erase(said.endpoint);
    const Device device{ said.name, place, sender, said.version };
    m_devices.insert(said.endpoint, device);
    countSender(sender, 1);
    tell(eNew, said.endpoint, device);
}

void DeviceTable::update(Device& device, const WsDevice& said, const ServicePlace& place)
{
    const Device before = device;
    device.place = place;
    if (!said.name.isEmpty()) // a Hello often leaves it out
        device.name = said.name;
    if (said.version)
        device.version = said.version;
    const bool isNewer = before.version && device.version != before.version;
    if (isNewer || device.place != before.place || device.name != before.name)
        tell(eChanged, said.endpoint, device);
}

const char* DeviceTable::dismiss(const QString& endpoint, const QHostAddress& sender)
{
    const auto known = m_devices.constFind(endpoint);
    if (known == m_devices.constEnd())
        return nullptr;
    if (sender != known->sender && sender != known->place.address)
        return "a Bye from elsewhere than the device";
    const Device device = *known;
    m_devices.erase(known);
    m_questions.erase(endpoint);
    countSender(device.sender, -1);
    tell(eGone, endpoint, device);
    return nullptr;
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
        settle(question);
    }
}

void DeviceTable::settle(const Question& question)
{
    if (!question.place)
        return;
    const auto known = m_devices.find(question.said.endpoint);
    if (known == m_devices.end())
        return introduce(question.said, question.sender, *question.place);
    countSender(known->sender, -1);
    known->sender = question.sender;
    countSender(known->sender, 1);
    update(*known, question.said, *question.place);
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
