/* The public header as a C program has it: the records' layout and every constant, and a few calls. */
#include <Tolvane_SystemApi.h>

#include <errno.h>
#include <stddef.h>
#include <stdio.h>
#include <string.h>

// clang-format off: rows
#define SIZE(Record, nSize) {#Record, sizeof(struct Record), nSize},
#define FIELD(Record, Field, nPlace) {#Record "." #Field, offsetof(struct Record, Field), nPlace},
#define ERROR(Name, nCode) {#Name, ERROR_SYSTEMAPI_##Name, nCode},
#define SELECTOR(Name, nValue) {#Name, SYSTEMAPI_SHUTDOWN_TYPE_##Name, nValue},
// clang-format on
static const struct
{
    const char* lpszName;
    unsigned long dwDefined, dwDue;
} st_Values[] = {
#include "PublicHeader.inc"
};

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
    for (size_t nRow = 0; nRow < sizeof(st_Values) / sizeof(st_Values[0]); ++nRow)
        Expect(st_Values[nRow].dwDefined == st_Values[nRow].dwDue, st_Values[nRow].lpszName);

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
