// SPDX-License-Identifier: MIT
#include "Fuzz.h"

#include <Tolvane_SystemApi.h>

#include <climits>
#include <sys/types.h>

// No signal ever leaves this program: the linker puts these in the place of the C library's.
static std::vector<int> Signalled;

extern "C" int __wrap_kill(pid_t nPid, int nSignal)
{
    REQUIRE(nSignal == 2);
    Signalled.push_back(nPid);
    return 0;
}
extern "C" pid_t __wrap_waitpid(pid_t nPid, int*, int)
{
    return nPid;
}

FUZZ(In)
{
    const auto nChunks = In.ConsumeIntegral<unsigned>();
    const std::string Name = TakeArgument(In);
    const std::string Listing = TakeText(In);
    Signalled.clear();
    GiveTexts({{"ps -aux", Listing}}, nChunks);
    const bool bDone = SystemApi_Process_Stop(Name.c_str(), 0, false);

    const std::vector<std::string> Found = Lines(Listing, 2048);
    const long nPid = Found.empty() ? 0 : std::strtol(Found[0].substr(0, 1023).c_str(), nullptr, 10);
    const std::string Command = "ps -aux | grep " + Name + " | grep -v grep | awk '{print $2}'";
    const bool bStops = Command.size() < 1024 && nPid >= 1 && nPid <= INT_MAX;
    REQUIRE(bDone == bStops);
    REQUIRE(Signalled == (bStops ? std::vector<int>{static_cast<int>(nPid)} : std::vector<int>{}));
    REQUIRE(bDone || SystemApi_GetLastError(nullptr) == ERROR_SYSTEMAPI_PROCESS_STOP_NOTFOUND);
}
