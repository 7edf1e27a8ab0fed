// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "cli/tracereport.h"

#include "cli/output.h"
#include "cli/table.h"

#include "session/discoveryrecorder.h"

#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>

namespace tq::cli {

namespace {

const QString k_separator = QStringLiteral("; ");

QString seconds(qint64 ms)
{
    constexpr double k_msPerSecond = 1000;
    return QStringLiteral("%1 s").arg(double(ms) / k_msPerSecond, 8, 'f', 3);
}

QString kindWord(HintStory::EKind kind)
{
    switch (kind) {
    case HintStory::eNew:
        return QStringLiteral("new");
    case HintStory::eChanged:
        return QStringLiteral("changed");
    case HintStory::eGone:
        return QStringLiteral("gone");
    }
    return QString();
}

/** The outcome as the JSON document has it. */
QString outcomeWord(HintStory::EOutcome outcome)
{
    switch (outcome) {
    case HintStory::eOpen:
        return QStringLiteral("open");
    case HintStory::eDuplicate:
        return QStringLiteral("duplicate");
    case HintStory::eUnhandled:
        return QStringLiteral("unhandled");
    case HintStory::eProbing:
        return QStringLiteral("probing");
    case HintStory::eNobody:
        return QStringLiteral("not ours");
    case HintStory::eWon:
        return QStringLiteral("won");
    case HintStory::eMade:
        return QStringLiteral("made");
    case HintStory::eUpdated:
        return QStringLiteral("updated");
    case HintStory::eLost:
        return QStringLiteral("lost");
    case HintStory::eSilence:
        return QStringLiteral("nothing heard");
    }
    return QString();
}

QString weightWord(HintStory::EWeight weight)
{
    switch (weight) {
    case HintStory::eCounted:
        return QStringLiteral("counted");
    case HintStory::eAgain:
        return QStringLiteral("again");
    case HintStory::eLate:
        return QStringLiteral("too late");
    }
    return QString();
}

QString answerText(const HintStory& story, const HintStory::Answer& answer)
{
    QString text = QStringLiteral("rank %1").arg(answer.result);
    if (answer.result == -1)
        text = QStringLiteral("not mine");
    else if (answer.result == 1)
        text = QStringLiteral("certain");
    text += answer.isAtOnce ? QStringLiteral(" at once")
                            : QStringLiteral(" after %1 ms").arg(answer.at - story.probedAt);
    if (answer.weight != HintStory::eCounted)
        text += QStringLiteral(" (%1)").arg(weightWord(answer.weight));
    return text;
}

QString driverText(const HintStory& story, const HintStory::Driver& driver, qint64 now)
{
    QStringList parts;
    for (qsizetype i = 0, count = 1; i < driver.answers.size(); i += count, count = 1) {
        QString text = answerText(story, driver.answers[i]);
        // A driver of several types says the same for each.
        while (i + count < driver.answers.size()
            && answerText(story, driver.answers[i + count]) == text)
            ++count;
        if (count > 1)
            text += QStringLiteral(" (%1 times)").arg(count);
        parts.append(text);
    }
    if (driver.furtherAnswers > 0)
        parts.append(QStringLiteral("%1 more answers").arg(driver.furtherAnswers));
    if (driver.outstanding > 0) {
        const qint64 until = story.isFinished() ? story.outcomeAt : now;
        parts.append(QStringLiteral("no answer for %1 ms").arg(until - story.probedAt));
    }
    return driver.name + QStringLiteral(": ") + parts.join(QStringLiteral(", "));
}

QStringList probeTexts(const HintStory& story, qint64 now)
{
    QStringList names;
    QStringList parts;
    for (const HintStory::Driver& driver : story.drivers) {
        if (driver.asked > 1)
            names.append(QStringLiteral("%1 (%2 times)").arg(driver.name).arg(driver.asked));
        else if (driver.asked == 1)
            names.append(driver.name);
        parts.append(driverText(story, driver, now));
    }
    if (story.requestId != 0)
        parts.prepend(names.isEmpty()
                ? QStringLiteral("there was no driver to ask")
                : QStringLiteral("asked ") + names.join(QStringLiteral(", ")));
    return parts;
}

QString winnerText(const HintStory& story)
{
    const auto found = std::find_if(story.drivers.begin(), story.drivers.end(),
        [](const HintStory::Driver& driver) { return driver.hasWon; });
    const QString name =
        found == story.drivers.end() ? QStringLiteral("an unknown driver") : found->name;
    return name + QStringLiteral(" won; ");
}

QString silenceText(const HintStory& story)
{
    switch (story.kind) {
    case HintStory::eChanged:
        return QStringLiteral("no node took it over");
    case HintStory::eGone:
        return QStringLiteral("no node is known of it");
    case HintStory::eNew:
        break;
    }
    return QStringLiteral("no node was seen to come of it");
}

QString outcomeText(const HintStory& story)
{
    const QString node = story.nodeId.isEmpty() ? QStringLiteral("its node is not known")
                                                : QStringLiteral("node ") + story.nodeId;
    const QString type = QStringLiteral("type %1").arg(int(story.facts.nodeType));
    switch (story.outcome) {
    case HintStory::eOpen:
        return QStringLiteral("nothing heard yet");
    case HintStory::eDuplicate:
        return QStringLiteral("known as ") + node
            + (story.isUpdated ? QStringLiteral(", which was changed") : QString());
    case HintStory::eUnhandled:
        return QStringLiteral("no driver for ") + type;
    case HintStory::eProbing:
        return QString();
    case HintStory::eNobody:
        return QStringLiteral("nobody wants it");
    case HintStory::eWon:
        return winnerText(story) + node
            + (story.isUpdated ? QStringLiteral(", which was there") : QString());
    case HintStory::eMade:
        return QStringLiteral("made by the driver for ") + type + k_separator + node;
    case HintStory::eUpdated:
        return QStringLiteral("changed ") + node;
    case HintStory::eLost:
        return QStringLiteral("lost ") + node;
    case HintStory::eSilence:
        return silenceText(story);
    }
    return QString();
}

QJsonObject driverItem(const HintStory::Driver& driver)
{
    QJsonArray answers;
    for (const HintStory::Answer& answer : driver.answers)
        answers.append(QJsonObject{ { QStringLiteral("At"), answer.at },
            { QStringLiteral("Result"), answer.result },
            { QStringLiteral("AtOnce"), answer.isAtOnce },
            { QStringLiteral("Weight"), weightWord(answer.weight) } });
    return { { QStringLiteral("Name"), driver.name }, { QStringLiteral("Asked"), driver.asked },
        { QStringLiteral("Outstanding"), driver.outstanding },
        { QStringLiteral("Won"), driver.hasWon }, { QStringLiteral("Answers"), answers },
        { QStringLiteral("FurtherAnswers"), driver.furtherAnswers } };
}

QJsonObject storyItem(const HintStory& story)
{
    QJsonObject item{ { QStringLiteral("Number"), qint64(story.number) },
        { QStringLiteral("Hint"), kindWord(story.kind) }, { QStringLiteral("At"), story.cameAt },
        { QStringLiteral("From"), story.from() }, { QStringLiteral("Inferred"), story.isInferred },
        { QStringLiteral("Name"), story.facts.name }, { QStringLiteral("IP"), story.facts.address },
        { QStringLiteral("MAC"), story.facts.mac },
        { QStringLiteral("NodeType"), int(story.facts.nodeType) },
        { QStringLiteral("Outcome"), outcomeWord(story.outcome) },
        { QStringLiteral("ID"), story.nodeId }, { QStringLiteral("Updated"), story.isUpdated } };
    if (story.isFinished())
        item.insert(QStringLiteral("OutcomeAt"), story.outcomeAt);
    if (story.requestId == 0)
        return item;
    QJsonArray drivers;
    for (const HintStory::Driver& driver : story.drivers)
        drivers.append(driverItem(driver));
    item.insert(QStringLiteral("Request"), story.requestId);
    item.insert(QStringLiteral("AskedAt"), story.probedAt);
    item.insert(QStringLiteral("Drivers"), drivers);
    return item;
}

} // namespace

void reportTrace(Output& output, const DiscoveryRecorder& recorder)
{
    const qint64 now = recorder.elapsed();
    Table table({ QStringLiteral("AT"), QStringLiteral("FROM"), QStringLiteral("HINT"),
        QStringLiteral("ADDRESS"), QStringLiteral("MAC"), QStringLiteral("NAME"),
        QStringLiteral("STORY") });
    QJsonArray items;
    bool isAnyInferred = false;
    for (const HintStory& story : recorder.stories()) {
        const QString mark = story.isInferred ? QStringLiteral(" *") : QString();
        isAnyInferred = isAnyInferred || story.isInferred;
        QStringList parts = probeTexts(story, now);
        parts.append(outcomeText(story));
        parts.removeAll(QString());
        table.addRow({ seconds(story.cameAt), story.from() + mark, kindWord(story.kind),
            story.facts.address, story.facts.mac, story.facts.name, parts.join(k_separator) });
        items.append(storyItem(story));
    }
    output.setMember(QStringLiteral("trace"), items);
    output.setMember(QStringLiteral("traceDropped"), recorder.dropped());
    output.print(QString());
    output.print(table);
    if (isAnyInferred)
        output.print(QStringLiteral("* concluded from equal contents, not witnessed"));
    if (recorder.dropped() > 0)
        output.print(
            QStringLiteral("%1 older hints are not shown any more").arg(recorder.dropped()));
}

} // namespace tq::cli
