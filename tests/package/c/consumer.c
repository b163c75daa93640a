/* What a C program needs of both libraries: calls, records, the error globals, and a table that it gives back. */
#include <Tolvane_SystemApi.h>

#include <string.h>

int main(void)
{
    SYSTEMAPI_FILE_ATTR st_Attr = {0};
    char** ppszFiles = NULL;
    int nCount = 0;
    return SystemApi_File_SaveBuffToFileA("made/by.c", "text", 4) &&
           SystemApi_File_EnumFileA("made/", &ppszFiles, &nCount, true, 1) && nCount == 1 &&
           strcmp(ppszFiles[0], "made/by.c") == 0 && BaseLib_Memory_Free(&ppszFiles, nCount) &&
           SystemApi_File_GetFileAttrA("made/by.c", &st_Attr) && st_Attr.nFileSize == 4 &&
           SystemApi_File_DeleteMutilFolderA("made", true) && !SystemApi_IsErrorOccur &&
           !SystemApi_File_GetFileAttrA("made/by.c", &st_Attr) && SystemApi_IsErrorOccur &&
           SystemApi_dwErrorCode == ERROR_SYSTEMAPI_FILE_GETATTR_STAT
               ? 0
               : 1;
}
