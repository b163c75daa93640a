// SPDX-License-Identifier: MIT
/// What every class source begins with: the public interface and the road on which failures leave.
#pragma once

#include <Tolvane_SystemApi.h>

#include <atomic>

/// First line of every member. The code is left as it was.
inline void ClearError() noexcept
{
    std::atomic_ref(SystemApi_IsErrorOccur).store(false, std::memory_order_relaxed);
}

/// Sets the error state and gives the result of the failed member. errno is left as it was.
[[nodiscard]] inline bool Fail(unsigned long dwCode) noexcept
{
    std::atomic_ref(SystemApi_dwErrorCode).store(dwCode, std::memory_order_relaxed);
    std::atomic_ref(SystemApi_IsErrorOccur).store(true, std::memory_order_relaxed);
    return false;
}
