// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "platform/logline.h"

#include <exception>
#include <optional>
#include <type_traits>

namespace tq {

/** Runs code of a plug-in. Returns what it threw, in words; nothing when it came back. */
template <class Call>
std::optional<QString> thrownBy(Call call) noexcept
{
    try {
        call();
        return std::nullopt;
    } catch (const std::exception& e) {
        return QString::fromUtf8(e.what());
    } catch (...) {
        return QStringLiteral("an unknown exception");
    }
}

/**
 * Calls code of a plug-in. When it throws, one level 2 line names `what` was called, and
 * `otherwise` is the result.
 */
template <class Call, class Result = std::invoke_result_t<Call>>
requires(!std::is_void_v<Result>) Result
    callPlugin(const char* what, std::type_identity_t<Result> otherwise, Call call)
noexcept
{
    if (const auto thrown = thrownBy([&] { otherwise = call(); }))
        logLine(Log::eSurvived, "A plug-in threw in ", what, ": ", *thrown);
    return otherwise;
}

/** The same for code without a result. Returns whether it came back without throwing. */
template <class Call>
requires std::is_void_v<std::invoke_result_t<Call>>
bool callPlugin(const char* what, Call call) noexcept
{
    return callPlugin(what, false, [&] {
        call();
        return true;
    });
}

} // namespace tq
