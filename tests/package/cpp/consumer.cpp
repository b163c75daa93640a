// SPDX-License-Identifier: MIT
// What a C++ program needs of both libraries: an object of a class, and exceptions that cross the C functions.
#include <SystemApi_File/SystemApi_File.h>

#include <filesystem>

int main()
{
    std::list<std::string> Files;
    bool bGood = m_FileSdk.SystemApi_File_EnumFileA("/proc/self/task", &Files, false, 2, nullptr) &&
                 Files.size() == 1 && BaseLib_Time_GetTickCount() > 0;
    try
    {
        SystemApi_File_CreateMutilFolderA("");
        bGood = false;
    }
    catch (const std::filesystem::filesystem_error&)
    {}
    return bGood ? 0 : 1;
}
