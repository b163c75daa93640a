// SPDX-License-Identifier: MIT
#include "Fuzz.h"

#include <Tolvane_SystemApi.h>

#include <filesystem>
#include <spawn.h>
#include <sstream>

static std::vector<std::string> Started; // the path and the arguments

// The linker puts this in the place of the C library's.
extern "C" int __wrap_posix_spawn(pid_t* pPid, const char* lpszPath, const posix_spawn_file_actions_t*,
                                  const posix_spawnattr_t*, char* const* pptszArguments, char* const*)
{
    Started = {lpszPath};
    for (; *pptszArguments; ++pptszArguments)
        Started.emplace_back(*pptszArguments);
    *pPid = 4711;
    return 0;
}

FUZZ(In)
{
    const std::string Path = TakeArgument(In);
    const std::string Line = TakeArgument(In);
    Started.clear();
    unsigned long nPid = 7;
    const bool bDone = SystemApi_Process_CreateProcess(&nPid, Path.c_str(), Line.c_str(), true);
    REQUIRE(bDone == (Line.size() < 1024) && nPid == (bDone ? 4711 : 7));
    if (!bDone)
        return;
    const std::string Name = std::filesystem::path(Path).filename();
    std::vector<std::string> Expected = {Path, Name.size() < BASELIB_FILE_NAME_SIZE ? Name : ""};
    std::istringstream Words(Line);
    for (std::string Word; std::getline(Words, Word, ' ');)
        if (!Word.empty())
            Expected.push_back(Word);
    REQUIRE(Started == Expected);
}
