// SPDX-License-Identifier: MIT
#include <Tolvane_SystemApi.h>

#include <stdio.h>
#include <string.h>

int main(void)
{
    tag_SystemApi_Memory_Infomation st_Memory = {0}; /* yours, and zeroed by you */
    if (!SystemApi_System_GetMemoryUsage(&st_Memory, 3))
    {
        int nErrno = 0;
        unsigned long dwCode = SystemApi_GetLastError(&nErrno);
        fprintf(stderr, "0x%08lX: %s\n", dwCode, strerror(nErrno));
        return 1;
    }
    printf("%lu of %lu MiB are available: %d %% are in use\n", st_Memory.nMemoryAvailable, st_Memory.nMemoryTotal,
           st_Memory.nMemoryLoad);
    return 0;
}
