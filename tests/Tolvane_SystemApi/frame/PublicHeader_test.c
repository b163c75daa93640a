// SPDX-License-Identifier: MIT
/* The public header as a C program has it: the records' layout and every constant, and a few calls. */
#include <Tolvane_SystemApi.h>

#include <errno.h>
#include <stddef.h>
#include <stdio.h>
#include <string.h>

// clang-format off: rows
#define SIZE(Record, nSize) _Static_assert(sizeof(struct Record) == (nSize), #Record);
#define FIELD(Record, Field, nPlace) _Static_assert(offsetof(struct Record, Field) == (nPlace), #Record "." #Field);
#define ERROR(Name, nCode) _Static_assert(ERROR_SYSTEMAPI_##Name == (nCode), #Name);
#define SELECTOR(Name, nValue) _Static_assert(SYSTEMAPI_SHUTDOWN_TYPE_##Name == (nValue), #Name);
#include "PublicHeader.inc"
// clang-format on

static int nFailures = 0;

static void Expect(bool bHolds, const char* lpszWhat)
{
    if (!bHolds)
    {
        printf("failed: %s\n", lpszWhat);
        ++nFailures;
    }
}
#define EXPECT(Condition) Expect(Condition, #Condition)

int main(void)
{
    int nErrno = 0;
    errno = ENOENT;
    EXPECT(SystemApi_GetLastError(&nErrno) == 0 && nErrno == ENOENT && !SystemApi_IsErrorOccur);

    char tszText[1024] = "text: ";
    int nLength = 0;
    EXPECT(SystemApi_Process_ReadCmdReturn("echo first; echo second", tszText, 1, 2, &nLength));
    EXPECT(strcmp(tszText, "text: second\n") == 0 && nLength == 7);

    EXPECT(!SystemApi_System_GetMemoryUsage(NULL, 1) && SystemApi_IsErrorOccur);
    EXPECT(SystemApi_dwErrorCode == ERROR_SYSTEMAPI_SYSTEM_GETMEMORYUSAGE_PARAMETER);
    return nFailures == 0 ? 0 : 1;
}
