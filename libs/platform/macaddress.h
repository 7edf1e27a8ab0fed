// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

#include "platform/platform_export.h"

#include <QString>

#include <array>
#include <compare>
#include <cstdint>
#include <optional>

namespace tq {

/** A 48-bit hardware address. The default is the empty address, which stands for "not known". */
class PLATFORM_EXPORT MACAddress
{
public:
    using Bytes = std::array<std::uint8_t, 6>;

    MACAddress() = default;
    explicit MACAddress(const Bytes& bytes);

    /** Reads `text` as parse() does; a text that is no address gives the empty address. */
    explicit MACAddress(const QString& text);

    /**
     * Reads the usual notations: 00:11:22:aa:bb:cc and 00-11-22-aa-bb-cc (one or two digits each),
     * 0011.22aa.bbcc and 001122aabbcc, in either case. An empty text is the empty address; anything
     * else gives nothing.
     */
    static std::optional<MACAddress> parse(const QString& text);

    /** Returns whether no address is known. An address of zeros is a known one. */
    bool isEmpty() const { return !m_bytes; }

    /** Returns whether it can be the address of one device: known, no group's and not all zeros. */
    bool isOneDevices() const;

    /** Returns the six bytes; zeros when empty. */
    Bytes bytes() const { return m_bytes.value_or(Bytes{}); }

    /** Returns the address as 00:11:22:aa:bb:cc; an empty text when empty. */
    QString toString() const;

    auto operator<=>(const MACAddress&) const = default;

private:
    std::optional<Bytes> m_bytes;
};

} // namespace tq
