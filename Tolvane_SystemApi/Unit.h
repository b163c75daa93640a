// SPDX-License-Identifier: MIT
/// The units in which sizes are asked for.
#pragma once

#include <optional>

/// How far a number of bytes is shifted for a unit: 1 bytes, 2 KiB, 3 MiB, 4 GiB; nothing for any other.
inline std::optional<int> UnitShift(int nType) noexcept
{
    if (nType < 1 || nType > 4)
        return std::nullopt;
    return (nType - 1) * 10;
}
