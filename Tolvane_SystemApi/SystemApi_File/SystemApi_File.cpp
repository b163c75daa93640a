// SPDX-License-Identifier: MIT
#include "SystemApi_File.h"

#include "../Handle.h"
#include "../RowTable.h"
#include "../pch.h"
#include "FolderWalk.h"
#include "NativePath.h"
#include "TextQueue.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cwchar>
#include <fcntl.h>
#include <optional>
#include <string_view>
#include <strings.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace fs = std::filesystem;

// Kept out of line on purpose: where the global object stands GCC could drop the calls, and with them the order
// at load and at unload.
CSystemApi_File::CSystemApi_File() = default;
CSystemApi_File::~CSystemApi_File() = default;

// Every operation is one body for both widths, and its two members are forwards to it.

namespace
{
/// What the widths call by different names, and where their operations part on purpose.
template <typename Char>
struct FileRules;
template <>
struct FileRules<char>
{
    static constexpr auto pfnSplitPath = BaseLib_String_GetFileAndPathA;
    static constexpr auto pfnCompareAnyCase = strncasecmp;
    static std::string_view FromNative(std::string_view Text) noexcept { return Text; }

    static constexpr bool bCopyTestsSource = false; // whose existence forbids a copy
    static constexpr bool bTableCutsStar = true;    // "folder/*" walks "folder/"
    static constexpr bool bTreeFilesByAnsi = true;  // a tree's files go by way of wide text to the locale's form
};
template <>
struct FileRules<wchar_t>
{
    static constexpr auto pfnSplitPath = BaseLib_String_GetFileAndPathW;
    static constexpr auto pfnCompareAnyCase = wcsncasecmp;
    static std::wstring FromNative(std::string_view Text) { return ToWide(Text); }

    static constexpr bool bCopyTestsSource = true;
    static constexpr bool bTableCutsStar = false;
    static constexpr bool bTreeFilesByAnsi = false;
};

/// A new, empty file. What is written to it is handed to the kernel at once, so that a full disk shows at the write,
/// and nothing is copied on the way.
class CNewFile
{
public:
    template <typename Char>
    explicit CNewFile(const Char* lpszPath)
        : m_File(open(CSystemPath<Char>(lpszPath).Get(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666))
    {}
    explicit operator bool() const noexcept { return static_cast<bool>(m_File); }

    /// How many bytes were written; 0 after a failure.
    std::size_t Write(const char* pBytes, std::size_t nBytes) const noexcept
    {
        const ssize_t nWritten = write(m_File.Get(), pBytes, nBytes);
        return nWritten > 0 ? static_cast<std::size_t>(nWritten) : 0;
    }

private:
    CDescriptor m_File;
};
} // namespace

/* ---------------------------------------------------------------------------------------------------
 * Attributes and files of zeros
 * ------------------------------------------------------------------------------------------------- */

namespace
{
template <typename Char>
bool GetFileAttr(const Char* lpszPath, SYSTEMAPI_FILE_ATTR* pSt_FileAttr)
{
    ClearError();
    if (!lpszPath || !pSt_FileAttr)
        return Fail(ERROR_SYSTEMAPI_FILE_GETATTR_PARAMETER);
    const CSystemPath<Char> m_Path(lpszPath);
    struct stat st_Status = {};
    if (stat(m_Path.Get(), &st_Status) != 0)
        return Fail(ERROR_SYSTEMAPI_FILE_GETATTR_STAT);
    pSt_FileAttr->nFileSize = st_Status.st_size;
    pSt_FileAttr->nCreateTime = st_Status.st_ctim.tv_sec; // Kept on purpose: the status change, for the creation.
    pSt_FileAttr->nAccessTime = st_Status.st_atim.tv_sec;
    pSt_FileAttr->nWriteTime = st_Status.st_mtim.tv_sec;
    pSt_FileAttr->bIsFile = !S_ISDIR(st_Status.st_mode);
    pSt_FileAttr->bIsHidden = *lpszPath == Char('.'); // Kept on purpose: of the path as passed, not of its last name.
    pSt_FileAttr->bIsRead = access(m_Path.Get(), R_OK) == 0;
    return true;
}

template <typename Char>
bool CreateSparseFile(const Char* lpszPath, long long nSize)
{
    constexpr char tszZeros[4096] = {};

    ClearError();
    if (!lpszPath || nSize < 1)
        return Fail(ERROR_SYSTEMAPI_FILE_SPARSE_PARAMETER);
    const CNewFile m_File(lpszPath);
    if (!m_File)
        return Fail(ERROR_SYSTEMAPI_FILE_SPARSE_OPEN);
    auto nRest = static_cast<std::uint64_t>(nSize);
    while (nRest > 0) // Kept on purpose: every byte is written, despite the name.
    {
        const std::size_t nWritten = m_File.Write(tszZeros, std::min(nRest, sizeof(tszZeros)));
        if (nWritten == 0)
            return Fail(ERROR_SYSTEMAPI_FILE_SPARSE_WRITE);
        nRest -= nWritten;
    }
    return true;
}
} // namespace

bool CSystemApi_File::SystemApi_File_GetFileAttrA(const char* lpszPath, SYSTEMAPI_FILE_ATTR* pSt_FileAttr)
{
    return GetFileAttr(lpszPath, pSt_FileAttr);
}
bool CSystemApi_File::SystemApi_File_GetFileAttrW(const wchar_t* lpszPath, SYSTEMAPI_FILE_ATTR* pSt_FileAttr)
{
    return GetFileAttr(lpszPath, pSt_FileAttr);
}
bool CSystemApi_File::SystemApi_File_CreateSparseFileA(const char* lpszPath, long long nSize)
{
    return CreateSparseFile(lpszPath, nSize);
}
bool CSystemApi_File::SystemApi_File_CreateSparseFileW(const wchar_t* lpszPath, long long nSize)
{
    return CreateSparseFile(lpszPath, nSize);
}

/* ---------------------------------------------------------------------------------------------------
 * Folders
 * ------------------------------------------------------------------------------------------------- */

namespace
{
template <typename Char>
bool CreateMutilFolder(const Char* lpszPath)
{
    ClearError();
    if (!lpszPath)
        return Fail(ERROR_SYSTEMAPI_FILE_CREATEFOLDER_PARAMETER);
    std::basic_string_view<Char> Path(lpszPath);
    if (Path.size() >= BASELIB_TEXT_SIZE)
        std::abort(); // Kept on purpose: a path this long ends the process.
    if (Path.ends_with(Char('\\')))
        Path.remove_suffix(1); // Kept on purpose: one backslash goes, a second one or a slash stays.
    const fs::path Folder = ToPath(Path);
    // Kept on purpose: whatever stands there already is a success, a file too.
    if (!fs::exists(Folder) && !fs::create_directories(Folder))
        return Fail(ERROR_SYSTEMAPI_FILE_CREATEFOLDER_CREATE);
    return true;
}

template <typename Char>
bool DeleteMutilFolder(const Char* lpszPath, bool bDeleteFolder)
{
    ClearError();
    if (!lpszPath)
        return Fail(ERROR_SYSTEMAPI_FILE_DELETEFOLDER_PARAMETER);
    const fs::path Folder = ToPath(lpszPath);
    if (!fs::is_directory(Folder))
        return true; // Kept on purpose: nothing there counts as deleted, and a file stays.
    if (bDeleteFolder)
    {
        fs::remove_all(Folder);
        return true;
    }
    for (const fs::directory_entry& Entry : fs::directory_iterator(Folder))
        fs::remove_all(Entry.path());
    return true;
}
} // namespace

bool CSystemApi_File::SystemApi_File_CreateMutilFolderA(const char* lpszPath)
{
    return CreateMutilFolder(lpszPath);
}
bool CSystemApi_File::SystemApi_File_CreateMutilFolderW(const wchar_t* lpszPath)
{
    return CreateMutilFolder(lpszPath);
}
bool CSystemApi_File::SystemApi_File_DeleteMutilFolderA(const char* lpszPath, bool bDeleteFolder)
{
    return DeleteMutilFolder(lpszPath, bDeleteFolder);
}
bool CSystemApi_File::SystemApi_File_DeleteMutilFolderW(const wchar_t* lpszPath, bool bDeleteFolder)
{
    return DeleteMutilFolder(lpszPath, bDeleteFolder);
}

/* ---------------------------------------------------------------------------------------------------
 * Saving and copying
 * ------------------------------------------------------------------------------------------------- */

namespace
{
/// Makes the folder of a destination when it is missing. After a success the code of the failed attribute call
/// stands; callers know it.
template <typename Char>
bool MakeFolderOf(const Char* lpszDest)
{
    Char tszFolder[BASELIB_TEXT_SIZE] = {};
    FileRules<Char>::pfnSplitPath(lpszDest, tszFolder, nullptr, nullptr, nullptr, false);
    SYSTEMAPI_FILE_ATTR st_Folder = {};
    const bool bIsFolder = GetFileAttr(tszFolder, &st_Folder) && !st_Folder.bIsFile;
    return bIsFolder || CreateMutilFolder(tszFolder);
}

template <typename Char>
bool SaveBuffToFile(const Char* lpszPath, const char* lpszBuffer, int nSize)
{
    ClearError();
    if (!lpszPath || !lpszBuffer)
        return Fail(ERROR_SYSTEMAPI_FILE_SAVEBUFF_PARAMETER);
    if (!MakeFolderOf(lpszPath))
        return false;
    const CNewFile m_File(lpszPath);
    if (!m_File)
        return Fail(ERROR_SYSTEMAPI_FILE_SAVEBUFF_OPEN);
    const auto nCount = static_cast<std::uint64_t>(nSize);
    std::uint64_t nTotal = 0;
    while (nTotal < nCount) // Kept on purpose: a write that writes nothing is tried again, without a limit.
        nTotal += m_File.Write(lpszBuffer + nTotal, nCount - nTotal);
    return true;
}

/// The facility's copy. It raises EINTR where a signal handler without SA_RESTART meets the begin of the copying; what
/// is under way it brings to its end, so that taking it up again comes to one as well.
bool CopyOver(const fs::path& Source, const fs::path& Dest)
{
    std::error_code Error;
    bool bCopied = false;
    do
        bCopied = fs::copy_file(Source, Dest, fs::copy_options::overwrite_existing, Error);
    while (Error == std::errc::interrupted);
    if (Error)
        throw fs::filesystem_error("cannot copy file", Source, Dest, Error);
    return bCopied;
}

template <typename Char>
bool CopyFile(const Char* lpszSource, const Char* lpszDest, bool bFailIfExist)
{
    ClearError();
    if (!lpszSource || !lpszDest)
        return Fail(ERROR_SYSTEMAPI_FILE_COPY_PARAMETER);
    const Char* const lpszTested = FileRules<Char>::bCopyTestsSource ? lpszSource : lpszDest;
    if (bFailIfExist && access(CSystemPath<Char>(lpszTested).Get(), F_OK) == 0)
        return Fail(ERROR_SYSTEMAPI_FILE_COPY_EXIST);
    if (!MakeFolderOf(lpszDest))
        return false;
    if (!CopyOver(ToPath(lpszSource), ToPath(lpszDest)))
        return Fail(ERROR_SYSTEMAPI_FILE_COPY_COPY);
    return true;
}
} // namespace

bool CSystemApi_File::SystemApi_File_SaveBuffToFileA(const char* lpszPath, const char* lpszBuffer, int nSize)
{
    return SaveBuffToFile(lpszPath, lpszBuffer, nSize);
}
bool CSystemApi_File::SystemApi_File_SaveBuffToFileW(const wchar_t* lpszPath, const char* lpszBuffer, int nSize)
{
    return SaveBuffToFile(lpszPath, lpszBuffer, nSize);
}
bool CSystemApi_File::SystemApi_File_CopyFileA(const char* lpszSource, const char* lpszDest, bool bFailIfExist)
{
    return CopyFile(lpszSource, lpszDest, bFailIfExist);
}
bool CSystemApi_File::SystemApi_File_CopyFileW(const wchar_t* lpszSource, const wchar_t* lpszDest, bool bFailIfExist)
{
    return CopyFile(lpszSource, lpszDest, bFailIfExist);
}

/* ---------------------------------------------------------------------------------------------------
 * Enumeration
 * ------------------------------------------------------------------------------------------------- */

namespace
{
/// What follows the last dot of a name; nothing where that dot comes first.
std::string_view ExtensionOf(std::string_view Name) noexcept
{
    const std::size_t nDot = Name.rfind('.');
    return Name.substr(nDot == Name.npos || nDot == 0 ? Name.size() : nDot + 1);
}

/// Kept on purpose: a tree's walk leaves these two folders out, and goes by their exact names.
template <typename Char>
bool IsSkipped(std::string_view Name)
{
    const auto Text = FileRules<Char>::FromNative(Name);
    const auto m_Is = [&Text](std::string_view Skipped) {
        return std::equal(Text.begin(), Text.end(), Skipped.begin(), Skipped.end());
    };
    return m_Is("$RECYCLE.BIN") || m_Is("System Volume Information");
}

/// Kept on purpose: the filter is written without a dot, is the beginning of an extension, and is blind to case.
template <typename Char>
bool Admits(std::basic_string_view<Char> Filter, std::string_view Name)
{
    const auto Ext = FileRules<Char>::FromNative(ExtensionOf(Name)); // narrow, it ends where the path ends
    return FileRules<Char>::pfnCompareAnyCase(Filter.data(), Ext.data(), Filter.size()) == 0;
}

/// The form of a tree's files in the narrow list: the locale's, which wide text is turned into.
class CAnsiForm
{
public:
    /// Lives until the next call, or as long as the path does.
    /// \throws std::filesystem::filesystem_error (EILSEQ) for a path that is not UTF-8
    std::string_view Of(const std::string& Path)
    {
        if (Path.size() < m_tszText.size() && IsAscii(Path) && AsciiStays())
            return Path;
        m_tszText.fill('\0');
        Convert(ToWide(Path));
        return m_tszText.data(); // Kept on purpose: empty where the text does not fit.
    }

private:
    void Convert(const std::wstring& Wide)
    {
        int nLength = static_cast<int>(Wide.size() * 4);
        BaseLib_Charset_UnicodeToAnsi(Wide.c_str(), m_tszText.data(), &nLength, nullptr);
    }
    /// Whether the locale writes ASCII as it is: asked once, in place of a conversion for every entry.
    bool AsciiStays()
    {
        if (!m_bAsciiStays)
        {
            std::string Ascii(127, '\0');
            std::generate(Ascii.begin(), Ascii.end(), [chNext = '\0']() mutable { return ++chNext; });
            Convert(ToWide(Ascii));
            m_bAsciiStays = Ascii == m_tszText.data();
        }
        return *m_bAsciiStays;
    }

    std::array<char, BASELIB_TEXT_SIZE> m_tszText = {};
    std::optional<bool> m_bAsciiStays;
};

/// Hands the entries that pass to Append, in the walk's order.
template <typename Char, typename Appender>
bool EnumFile(const Char* lpszPath, bool bRecursion, int nFileType, const Char* lpszFileExt, Appender&& Append)
{
    const fs::path Folder = ToPath(lpszPath);
    if (!fs::is_directory(Folder))
        return Fail(ERROR_SYSTEMAPI_FILE_ENUMFILE_NOTDIR);

    const bool bTakesFolders = static_cast<unsigned>(nFileType) - 2U <= 1U; // 2 and 3
    const bool bTakesFiles = (nFileType & ~2) == 1;                         // 1 and 3
    const std::basic_string_view<Char> Filter = lpszFileExt ? lpszFileExt : std::basic_string_view<Char>();
    [[maybe_unused]] CAnsiForm m_AnsiForm;

    CFolderWalk m_Walk(Folder, bRecursion);
    while (m_Walk.Next())
    {
        const std::string& Path = m_Walk.Path();
        if (m_Walk.IsFolder())
        {
            if (bRecursion && IsSkipped<Char>(m_Walk.Name()))
                m_Walk.StayOut();
            else if (bTakesFolders)
                Append(FileRules<Char>::FromNative(Path));
            continue;
        }
        if (!bTakesFiles)
            continue;
        const auto m_Passes = [&] {
            return !lpszFileExt || Admits(Filter, m_Walk.Name());
        };
        if constexpr (FileRules<Char>::bTreeFilesByAnsi)
        {
            if (bRecursion)
            {
                const std::string_view Text = m_AnsiForm.Of(Path); // raises for files that do not pass, too
                if (m_Passes())
                    Append(Text);
                continue;
            }
        }
        if (m_Passes())
            Append(FileRules<Char>::FromNative(Path));
    }
    return true;
}

template <typename Char>
bool EnumFileToList(const Char* lpszPath, std::list<std::basic_string<Char>>* pStl_ListFile, bool bRecursion,
                    int nFileType, const Char* lpszFileExt)
{
    ClearError();
    if (!lpszPath || !pStl_ListFile)
        return Fail(ERROR_SYSTEMAPI_FILE_ENUMFILE_PARAMETER);
    return EnumFile(lpszPath, bRecursion, nFileType, lpszFileExt,
                    [&](auto&& Entry) { pStl_ListFile->emplace_back(std::forward<decltype(Entry)>(Entry)); });
}

/// The entries as a table of rows. The rows are longer than usual where an entry would not fit.
template <typename Char>
Char** MakeTable(CTextQueue<Char>& Entries)
{
    const std::size_t nRowSize = std::max<std::size_t>(BASELIB_TEXT_SIZE, (Entries.Longest() + 1) * sizeof(Char));
    const auto nRows = static_cast<long long>(Entries.Count());
    CRowTable<Char> m_Table(nRows, static_cast<int>(nRowSize));
    for (long long nRow = 0; nRow < nRows; ++nRow)
    {
        const std::basic_string_view<Char> Entry = Entries.Take();
        Entry.copy(m_Table[nRow], Entry.size());
    }
    return m_Table.HandOver();
}

template <typename Char>
bool EnumFileToTable(const Char* lpszPath, Char*** pppszFileList, int* pInt_ListCount, bool bRecursion, int nFileType)
{
    ClearError();
    Char tszFilePath[BASELIB_TEXT_SIZE] = {};
    Char tszFileName[BASELIB_FILE_NAME_SIZE] = {};
    Char tszFileExt[BASELIB_FILE_EXT_SIZE] = {};
    FileRules<Char>::pfnSplitPath(lpszPath, tszFilePath, tszFileName, nullptr, tszFileExt, true);

    const std::basic_string_view<Char> Path = lpszPath ? lpszPath : std::basic_string_view<Char>();
    const Char* lpszFolder = lpszPath;
    const Char* lpszFileExt = nullptr;
    if (*tszFileExt)
    {
        lpszFolder = tszFilePath;
        lpszFileExt = tszFileExt;
    }
    else if (FileRules<Char>::bTableCutsStar && Path.ends_with(Char('*')))
    {
        if (Path.size() >= BASELIB_TEXT_SIZE)
            std::abort(); // Kept on purpose: a path this long ends the process.
        tszFilePath[Path.copy(tszFilePath, Path.size() - 1)] = Char();
        lpszFolder = tszFilePath;
    }

    if (!lpszFolder)
        return Fail(ERROR_SYSTEMAPI_FILE_ENUMFILE_PARAMETER);
    CTextQueue<Char> Entries;
    if (!EnumFile(lpszFolder, bRecursion, nFileType, lpszFileExt, [&](const auto& Entry) { Entries.Append(Entry); }))
        return false;
    if (pppszFileList)
        *pppszFileList = MakeTable(Entries);
    if (pInt_ListCount)
        *pInt_ListCount = static_cast<int>(Entries.Count());
    // Kept on purpose: a table and a count of nothing are handed out all the same.
    return Entries.Count() > 0 || Fail(ERROR_SYSTEMAPI_FILE_ENUMFILE_NOTFOUND);
}
} // namespace

bool CSystemApi_File::SystemApi_File_EnumFileA(const char* lpszPath, std::list<std::string>* pStl_ListFile,
                                               bool bRecursion, int nFileType, const char* lpszFileExt)
{
    return EnumFileToList(lpszPath, pStl_ListFile, bRecursion, nFileType, lpszFileExt);
}
bool CSystemApi_File::SystemApi_File_EnumFileW(const wchar_t* lpszPath, std::list<std::wstring>* pStl_ListFile,
                                               bool bRecursion, int nFileType, const wchar_t* lpszFileExt)
{
    return EnumFileToList(lpszPath, pStl_ListFile, bRecursion, nFileType, lpszFileExt);
}
bool CSystemApi_File::SystemApi_File_EnumFileA(const char* lpszPath, char*** pppszFileList, int* pInt_ListCount,
                                               bool bRecursion, int nFileType)
{
    return EnumFileToTable(lpszPath, pppszFileList, pInt_ListCount, bRecursion, nFileType);
}
bool CSystemApi_File::SystemApi_File_EnumFileW(const wchar_t* lpszPath, wchar_t*** pppszFileList, int* pInt_ListCount,
                                               bool bRecursion, int nFileType)
{
    return EnumFileToTable(lpszPath, pppszFileList, pInt_ListCount, bRecursion, nFileType);
}
