#include "Commands.h"
#include "Failure.h"
#include "Progress.h"
#include "Report.h"
#include "Terminal.h"
#include "Text.h"

#include <Tolvane_SystemApi.h>

#include <array>
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

std::string LocalTime(long long nTime)
{
    TOLVANE_LIBTIME st_Time = {};
    return BaseLib_Time_TTimeToStuTime(nTime, &st_Time) ? DateAndTime(st_Time) : std::string();
}

void ShowAttr(CReport& Output, const std::string& Path)
{
    SYSTEMAPI_FILE_ATTR st_Attr = {};
    Require(
        "GETATTR", [&] { return SystemApi_File_GetFileAttrA(Path.c_str(), &st_Attr); }, Path);
    const auto nSize = static_cast<unsigned long long>(st_Attr.nFileSize);
    Output.Section(Harmless(Path));
    Output.Line("Kind", st_Attr.bIsFile ? "file" : "folder");
    Output.Line("Size", std::to_string(nSize) + " bytes, " + HumanSize(nSize));
    Output.Line("Changed", LocalTime(st_Attr.nCreateTime));
    Output.Line("Accessed", LocalTime(st_Attr.nAccessTime));
    Output.Line("Modified", LocalTime(st_Attr.nWriteTime));
    Output.Line("Hidden", st_Attr.bIsHidden ? "yes" : "no");
    Output.Line("Readable", st_Attr.bIsRead ? "yes" : "no");
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
    std::array<char, 65536> tszPiece; // filled before it is read
    for (std::size_t nRead = 0; (nRead = std::fread(tszPiece.data(), 1, tszPiece.size(), stdin)) > 0;)
    {
        if (nRead > nMost - Bytes.size())
            throw std::runtime_error("standard input: more than 2147483647 bytes, which one save takes");
        Bytes.append(tszPiece.data(), nRead);
    }
    if (std::ferror(stdin) != 0)
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

/* ---------------------------------------------------------------------------------------------------
 * Subcommands
 * ------------------------------------------------------------------------------------------------- */

/// What they take from the command line.
struct OPTIONS
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
using Options = std::shared_ptr<OPTIONS>;

void AddPaths(CLI::App& File, const Options& pOptions)
{
    CLI::App* const pAttr = File.add_subcommand("attr", "Show kind, size, times and flags");
    pAttr->add_option("PATH", pOptions->Paths)->required();
    pAttr->callback([pOptions] {
        CReport Output(true);
        ForEach(pOptions->Paths, [&Output](const std::string& Path) { ShowAttr(Output, Path); });
    });

    CLI::App* const pMkdir = File.add_subcommand("mkdir", "Make folders, with every missing folder above them");
    pMkdir->add_option("PATH", pOptions->Paths)->required();
    pMkdir->callback([pOptions] {
        ForEach(pOptions->Paths, [](const std::string& Path) {
            RefuseLong(Path);
            Require(
                "CREATEFOLDER", [&] { return SystemApi_File_CreateMutilFolderA(Path.c_str()); }, Path);
        });
    });

    CLI::App* const pRm = File.add_subcommand("rm", "Delete folders with all they hold");
    pRm->add_option("PATH", pOptions->Paths)->required();
    pRm->add_flag("--contents,-c", pOptions->bContents, "Empty the folders, and keep them");
    pRm->footer("A file is left alone, and that is no failure.");
    pRm->callback([pOptions] {
        ForEach(pOptions->Paths, [bWhole = !pOptions->bContents](const std::string& Path) {
            Require(
                "DELETEFOLDER", [&] { return SystemApi_File_DeleteMutilFolderA(Path.c_str(), bWhole); }, Path);
        });
    });
}

void AddWriters(CLI::App& File, const Options& pOptions)
{
    CLI::App* const pZero = File.add_subcommand("zero", "Make a file of zero bytes, every one of them written");
    pZero->add_option("PATH", pOptions->Path)->required();
    pZero->add_option("SIZE", pOptions->nSize, "In bytes: 4096, 4K, 10M, 2G")
        ->required()
        ->transform(CLI::AsSizeValue(false));
    pZero->callback([pOptions] { Zero(pOptions->Path, pOptions->nSize); });

    CLI::App* const pSave = File.add_subcommand("save", "Save standard input to a file, and make its folder");
    pSave->add_option("PATH", pOptions->Path)->required();
    pSave->footer("On a full disk the save goes on when there is room.");
    pSave->callback([pOptions] { SaveStandardInput(pOptions->Path); });

    CLI::App* const pCopy = File.add_subcommand("cp", "Copy a file, and make the folder of the copy");
    pCopy->add_option("SOURCE", pOptions->Path)->required();
    pCopy->add_option("DEST", pOptions->Dest, "The path of the copy, not its folder")->required();
    pCopy->add_flag("--no-clobber,-n", pOptions->bNoClobber, "Fail when DEST exists");
    pCopy->callback([pOptions] { Copy(pOptions->Path, pOptions->Dest, pOptions->bNoClobber); });
}

void AddList(CLI::App& File, const Options& pOptions)
{
    CLI::App* const pList = File.add_subcommand("ls", "List what a folder holds, one path a line");
    pList->add_option("PATH", pOptions->Path, "A folder, or a pattern: 'data/*.txt' takes the files txt* of data")
        ->capture_default_str();
    pList->add_flag("--recursive,-r", pOptions->bRecursion, "The whole tree");
    pList->add_option("--type,-t", pOptions->nFileType, "files, folders or both")
        ->transform(CLI::CheckedTransformer(
            std::vector<std::pair<std::string, int>>{{"files", 1}, {"folders", 2}, {"both", 3}}));
    pList->add_flag("--null,-0", pOptions->bNull, "End each path with a null character, not with a line end");
    pList->footer("Finding nothing is a failure.");
    pList->callback([pOptions] { List(pOptions->Path, pOptions->bRecursion, pOptions->nFileType, pOptions->bNull); });
}
} // namespace

void AddFile(CLI::App& App)
{
    CLI::App* const pFile = App.add_subcommand("file", "Work on files and folders");
    pFile->require_subcommand(1);
    const auto pOptions = std::make_shared<OPTIONS>();
    AddPaths(*pFile, pOptions);
    AddWriters(*pFile, pOptions);
    AddList(*pFile, pOptions);
}
