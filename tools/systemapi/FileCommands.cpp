// SPDX-License-Identifier: MIT
#include "Commands.h"
#include "Failure.h"
#include "Progress.h"
#include "Text.h"
#include "Wide.h"

#include <Tolvane_SystemApi.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

namespace
{
/// Calls the narrow or the wide form of an operation on a path.
template <typename Narrow, typename Wide, typename... Rest>
void OnPath(bool bWide, const char* lpszOperation, Narrow pfnNarrow, Wide pfnWide, const std::string& Path,
            Rest... rest)
{
    if (!bWide)
        return Require(
            lpszOperation, [&] { return pfnNarrow(Path.c_str(), rest...); }, Path);
    const std::wstring WidePath = WideText(Path);
    Require(
        lpszOperation, [&] { return pfnWide(WidePath.c_str(), rest...); }, Path);
}

/// Works on one path after the other. A failure is noted, and the next path has its turn.
void ForEach(CFacts& Facts, const std::vector<std::string>& Paths,
             const std::function<void(const std::string&)>& pfnWork)
{
    for (const std::string& Path : Paths)
        Facts.Try([&] { pfnWork(Path); });
}

/// Keeps a path from the operations that end the process over a long one.
void RefuseLong(const std::string& Path)
{
    if (Path.size() >= BASELIB_TEXT_SIZE)
        throw CWrongUsage(Path + ": longer than 1023 bytes");
}

CFacts Attributes(const std::string& Path, bool bWide)
{
    SYSTEMAPI_FILE_ATTR st_Attr = {};
    OnPath(bWide, "GETATTR", SystemApi_File_GetFileAttrA, SystemApi_File_GetFileAttrW, Path, &st_Attr);
    CFacts Facts;
    Facts.Add("path", Path);
    Facts.Add("kind", st_Attr.bIsFile ? "file" : "folder");
    const auto nSize = static_cast<unsigned long long>(st_Attr.nFileSize);
    Facts.Add("size", nSize, UNIT::Bytes, std::to_string(nSize) + " bytes, " + HumanSize(nSize));
    Facts.Add("changed", st_Attr.nCreateTime, UNIT::Timestamp);
    Facts.Add("accessed", st_Attr.nAccessTime, UNIT::Timestamp);
    Facts.Add("modified", st_Attr.nWriteTime, UNIT::Timestamp);
    Facts.Add("hidden", st_Attr.bIsHidden);
    Facts.Add("readable", st_Attr.bIsRead);
    return Facts;
}

void Zero(const std::string& Path, std::uint64_t nSize, bool bWide)
{
    const CProgress m_Progress(Path, nSize);
    const auto nSigned = static_cast<long long>(nSize); // what is too large turns negative, which is refused
    OnPath(bWide, "SPARSE", SystemApi_File_CreateSparseFileA, SystemApi_File_CreateSparseFileW, Path, nSigned);
}

void SaveStandardInput(const std::string& Path, bool bWide)
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
    OnPath(bWide, "SAVEBUFF", SystemApi_File_SaveBuffToFileA, SystemApi_File_SaveBuffToFileW, Path, Bytes.data(),
           static_cast<int>(Bytes.size()));
}

void Copy(const std::string& Source, const std::string& Dest, bool bFailIfExist, bool bWide)
{
    std::error_code Ignored; // the copy itself will tell
    const auto nSize = std::filesystem::file_size(Source, Ignored);
    const CProgress m_Progress(Dest, Ignored ? 0 : nSize);
    if (!bWide)
        return Require(
            "COPY", [&] { return SystemApi_File_CopyFileA(Source.c_str(), Dest.c_str(), bFailIfExist); }, Dest);
    const std::wstring WideSource = WideText(Source);
    const std::wstring WideDest = WideText(Dest);
    Require(
        "COPY", [&] { return SystemApi_File_CopyFileW(WideSource.c_str(), WideDest.c_str(), bFailIfExist); }, Dest);
}

std::string Utf8(const char* lpszText)
{
    return lpszText;
}

std::string Utf8(const wchar_t* lpszText)
{
    return NarrowText(lpszText);
}

template <typename Char, typename Enum>
std::vector<std::string> Rows(Enum pfnEnum, const Char* lpszPath, const std::string& Path, bool bRecursion,
                              int nFileType)
{
    Char** ppszList = nullptr;
    int nCount = 0;
    const auto Release = [&nCount](Char** ppszRows) {
        BaseLib_Memory_Free(&ppszRows, nCount);
    };
    errno = 0;
    const bool bFound = pfnEnum(lpszPath, &ppszList, &nCount, bRecursion, nFileType);
    const std::unique_ptr<Char*, decltype(Release)> m_Owner(ppszList, Release); // made also when nothing was found
    if (!bFound)
        throw COperationFailed("ENUMFILE", Path);
    std::vector<std::string> Found;
    Found.reserve(static_cast<std::size_t>(nCount));
    for (int nRow = 0; nRow < nCount; ++nRow)
        Found.push_back(Utf8(ppszList[nRow]));
    return Found;
}

std::vector<std::string> List(const std::string& Path, bool bRecursion, int nFileType, bool bWide)
{
    if (Path.ends_with('*'))
        RefuseLong(Path);
    if (bWide)
        return Rows(SystemApi_File_EnumFileW, WideText(Path).c_str(), Path, bRecursion, nFileType);
    return Rows(SystemApi_File_EnumFileA, Path.c_str(), Path, bRecursion, nFileType);
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
    bool bWide = false;
};
using Options = std::shared_ptr<OPTIONS>;

/// A subcommand of both forms.
CLI::App* AddBoth(CLI::App& File, const char* lpszName, const char* lpszHelp, const Options& pOptions,
                  const Work& pfnWork)
{
    CLI::App* const pCommand = AddCommand(File, lpszName, lpszHelp, pfnWork);
    pCommand->add_flag("--wide,-w", pOptions->bWide, "Call the wide form of the operation");
    return pCommand;
}

void AddPaths(CLI::App& File, const Options& pOptions)
{
    AddBoth(File, "attr", "Show kind, size, times and flags", pOptions,
            [pOptions](CFacts& Facts) {
                std::vector<CFacts> Files;
                ForEach(Facts, pOptions->Paths,
                        [&](const std::string& Path) { Files.push_back(Attributes(Path, pOptions->bWide)); });
                Facts.AddBlocks("files", std::move(Files));
            })
        ->add_option("PATH", pOptions->Paths, "Files or folders")
        ->required();

    AddBoth(File, "mkdir", "Make folders, with every missing folder above them", pOptions,
            [pOptions](CFacts& Facts) {
                ForEach(Facts, pOptions->Paths, [&](const std::string& Path) {
                    RefuseLong(Path);
                    OnPath(pOptions->bWide, "CREATEFOLDER", SystemApi_File_CreateMutilFolderA,
                           SystemApi_File_CreateMutilFolderW, Path);
                });
            })
        ->add_option("PATH", pOptions->Paths, "The folders")
        ->required();

    CLI::App* const pRm =
        AddBoth(File, "rm", "Delete folders with all they hold", pOptions, [pOptions](CFacts& Facts) {
            ForEach(Facts, pOptions->Paths, [&](const std::string& Path) {
                OnPath(pOptions->bWide, "DELETEFOLDER", SystemApi_File_DeleteMutilFolderA,
                       SystemApi_File_DeleteMutilFolderW, Path, !pOptions->bContents);
            });
        });
    pRm->add_option("PATH", pOptions->Paths, "The folders")->required();
    pRm->add_flag("--contents,-c", pOptions->bContents, "Empty the folders, and keep them");
    pRm->footer("A file is left alone, and that is no failure.");
}

void AddWriters(CLI::App& File, const Options& pOptions)
{
    CLI::App* const pZero = AddBoth(File, "zero", "Make a file of zero bytes, every one of them written", pOptions,
                                    [pOptions](CFacts&) { Zero(pOptions->Path, pOptions->nSize, pOptions->bWide); });
    pZero->add_option("PATH", pOptions->Path, "The file")->required();
    pZero->add_option("SIZE", pOptions->nSize, "In bytes: 4096, 4K, 10M, 2G")
        ->required()
        ->transform(CLI::AsSizeValue(false));

    CLI::App* const pSave = AddBoth(File, "save", "Save standard input to a file, and make its folder", pOptions,
                                    [pOptions](CFacts&) { SaveStandardInput(pOptions->Path, pOptions->bWide); });
    pSave->add_option("PATH", pOptions->Path, "The file")->required();
    pSave->footer("On a full disk the save goes on when there is room.");

    CLI::App* const pCopy =
        AddBoth(File, "cp", "Copy a file, and make the folder of the copy", pOptions,
                [pOptions](CFacts&) { Copy(pOptions->Path, pOptions->Dest, pOptions->bNoClobber, pOptions->bWide); });
    pCopy->add_option("SOURCE", pOptions->Path, "The file")->required();
    pCopy->add_option("DEST", pOptions->Dest, "The path of the copy, not its folder")->required();
    pCopy->add_flag("--no-clobber,-n", pOptions->bNoClobber,
                    "Fail when DEST exists (with --wide: when SOURCE exists, as the wide form does)");
}

void AddList(CLI::App& File, const Options& pOptions)
{
    CLI::App* const pList =
        AddBoth(File, "ls", "List what a folder holds, one path a line", pOptions, [pOptions](CFacts& Facts) {
            Facts.AddLines("paths", List(pOptions->Path, pOptions->bRecursion, pOptions->nFileType, pOptions->bWide),
                           pOptions->bNull ? '\0' : '\n');
        });
    pList->add_option("PATH", pOptions->Path, "A folder, or a pattern: 'data/*.txt' takes the files txt* of data")
        ->capture_default_str();
    pList->add_flag("--recursive,-r", pOptions->bRecursion, "The whole tree");
    pList->add_option("--type,-t", pOptions->nFileType, "What to list")
        ->transform(CLI::CheckedTransformer(
                        std::vector<std::pair<std::string, int>>{{"files", 1}, {"folders", 2}, {"both", 3}})
                        .description("{files,folders,both}"));
    pList->add_flag("--null,-0", pOptions->bNull, "End each path with a null character, not with a line end");
    pList->footer("Finding nothing is a failure.");
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
