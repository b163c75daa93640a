// SPDX-License-Identifier: MIT
/* Runs, starts, describes and stops processes. */
#include <Tolvane_SystemApi.h>

#include <stdio.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

static int Complain(const char* lpszWhat)
{
    int nErrno = 0;
    unsigned long dwCode = SystemApi_GetLastError(&nErrno);
    fprintf(stderr, "%s: 0x%08lX: %s\n", lpszWhat, dwCode, strerror(nErrno));
    return 1;
}

int main(void)
{
    /* One line (1), the second (2). The buffer is yours, zeroed, and large enough: no size is passed. */
    char tszOutput[1024] = {0};
    int nLength = 0;
    if (!SystemApi_Process_ReadCmdReturn("printf 'first\\nsecond\\n'", tszOutput, 1, 2, &nLength))
        return Complain("command");
    printf("%d bytes: %s", nLength, tszOutput);

    /* A child with an empty environment. Its id is known, so that it can be stopped, which also reaps it. */
    unsigned long dwSleep = 0;
    if (!SystemApi_Process_CreateProcess(&dwSleep, "/bin/sleep", "60", false))
        return Complain("create");
    if (!SystemApi_Process_Stop(NULL, (int)dwSleep, false))
        return Complain("stop");

    /* A child with this environment. Where the program cannot be started, the call returns in the child as well. */
    unsigned long dwChild = 0;
    fflush(stdout);
    if (!SystemApi_Process_RunProcess(&dwChild, "/bin/echo", "echo", "hello from a child", false))
    {
        if (dwChild != 0)
            _exit(127);
        return Complain("run");
    }
    wait(NULL);

    /* A success full of zeros on an ordinary kernel: the page of the call tells why. */
    tag_SystemApi_Process_Infomation st_Info = {0};
    if (!SystemApi_Process_GetProcessInfo(&st_Info, NULL, 0))
        return Complain("information");
    printf("state %d, user \"%s\"\n", st_Info.nAppState, st_Info.tszUserName);

    int nUsage = 0;
    if (!SystemApi_Process_GetProcessCpuUsage(&nUsage, 0))
        return Complain("usage");
    printf("%d per cent of a processor, if the first line with these digits is this process's\n", nUsage);

    TOLVANE_LIBTIME st_Start = {0};
    if (!SystemApi_Process_GetUpTime(&st_Start, 0))
        return Complain("start");
    printf("started %04d-%02d-%02d %02d:%02d\n", st_Start.nYear, st_Start.nMonth, st_Start.nDay, st_Start.nHour,
           st_Start.nMinute);

    char tszPath[1025] = {0}; /* one more than the call may fill: it writes no ending null character */
    if (!SystemApi_Process_GetPath(tszPath, 0))
        return Complain("path");
    printf("%s\n", tszPath);

    int nPriority = 0;
    if (!SystemApi_Process_GetPriority(&nPriority, 0))
        return Complain("priority");
    printf("nice value %d\n", nPriority);

    /* Only -20 can be set, by those who may. */
    if (SystemApi_Process_IsAdmin() && !SystemApi_Process_SetPriority(-20, 0))
        Complain("priority -20");

    /* Bits are added to the mask: zero it. Then bind this thread to the first processor that it may use. */
    unsigned long dwMask = 0;
    if (!SystemApi_Process_GetProcessForCpu(0, &dwMask))
        return Complain("processors");
    unsigned long nFirst = 0;
    while (nFirst < 63 && (dwMask >> nFirst & 1) == 0)
        ++nFirst;
    if (!SystemApi_Process_SetProcessForCpu(0, nFirst))
        return Complain("bind");
    printf("bound to processor %lu\n", nFirst);
    return 0;
}
