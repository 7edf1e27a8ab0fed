# SPDX-FileCopyrightText: 2026 The NodeDB authors
# SPDX-License-Identifier: MIT

# Sets the warnings of the house on a target.
function(tq_set_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
    -Woverloaded-virtual -Wconversion $<$<BOOL:${NODEDB_WERROR}>:-Werror>)
  target_compile_definitions(${target} PRIVATE QT_NO_CAST_FROM_ASCII QT_NO_FOREACH
    QT_NO_URL_CAST_FROM_STRING)
endfunction()
