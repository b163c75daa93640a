// SPDX-License-Identifier: MIT
/* What a C program needs of both libraries: calls, records, the error globals, and a table that it gives back. */
#include <Tolvane_SystemApi.h>

#include <string.h>

int main(void)
{
    const char* lpszFile = "made/by.c";
    SYSTEMAPI_FILE_ATTR st_Attr = {0};
    char** ppszFiles = NULL;
    int nCount = 0;
    bool bGood = SystemApi_File_SaveBuffToFileA(lpszFile, "text", 4);
    bGood = bGood && SystemApi_File_EnumFileA("made/", &ppszFiles, &nCount, true, 1);
    bGood = bGood && nCount == 1 && strcmp(ppszFiles[0], lpszFile) == 0;
    bGood = BaseLib_Memory_Free(&ppszFiles, nCount) && bGood;
    bGood = bGood && SystemApi_File_GetFileAttrA(lpszFile, &st_Attr) && st_Attr.nFileSize == 4;
    bGood = SystemApi_File_DeleteMutilFolderA("made", true) && bGood && !SystemApi_IsErrorOccur;
    bGood = !SystemApi_File_GetFileAttrA(lpszFile, &st_Attr) && bGood && SystemApi_IsErrorOccur;
    return bGood && SystemApi_dwErrorCode == ERROR_SYSTEMAPI_FILE_GETATTR_STAT ? 0 : 1;
}
