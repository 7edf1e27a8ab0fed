# SPDX-FileCopyrightText: 2026 The NodeDB authors
# SPDX-License-Identifier: MIT

# Builds a target with the sanitizers of NODEDB_SANITIZE. Under the thread sanitizer the shim that tells it
# about the synchronisation inside Qt is linked first (Debian's Qt is not instrumented).
function(tq_set_sanitizers target)
  if(NOT NODEDB_SANITIZE)
    return()
  endif()
  target_compile_options(${target} PRIVATE -fsanitize=${NODEDB_SANITIZE} -fno-omit-frame-pointer)
  target_link_options(${target} PRIVATE -fsanitize=${NODEDB_SANITIZE})
  if(NODEDB_SANITIZE MATCHES "undefined")
    target_compile_options(${target} PRIVATE -fno-sanitize-recover=undefined)
  endif()
endfunction()
