// SPDX-License-Identifier: MIT
#pragma once

/// \file
/// Files and folders. The operations are described in Tolvane_SystemApi.h.

#include <Tolvane_SystemApi.h>

#include <list>
#include <string>

/// The file operations, each named as the C function that forwards to it. The class has no data.
class SYSTEMAPI_EXPORT CSystemApi_File
{
public:
    CSystemApi_File();  ///< Does nothing.
    ~CSystemApi_File(); ///< Does nothing.

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
    /// \param[in]     lpszPath      the folder, never a pattern
    /// \param[in,out] pStl_ListFile entries, strings of any length, are appended to what it holds; those appended
    ///                              before an exception stay
    /// \param[in]     bRecursion    as in the table form
    /// \param[in]     nFileType     as in the table form
    /// \param[in]     lpszFileExt   the filter, without its dot; null for none. Files whose extension begins with it
    ///                              are listed, in either case; the empty filter admits every file
    /// \return true, also when nothing was found, or false with ..._ENUMFILE_PARAMETER (path or list is null) or
    ///         ..._ENUMFILE_NOTDIR, list untouched. Every other failure is a filesystem_error.
    ///
    /// What it finds is as in the table form of the same name below.
    bool SystemApi_File_EnumFileA(const char* lpszPath, std::list<std::string>* pStl_ListFile, bool bRecursion,
                                  int nFileType, const char* lpszFileExt);
    /// \copydoc SystemApi_File_EnumFileA(const char*, std::list<std::string>*, bool, int, const char*)
    bool SystemApi_File_EnumFileW(const wchar_t* lpszPath, std::list<std::wstring>* pStl_ListFile, bool bRecursion,
                                  int nFileType, const wchar_t* lpszFileExt);
    /// What a folder, a tree or a pattern holds, as a table of rows.
    bool SystemApi_File_EnumFileA(const char* lpszPath, char*** pppszFileList, int* pInt_ListCount, bool bRecursion,
                                  int nFileType);
    bool SystemApi_File_EnumFileW(const wchar_t* lpszPath, wchar_t*** pppszFileList, int* pInt_ListCount,
                                  bool bRecursion, int nFileType);
};

/// The object that the C functions forward to.
extern SYSTEMAPI_EXPORT CSystemApi_File m_FileSdk;
