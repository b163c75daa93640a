// SPDX-License-Identifier: MIT
/* Shows disks, processor and serial numbers. Serial numbers want sudo without a password, and stay empty otherwise. */
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

int main(void)
{
    /* In bytes (1), so that a small file system does not round down to 0. */
    tag_SystemApi_Disk_Information st_Disk = {0};
    if (!SystemApi_HardWare_GetDiskInfomation("/", &st_Disk, 1))
        return Complain("file system");
    printf("file system kind %u: %lu of %lu bytes free\n", st_Disk.enDiskType, st_Disk.dwDiskFree,
           st_Disk.dwDiskTotal);

    char** pptszDisks = NULL;
    int nCount = 0;
    if (!SystemApi_HardWare_GetDiskNumber(&pptszDisks, &nCount))
        return Complain("disks");
    for (int nRow = 0; nRow < nCount; ++nRow)
        printf("/dev/%s\n", pptszDisks[nRow]);
    BaseLib_Memory_Free(&pptszDisks, nCount); /* also when there are none */

    tag_SystemApi_Cpu_Information st_Cpu = {0};
    if (!SystemApi_HardWare_GetCpuInfomation(&st_Cpu))
        return Complain("processor");
    printf("%s (%s), %d MHz, %d online\n", st_Cpu.tszCpuName, st_Cpu.tszCpuVendor, st_Cpu.nCpuSpeed,
           st_Cpu.nCpuNumber);

    /* Zeroed, but for the device to ask for; after the call the field holds the disk's number. */
    tag_SystemApi_SdkSerial_Information st_Serial = {0};
    strcpy(st_Serial.tszDiskSerial, "/dev/nvme0n1");
    if (!SystemApi_HardWare_GetSerial(&st_Serial))
        return Complain("serials");
    printf("board \"%s\", system \"%s\"\n", st_Serial.tszBoardSerial, st_Serial.tszSystemUUID);
    return 0;
}
