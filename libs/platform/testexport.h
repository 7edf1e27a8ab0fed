// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

/** Exports a private class so that its tests can link to it; nothing in builds without tests. */
#ifdef NODEDB_EXPORT_FOR_TESTS
#define TQ_TEST_EXPORT Q_DECL_EXPORT
#else
#define TQ_TEST_EXPORT
#endif
