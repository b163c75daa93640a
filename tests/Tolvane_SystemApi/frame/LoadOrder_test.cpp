// SPDX-License-Identifier: MIT
#include "SystemApi_File/SystemApi_File.h"
#include "SystemApi_HardWare/SystemApi_HardWare.h"
#include "SystemApi_Process/SystemApi_Process.h"
#include "SystemApi_System/SystemApi_System.h"

#include <cstdlib>
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <utility>
#include <vector>

// This program is not linked with the library. It loads it, and its own constructors and destructors stand in for
// the library's.
namespace
{
using CALL = std::pair<char, const void*>; ///< '+' constructed, '-' destroyed; where

std::vector<CALL>& Calls()
{
    static std::vector<CALL> Recorded;
    return Recorded;
}
} // namespace

#define RECORD_CALLS(Class)                                                                                          \
    Class::Class()                                                                                                   \
    {                                                                                                                \
        Calls().emplace_back('+', this);                                                                             \
    }                                                                                                                \
    Class::~Class()                                                                                                  \
    {                                                                                                                \
        Calls().emplace_back('-', this);                                                                             \
    }
RECORD_CALLS(CSystemApi_File)
RECORD_CALLS(CSystemApi_HardWare)
RECORD_CALLS(CSystemApi_Process)
RECORD_CALLS(CSystemApi_System)

TEST(LoadOrder, ObjectsAreConstructedInOrderAndDestroyedInReverse)
{
    const char* const lpszLibrary = std::getenv("SYSTEMAPI_LIBRARY");
    ASSERT_NE(lpszLibrary, nullptr) << "names the library to load";
    for (int nLoad = 1; nLoad <= 2; ++nLoad)
    {
        Calls().clear();
        void* const pLibrary = dlopen(lpszLibrary, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(pLibrary, nullptr) << dlerror();
        const void* const pFile = dlsym(pLibrary, "m_FileSdk");
        const void* const pHardware = dlsym(pLibrary, "m_Hardware");
        const void* const pProcess = dlsym(pLibrary, "m_ProcessSdk");
        const void* const pSystem = dlsym(pLibrary, "m_SystemSdk");
        EXPECT_THAT(Calls(), testing::ElementsAre(CALL('+', pFile), CALL('+', pHardware), CALL('+', pProcess),
                                                  CALL('+', pSystem)));
        Calls().clear();
        EXPECT_EQ(dlclose(pLibrary), 0);
        EXPECT_THAT(Calls(), testing::ElementsAre(CALL('-', pSystem), CALL('-', pProcess), CALL('-', pHardware),
                                                  CALL('-', pFile)));
        EXPECT_EQ(dlopen(lpszLibrary, RTLD_NOW | RTLD_NOLOAD), nullptr) << "it is still loaded";
    }
}
