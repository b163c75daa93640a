// SPDX-License-Identifier: MIT
/* Makes, describes, saves, copies, lists and deletes files, in a folder "example" of the current one. */
#include <Tolvane_SystemApi.h>

#include <stdio.h>
#include <string.h>

static int Complain(const char* lpszWhat)
{
    int nErrno = 0;
    unsigned long dwCode = SystemApi_GetLastError(&nErrno); /* at once: errno is not kept */
    fprintf(stderr, "%s: 0x%08lX: %s\n", lpszWhat, dwCode, strerror(nErrno));
    return 1;
}

int main(void)
{
    /* The folder, with every missing folder above it. */
    if (!SystemApi_File_CreateMutilFolderA("example/in"))
        return Complain("create");

    /* A million zero bytes, every one of them written. */
    if (!SystemApi_File_CreateSparseFileA("example/in/zeros.bin", 1000000))
        return Complain("zeros");

    /* Makes "example/out" on the way. */
    static const char tszText[] = "saved by SystemApi\n";
    if (!SystemApi_File_SaveBuffToFileA("example/out/note.txt", tszText, (int)strlen(tszText)))
        return Complain("save");

    /* true: refuse to copy over a file that exists. The wide form would look at the source instead. */
    if (!SystemApi_File_CopyFileA("example/out/note.txt", "example/in/copy.txt", true))
        return Complain("copy");

    SYSTEMAPI_FILE_ATTR st_Attr = {0};
    if (!SystemApi_File_GetFileAttrA("example/in/zeros.bin", &st_Attr))
        return Complain("attributes");
    printf("%lld bytes, written %lld s after 1970\n", st_Attr.nFileSize, st_Attr.nWriteTime);

    /* Files alone (1) of the whole tree, those with the extension txt. */
    char** pptszFiles = NULL;
    int nCount = 0;
    if (!SystemApi_File_EnumFileA("example/*.txt", &pptszFiles, &nCount, true, 1))
        return Complain("list");
    for (int nRow = 0; nRow < nCount; ++nRow)
        printf("%s\n", pptszFiles[nRow]);
    BaseLib_Memory_Free(&pptszFiles, nCount);

    /* true: the folder goes too, with all it holds. */
    if (!SystemApi_File_DeleteMutilFolderA("example", true))
        return Complain("delete");
    return 0;
}
