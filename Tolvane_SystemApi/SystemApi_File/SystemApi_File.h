#pragma once

/// Files and folders. The operations are described in Tolvane_SystemApi.h.

#include <Tolvane_SystemApi.h>

#include <list>
#include <string>

class SYSTEMAPI_EXPORT CSystemApi_File
{
public:
    CSystemApi_File();
    ~CSystemApi_File();

    /// Size, times and flags of a path.
    bool SystemApi_File_GetFileAttrA(const char* lpszPath, SYSTEMAPI_FILE_ATTR* pSt_FileAttr);
    bool SystemApi_File_GetFileAttrW(const wchar_t* lpszPath, SYSTEMAPI_FILE_ATTR* pSt_FileAttr);
    /// A file of zero bytes, every one of them written.
    bool SystemApi_File_CreateSparseFileA(const char* lpszPath, long long nSize);
    bool SystemApi_File_CreateSparseFileW(const wchar_t* lpszPath, long long nSize);

    /// A folder and every missing folder above it.
    bool SystemApi_File_CreateMutilFolderA(const char* lpszPath);
    bool SystemApi_File_CreateMutilFolderW(const wchar_t* lpszPath);
    /// A folder tree goes, or only what the folder holds.
    bool SystemApi_File_DeleteMutilFolderA(const char* lpszPath, bool bDeleteFolder);
    bool SystemApi_File_DeleteMutilFolderW(const wchar_t* lpszPath, bool bDeleteFolder);

    /// A buffer into a file, whose folder is made when it is missing.
    bool SystemApi_File_SaveBuffToFileA(const char* lpszPath, const char* lpszBuffer, int nSize);
    bool SystemApi_File_SaveBuffToFileW(const wchar_t* lpszPath, const char* lpszBuffer, int nSize);
    /// A copy of a file, whose folder is made when it is missing.
    bool SystemApi_File_CopyFileA(const char* lpszSource, const char* lpszDest, bool bFailIfExist);
    bool SystemApi_File_CopyFileW(const wchar_t* lpszSource, const wchar_t* lpszDest, bool bFailIfExist);

    /// What a folder or a tree holds, appended to a list.
    ///
    /// As the table form of the same name below, with these differences: lpszPath is a folder, never a pattern;
    /// lpszFileExt is the filter, without its dot, null for none; a walk that finds nothing is no failure, so
    /// ..._NOTFOUND is never set; an entry is a string of any length. The entries that the list holds stay in front,
    /// also those appended before an exception.
    bool SystemApi_File_EnumFileA(const char* lpszPath, std::list<std::string>* pStl_ListFile, bool bRecursion,
                                  int nFileType, const char* lpszFileExt);
    bool SystemApi_File_EnumFileW(const wchar_t* lpszPath, std::list<std::wstring>* pStl_ListFile, bool bRecursion,
                                  int nFileType, const wchar_t* lpszFileExt);
    /// What a folder, a tree or a pattern holds, as a table of rows.
    bool SystemApi_File_EnumFileA(const char* lpszPath, char*** pppszFileList, int* pInt_ListCount, bool bRecursion,
                                  int nFileType);
    bool SystemApi_File_EnumFileW(const wchar_t* lpszPath, wchar_t*** pppszFileList, int* pInt_ListCount,
                                  bool bRecursion, int nFileType);
};

extern SYSTEMAPI_EXPORT CSystemApi_File m_FileSdk;
