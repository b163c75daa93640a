#include "Commands.h"
#include "Failure.h"
#include "Progress.h"
#include "Terminal.h"
#include "Text.h"

#include <Tolvane_SystemApi.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <iostream>
#include <limits>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

namespace
{
/// Works on one path after the other. A failure is shown, and the next path has its turn.
void ForEach(const std::vector<std::string>& Paths, const std::function<void(const std::string&)>& pfnWork)
{
    bool bFailed = false;
    for (const std::string& Path : Paths)
    {
        try
        {
            pfnWork(Path);
        }
        catch (const std::exception& Error)
        {
            std::cout.flush();
            std::cerr << "systemapi: " << Harmless(Error.what()) << '\n';
            bFailed = true;
        }
    }
    if (bFailed)
        throw CLI::RuntimeError(EXIT_FAILURE);
}

/// Keeps a path from the operations that end the process over a long one.
void RefuseLong(const std::string& Path)
{
    if (Path.size() >= BASELIB_TEXT_SIZE)
        throw std::runtime_error(Path + ": longer than 1023 bytes");
}

std::string DateAndTime(long long nTime)
{
    TOLVANE_LIBTIME st_Time = {};
    if (!BaseLib_Time_TTimeToStuTime(nTime, &st_Time))
        return std::to_string(nTime) + " s";
    char tszTime[80] = {};
    std::snprintf(tszTime, sizeof(tszTime), "%04d-%02d-%02d %02d:%02d:%02d", st_Time.nYear, st_Time.nMonth,
                  st_Time.nDay, st_Time.nHour, st_Time.nMinute, st_Time.nSecond);
    return tszTime;
}

void ShowAttr(const std::string& Path)
{
    SYSTEMAPI_FILE_ATTR st_Attr = {};
    Require(
        "GETATTR", [&] { return SystemApi_File_GetFileAttrA(Path.c_str(), &st_Attr); }, Path);
    const auto YesNo = [](bool bYes) {
        return bYes ? "yes\n" : "no\n";
    };
    std::cout << Paint(STYLE::Title, Harmless(Path)) << '\n'
              << "  Kind      " << (st_Attr.bIsFile ? "file\n" : "folder\n") << "  Size      " << st_Attr.nFileSize
              << " bytes, " << HumanSize(static_cast<unsigned long long>(st_Attr.nFileSize)) << '\n'
              << "  Changed   " << DateAndTime(st_Attr.nCreateTime) << '\n'
              << "  Accessed  " << DateAndTime(st_Attr.nAccessTime) << '\n'
              << "  Modified  " << DateAndTime(st_Attr.nWriteTime) << '\n'
              << "  Hidden    " << YesNo(st_Attr.bIsHidden) << "  Readable  " << YesNo(st_Attr.bIsRead);
}

void Zero(const std::string& Path, std::uint64_t nSize)
{
    const CProgress m_Progress(Path, nSize);
    const auto nSigned = static_cast<long long>(nSize); // what is too large turns negative, which is refused
    Require(
        "SPARSE", [&] { return SystemApi_File_CreateSparseFileA(Path.c_str(), nSigned); }, Path);
}

void SaveStandardInput(const std::string& Path)
{
    constexpr std::size_t nMost = std::numeric_limits<int>::max();
    std::string Bytes;
    char tszPiece[65536];
    for (std::size_t nRead = 0; (nRead = std::fread(tszPiece, 1, sizeof(tszPiece), stdin)) > 0;)
    {
        if (nRead > nMost - Bytes.size())
            throw std::runtime_error("standard input: more than 2147483647 bytes, which one save takes");
        Bytes.append(tszPiece, nRead);
    }
    if (std::ferror(stdin))
        throw std::runtime_error("standard input: " + std::generic_category().message(errno));
    const CProgress m_Progress(Path, Bytes.size());
    const int nSize = static_cast<int>(Bytes.size());
    Require(
        "SAVEBUFF", [&] { return SystemApi_File_SaveBuffToFileA(Path.c_str(), Bytes.data(), nSize); }, Path);
}

void Copy(const std::string& Source, const std::string& Dest, bool bFailIfExist)
{
    std::error_code Ignored; // the copy itself will tell
    const auto nSize = std::filesystem::file_size(Source, Ignored);
    const CProgress m_Progress(Dest, Ignored ? 0 : nSize);
    Require(
        "COPY", [&] { return SystemApi_File_CopyFileA(Source.c_str(), Dest.c_str(), bFailIfExist); }, Dest);
}

void List(const std::string& Path, bool bRecursion, int nFileType, bool bNull)
{
    if (Path.ends_with('*'))
        RefuseLong(Path);
    char** ppszList = nullptr;
    int nCount = 0;
    const auto Release = [&nCount](char** ppszRows) {
        BaseLib_Memory_Free(&ppszRows, nCount);
    };
    errno = 0;
    const bool bFound = SystemApi_File_EnumFileA(Path.c_str(), &ppszList, &nCount, bRecursion, nFileType);
    const std::unique_ptr<char*, decltype(Release)> m_Owner(ppszList, Release); // made also when nothing was found
    if (!bFound)
        throw COperationFailed("ENUMFILE", Path);
    const bool bHarmless = Terminal().bTerminal && !bNull;
    for (int nRow = 0; nRow < nCount; ++nRow)
        std::cout << (bHarmless ? Harmless(ppszList[nRow]) : ppszList[nRow]) << (bNull ? '\0' : '\n');
}

/// What the subcommands take from the command line.
struct FILE_ARGUMENTS
{
    std::vector<std::string> Paths;
    std::string Path = ".";
    std::string Dest;
    std::uint64_t nSize = 0;
    int nFileType = 3;
    bool bContents = false;
    bool bNoClobber = false;
    bool bRecursion = false;
    bool bNull = false;
};
} // namespace

void AddFile(CLI::App& App)
{
    CLI::App* pFile = App.add_subcommand("file", "Work on files and folders");
    pFile->require_subcommand(1);
    const auto Args = std::make_shared<FILE_ARGUMENTS>();

    CLI::App* pAttr = pFile->add_subcommand("attr", "Show kind, size, times and flags");
    pAttr->add_option("path", Args->Paths)->required();
    pAttr->callback([Args] { ForEach(Args->Paths, ShowAttr); });

    CLI::App* pZero = pFile->add_subcommand("zero", "Make a file of zero bytes, every one of them on the disk");
    pZero->add_option("path", Args->Path)->required();
    pZero->add_option("size", Args->nSize, "Bytes; K, M, G and so on are powers of 1024")
        ->required()
        ->transform(CLI::AsSizeValue(false));
    pZero->callback([Args] { Zero(Args->Path, Args->nSize); });

    CLI::App* pMkdir = pFile->add_subcommand("mkdir", "Make folders, with every missing folder above them");
    pMkdir->add_option("path", Args->Paths)->required();
    pMkdir->callback([Args] {
        ForEach(Args->Paths, [](const std::string& Path) {
            RefuseLong(Path);
            Require(
                "CREATEFOLDER", [&] { return SystemApi_File_CreateMutilFolderA(Path.c_str()); }, Path);
        });
    });

    CLI::App* pRm = pFile->add_subcommand("rm", "Delete folders with all they hold; files are left alone");
    pRm->add_option("path", Args->Paths)->required();
    pRm->add_flag("--contents,-c", Args->bContents, "Empty the folders and keep them");
    pRm->callback([Args] {
        ForEach(Args->Paths, [bWhole = !Args->bContents](const std::string& Path) {
            Require(
                "DELETEFOLDER", [&] { return SystemApi_File_DeleteMutilFolderA(Path.c_str(), bWhole); }, Path);
        });
    });

    CLI::App* pSave = pFile->add_subcommand("save", "Save standard input to a file, and make its folder");
    pSave->add_option("path", Args->Path)->required();
    pSave->callback([Args] { SaveStandardInput(Args->Path); });

    CLI::App* pCp = pFile->add_subcommand("cp", "Copy a file, and make the folder of the copy");
    pCp->add_option("source", Args->Path)->required();
    pCp->add_option("dest", Args->Dest)->required();
    pCp->add_flag("--no-clobber,-n", Args->bNoClobber, "Fail when dest exists");
    pCp->callback([Args] { Copy(Args->Path, Args->Dest, Args->bNoClobber); });

    CLI::App* pLs = pFile->add_subcommand("ls", "List a folder, one path a line");
    pLs->add_option("path", Args->Path, "A folder, or a pattern: 'data/*.txt' lists files txt* of data")
        ->capture_default_str();
    pLs->add_flag("--recursive,-r", Args->bRecursion, "The whole tree");
    pLs->add_option("--type,-t", Args->nFileType, "files, folders or both")
        ->transform(CLI::CheckedTransformer(
            std::vector<std::pair<std::string, int>>{{"files", 1}, {"folders", 2}, {"both", 3}}));
    pLs->add_flag("--null,-0", Args->bNull, "End each path with a null character");
    pLs->callback([Args] { List(Args->Path, Args->bRecursion, Args->nFileType, Args->bNull); });
}
