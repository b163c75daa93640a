// SPDX-License-Identifier: MIT
/// Writing into the fixed buffers that callers hand in.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

/// Writes a text and its ending null character. What does not fit leaves the buffer empty, because a text cut
/// short would name something else.
template <typename Char>
[[nodiscard]] bool StoreText(Char* ptszDest, std::size_t nSize, std::basic_string_view<Char> Text) noexcept
{
    if (Text.size() >= nSize)
    {
        *ptszDest = Char();
        return false;
    }
    std::copy(Text.begin(), Text.end(), ptszDest);
    ptszDest[Text.size()] = Char();
    return true;
}
