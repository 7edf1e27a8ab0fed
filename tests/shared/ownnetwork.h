// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QCoreApplication>
#include <QTest>

namespace tst {

/**
 * Moves the process into a network namespace of its own, where only the loopback interface is up:
 * what it starts contacts nobody. To be called before there are threads; hasOwnNetwork() says
 * whether this machine allowed it.
 */
void enterOwnNetwork();
bool hasOwnNetwork();

/** Runs the tests of a class there; for main(). */
template <class Test>
int runInOwnNetwork(int argc, char** argv)
{
    enterOwnNetwork();
    QCoreApplication application(argc, argv);
    Test test;
    return QTest::qExec(&test, argc, argv);
}

} // namespace tst
