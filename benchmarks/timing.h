// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QElapsedTimer>

#include <algorithm>
#include <vector>

/** Returns the middle one of the values, of which there is at least one. */
inline double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/** Returns how long `work()` takes, in s. */
template <class Work>
double seconds(Work work)
{
    QElapsedTimer timer;
    timer.start();
    work();
    return double(timer.nsecsElapsed()) * 1e-9;
}
