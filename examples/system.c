// SPDX-License-Identifier: MIT
/* Shows the system, its memory, processors, processes and start. usage: system [lock], which also locks the screen. */
#include <Tolvane_SystemApi.h>

#include <stdio.h>
#include <string.h>

static int Complain(const char* lpszWhat)
{
    int nErrno = 0;
    unsigned long dwCode = SystemApi_GetLastError(&nErrno);
    fprintf(stderr, "%s: 0x%08lX: %s\n", lpszWhat, dwCode, strerror(nErrno));
    return 1;
}

int main(int argc, char** argv)
{
    /* Zeroed: what the release file does not hold is not written. */
    char tszName[1024] = {0}, tszVersion[1024] = {0}, tszBuild[1024] = {0}, tszKernel[1024] = {0};
    unsigned long dwType = 0;
    if (!SystemApi_System_GetSystemVer(tszName, tszVersion, tszBuild, &dwType, tszKernel))
        return Complain("version");
    printf("%s %s (%s), kernel %s\n", tszName, tszVersion, tszBuild, tszKernel);

    char tszUser[1024] = {0}, tszHost[1024] = {0};
    SystemApi_System_GetSysName(tszUser, tszHost);
    printf("%s on %s\n", tszUser, tszHost);

    tag_SystemApi_Memory_Infomation st_Memory = {0};
    if (!SystemApi_System_GetMemoryUsage(&st_Memory, 3)) /* in MiB, but for nMemoryShared */
        return Complain("memory");
    printf("%d %% of %lu MiB in use\n", st_Memory.nMemoryLoad, st_Memory.nMemoryTotal);

    /* Takes one second. What is out of range is unknown. */
    int nUsage = 0;
    if (!SystemApi_System_GetCpuUsage(&nUsage))
        return Complain("processors");
    if (nUsage >= 0 && nUsage <= 100)
        printf("processors busy: %d %%\n", nUsage);

    /* 0 on every machine that has ever worked. */
    unsigned long dwIdle = 0;
    if (!SystemApi_System_GetSysIdleTime(&dwIdle))
        return Complain("idle time");
    printf("idle: %lu\n", dwIdle);

    SYSTEMAPI_PROCESS_INFO** ppSt_List = NULL;
    int nCount = 0;
    if (!SystemApi_System_GetProcessList(&ppSt_List, &nCount))
        return Complain("processes");
    for (int nRow = 0; nRow < nCount && nRow < 3; ++nRow)
        printf("%d %s\n", ppSt_List[nRow]->nPid, ppSt_List[nRow]->tszProcessName);
    BaseLib_Memory_Free(&ppSt_List, nCount);

    int nTasks = 0; /* threads included, so it is not the length of the list */
    if (!SystemApi_System_GetProcessCount(&nTasks))
        return Complain("tasks");
    printf("%d tasks\n", nTasks);

    TOLVANE_LIBTIME st_Start = {0};
    if (!SystemApi_System_GetUpTime(&st_Start))
        return Complain("start");
    printf("up since %04d-%02d-%02d %02d:%02d\n", st_Start.nYear, st_Start.nMonth, st_Start.nDay, st_Start.nHour,
           st_Start.nMinute);

    /* At most five seconds; exec, so that the limit meets the program and not a shell before it. */
    fflush(stdout);
    if (!SystemApi_System_SystemEx("exec echo in time", 5))
        return Complain("command");

    /* Nothing is asked on this platform, and nothing answered. */
    char tszValue[64] = "unchanged";
    SystemApi_System_WMIQuery("SELECT * FROM anything", "field", tszValue, (int)sizeof(tszValue));
    printf("%s\n", tszValue);

    if (argc > 1 && strcmp(argv[1], "lock") == 0 && !SystemApi_System_Shutdown(SYSTEMAPI_SHUTDOWN_TYPE_LOCK))
        return Complain("lock");
    return 0;
}
