// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "devices/inasnodedatareader.h"

namespace tq {

INASNodeDataReader::~INASNodeDataReader() = default;

IInterface* INASNodeDataReader::getInterface(const std::string& name)
{
    return name == "tq::INASNodeDataReader" || name == "tq::IInterface" ? this : nullptr;
}

const IInterface* INASNodeDataReader::getInterface(const std::string& name) const
{
    return const_cast<INASNodeDataReader*>(this)->getInterface(name);
}

} // namespace tq
