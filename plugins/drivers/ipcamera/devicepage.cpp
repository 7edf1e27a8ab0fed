// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "drivers/ipcamera/devicepage_p.h"

#include "parts/cleantext.h"

#include <QStringList>

#include <algorithm>
#include <array>
#include <utility>

namespace tq {

namespace {

constexpr int k_longestTitle = 80;

QString withoutEntities(QString text)
{
    using Pair = std::pair<QLatin1String, QLatin1String>;
    // The ampersand comes last: what it uncovers is text.
    static const std::array<Pair, 6> k_entities{ {
        { QLatin1String("&lt;"), QLatin1String("<") },
        { QLatin1String("&gt;"), QLatin1String(">") },
        { QLatin1String("&quot;"), QLatin1String("\"") },
        { QLatin1String("&#39;"), QLatin1String("'") },
        { QLatin1String("&nbsp;"), QLatin1String(" ") },
        { QLatin1String("&amp;"), QLatin1String("&") },
    } };
    for (const auto& [entity, character] : k_entities)
        text.replace(entity, character, Qt::CaseInsensitive);
    return text;
}

/** Returns where the title's text begins and ends in the page in small letters; {-1, -1}: none. */
std::pair<qsizetype, qsizetype> titleBounds(const QByteArray& small)
{
    const qsizetype tag = small.indexOf("<title");
    const qsizetype begin = tag < 0 ? -1 : small.indexOf('>', tag) + 1;
    const qsizetype end = begin <= 0 ? -1 : small.indexOf("</title", begin);
    return end < 0 ? std::pair<qsizetype, qsizetype>{ -1, -1 } : std::pair{ begin, end };
}

} // namespace

QString pageTitle(const QByteArray& page)
{
    const auto [begin, end] = titleBounds(page.toLower());
    if (begin < 0)
        return QString();
    const QString title = cleanText(page.mid(begin, end - begin), k_longestTitle);
    return withoutEntities(title).simplified();
}

bool hasWholeTitle(const QByteArray& page)
{
    return titleBounds(page.toLower()).first >= 0;
}

bool isCameraLike(const QString& said)
{
    static const QStringList k_words = { QStringLiteral("camera"), QStringLiteral("ipcam"),
        QStringLiteral("ip cam"), QStringLiteral("webcam"), QStringLiteral("netcam"),
        QStringLiteral("network video"), QStringLiteral("video server"), QStringLiteral("cctv") };
    return std::any_of(k_words.cbegin(), k_words.cend(),
        [&](const QString& word) { return said.contains(word, Qt::CaseInsensitive); });
}

} // namespace tq
