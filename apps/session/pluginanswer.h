// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <type_traits>

namespace tq {

/** Returns what a plug-in answers, or `otherwise` when it throws. The database asks the same
 * questions, and logs what it meets. */
template <class Ask, class Answer = std::invoke_result_t<Ask>>
Answer pluginAnswer(std::type_identity_t<Answer> otherwise, Ask ask) noexcept
{
    try {
        return ask();
    } catch (...) {
        return otherwise;
    }
}

} // namespace tq
