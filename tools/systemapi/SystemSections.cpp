#include "Failure.h"
#include "Report.h"
#include "Terminal.h"

#include <Tolvane_SystemApi.h>

#include <memory>

namespace
{
using TextBuffer = char[BASELIB_TEXT_SIZE];

int Share(unsigned long nPart, unsigned long nWhole)
{
    return nWhole == 0 ? 0 : static_cast<int>(static_cast<double>(nPart) * 100 / static_cast<double>(nWhole));
}
} // namespace

void ReportSystem(CReport& Report)
{
    Report.Try([&] {
        TextBuffer tszName = {};
        TextBuffer tszVersion = {};
        TextBuffer tszCodeName = {};
        TextBuffer tszKernel = {};
        unsigned long dwType = 0;
        Require("GETSYSTEMVER",
                [&] { return SystemApi_System_GetSystemVer(tszName, tszVersion, tszCodeName, &dwType, tszKernel); });
        Report.Line("Distribution", tszName);
        Report.Line("Version", tszVersion);
        Report.Line("Code name", tszCodeName);
        Report.Line("Kernel", tszKernel);
    });
    Report.Try([&] {
        TextBuffer tszUser = {};
        TextBuffer tszHost = {};
        Require("GETSYSNAME", [&] { return SystemApi_System_GetSysName(tszUser, tszHost); });
        Report.Line("User", tszUser);
        Report.Line("Host", tszHost);
    });
}

void ReportMemory(CReport& Report)
{
    constexpr int nInBytes = 1;
    tag_SystemApi_Memory_Infomation st_Memory = {};
    Require("GETMEMORYUSAGE", [&] { return SystemApi_System_GetMemoryUsage(&st_Memory, nInBytes); });
    Report.BarLine("Load", st_Memory.nMemoryLoad,
                   HumanSize(st_Memory.nMemoryAvailable) + " of " + HumanSize(st_Memory.nMemoryTotal) + " available");
    if (st_Memory.nSwapTotal == 0)
        Report.Line("Swap", "none");
    else
        Report.BarLine("Swap", Share(st_Memory.nSwapTotal - st_Memory.nSwapFree, st_Memory.nSwapTotal),
                       HumanSize(st_Memory.nSwapFree) + " of " + HumanSize(st_Memory.nSwapTotal) + " free");
    Report.Line("Shared", HumanSize(st_Memory.nMemoryShared));
}

void ReportProcesses(CReport& Report)
{
    Report.Try([&] {
        int nCount = 0;
        Require("GETPROCESSCOUNT", [&] { return SystemApi_System_GetProcessCount(&nCount); });
        Report.Line("Tasks", std::to_string(nCount) + ", threads included");
    });
    Report.Try([&] {
        SYSTEMAPI_PROCESS_INFO** ppSt_List = nullptr;
        int nListed = 0;
        {
            const CQuietErrors m_Quiet;
            Require(
                "GETPROCESSLIST", [&] { return SystemApi_System_GetProcessList(&ppSt_List, &nListed); }, "/proc");
        }
        const auto Release = [nListed](SYSTEMAPI_PROCESS_INFO** ppSt_Rows) {
            BaseLib_Memory_Free(&ppSt_Rows, nListed);
        };
        const std::unique_ptr<SYSTEMAPI_PROCESS_INFO*, decltype(Release)> m_Owner(ppSt_List, Release);
        Report.Line("Processes", std::to_string(nListed) + " with an id above 100");
        Report.List(CTable({{"PID", true}, {"COMMAND"}}), static_cast<std::size_t>(nListed),
                    [&](CTable& Table, std::size_t nRow) {
                        const SYSTEMAPI_PROCESS_INFO& st_Process = *ppSt_List[nRow];
                        const std::string Name = st_Process.tszProcessName;
                        Table.Add({std::to_string(st_Process.nPid), Name.empty() ? "(no command line)" : Name});
                    });
    });
}
