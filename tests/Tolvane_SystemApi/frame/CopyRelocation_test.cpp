// SPDX-License-Identifier: MIT
#include "SystemApi_System/SystemApi_System.h"

#include <cstdint>
#include <gtest/gtest.h>

// The linker's marks around the program's own memory.
extern "C" const char __executable_start, _end;

namespace
{
const void* pConstructed = nullptr;

bool LiesInTheProgram(const void* pAddress)
{
    const auto nAddress = reinterpret_cast<std::uintptr_t>(pAddress);
    return nAddress >= reinterpret_cast<std::uintptr_t>(&__executable_start) &&
           nAddress < reinterpret_cast<std::uintptr_t>(&_end);
}
} // namespace

CSystemApi_System::CSystemApi_System() // in the place of the library's
{
    pConstructed = this;
}

// A program that is not position-independent holds copies of the variables that it reads; the library must use
// these copies.
TEST(CopyRelocation, LibraryAndProgramShareTheProgramsCopies)
{
    ASSERT_TRUE(LiesInTheProgram(&SystemApi_IsErrorOccur));
    ASSERT_TRUE(LiesInTheProgram(&SystemApi_dwErrorCode));
    ASSERT_TRUE(LiesInTheProgram(&m_SystemSdk));
    EXPECT_EQ(pConstructed, &m_SystemSdk);

    EXPECT_FALSE(SystemApi_System_GetProcessCount(nullptr));
    EXPECT_TRUE(SystemApi_IsErrorOccur);
    EXPECT_EQ(SystemApi_dwErrorCode, ERROR_SYSTEMAPI_SYSTEM_GETPROCESSCOUNT_PARAMETER);

    EXPECT_TRUE(m_SystemSdk.SystemApi_System_GetSysName(nullptr, nullptr));
    EXPECT_FALSE(SystemApi_IsErrorOccur);

    SystemApi_dwErrorCode = 5;
    EXPECT_EQ(SystemApi_GetLastError(nullptr), 5U);
}
