// SPDX-License-Identifier: MIT
/// Floating point to integers with the results that the interface defines for values that do not fit.
#pragma once

#include <limits>

/// Towards zero; a value outside the range, an infinity or a NaN gives the most negative integer.
inline int TruncateToInt(float fValue) noexcept
{
    if (fValue >= -2147483648.0F && fValue < 2147483648.0F)
        return static_cast<int>(fValue);
    return std::numeric_limits<int>::min();
}

/// Towards zero; a value outside the range, an infinity or a NaN gives 0x8000000000000000.
inline unsigned long TruncateToUnsigned(double fValue) noexcept
{
    if (fValue > -1.0 && fValue < 18446744073709551616.0)
        return static_cast<unsigned long>(fValue);
    return 0x8000000000000000UL;
}
