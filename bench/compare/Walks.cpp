// SPDX-License-Identifier: MIT
/// Walks over trees, into lists and into tables of rows.
#include "Plan.h"
#include "Support.h"
#include "Tree.h"

#include <SystemApi_File/SystemApi_File.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <filesystem>
#include <fstream>
#include <fts.h>
#include <ftw.h>
#include <functional>
#include <iostream>
#include <list>
#include <map>
#include <memory>
#include <strings.h>
#include <sys/mman.h>
#include <sys/syscall.h>

#ifdef HAVE_BOOST_FILESYSTEM
#include <boost/filesystem.hpp>
#endif

namespace
{
namespace fs = std::filesystem;

using LIST = std::list<std::string>;
using WIDE_LIST = std::list<std::wstring>;
/// A walk from a root. With bCheck it gives a figure of all that was found, otherwise something cheap.
using WALK = std::function<long long(const std::string& Root, bool bCheck)>;

/// All lengths with their ends, so that a missing or a cut entry shows.
template <typename List>
long long Found(const List& Entries, bool bCheck)
{
    long long nSum = 0;
    if (bCheck)
    {
        for (const auto& Entry : Entries)
            nSum += static_cast<long long>(Entry.size()) + 1;
    }
    return nSum;
}

template <typename List>
WALK IntoList(void (*pfnFill)(const std::string&, List&))
{
    return [pfnFill](const std::string& Root, bool bCheck) {
        List Entries;
        pfnFill(Root, Entries);
        return Found(Entries, bCheck);
    };
}

bool IsText(const char* lpszName)
{
    const char* const lpszDot = std::strrchr(lpszName, '.');
    return lpszDot && lpszDot != lpszName && strncasecmp(lpszDot + 1, "txt", 3) == 0;
}

/* ---------------------------------------------------------------------------------------------------
 * The limit: getdents64, below the parent, one path buffer
 * ------------------------------------------------------------------------------------------------- */

/// Calls Visit(path, length, its name, whether it is a folder) for each entry, a folder before what it holds.
template <typename Visitor>
class CBareWalk
{
public:
    CBareWalk(const std::string& Root, Visitor Visit) : m_Path(Root.size() + 65536), m_Visit(std::move(Visit))
    {
        Root.copy(m_Path.data(), Root.size());
        const int nFolder = open(Root.c_str(), nFlags);
        Require(nFolder >= 0, Root);
        Walk(nFolder, Root.size());
    }

private:
    static constexpr int nFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK;
    static constexpr std::size_t nBlock = 32768;

    struct KERNEL_ENTRY
    {
        std::uint64_t nInode;
        std::int64_t nOffset;
        unsigned short nLength;
        unsigned char nType;
        char tszName[1];
    };

    void Walk(int nFolder, std::size_t nLength)
    {
        const std::unique_ptr<char[]> pBlock(new char[nBlock]);
        m_Path[nLength++] = '/';
        for (long nRead = 0; (nRead = syscall(SYS_getdents64, nFolder, pBlock.get(), nBlock)) > 0;)
        {
            for (long nAt = 0; nAt < nRead;)
            {
                const auto* const pSt_Entry = reinterpret_cast<const KERNEL_ENTRY*>(pBlock.get() + nAt);
                nAt += pSt_Entry->nLength;
                const char* const lpszName =
                    reinterpret_cast<const char*>(pSt_Entry) + offsetof(KERNEL_ENTRY, tszName);
                if (lpszName[0] == '.' && (lpszName[1] == '\0' || (lpszName[1] == '.' && lpszName[2] == '\0')))
                    continue;
                const std::size_t nName = std::strlen(lpszName);
                std::memcpy(m_Path.data() + nLength, lpszName, nName + 1);
                m_Visit(m_Path.data(), nLength + nName, lpszName, pSt_Entry->nType == DT_DIR);
                if (pSt_Entry->nType == DT_DIR)
                    Walk(openat(nFolder, lpszName, nFlags | O_NOFOLLOW), nLength + nName);
            }
        }
        close(nFolder);
    }

    std::vector<char> m_Path;
    Visitor m_Visit;
};

void ByGetdents(const std::string& Root, LIST& Entries)
{
    CBareWalk(Root, [&](const char* lpszPath, std::size_t nLength, const char*, bool) {
        Entries.emplace_back(lpszPath, nLength);
    });
}

void TextByGetdents(const std::string& Root, LIST& Entries)
{
    CBareWalk(Root, [&](const char* lpszPath, std::size_t nLength, const char* lpszName, bool bFolder) {
        if (!bFolder && IsText(lpszName))
            Entries.emplace_back(lpszPath, nLength);
    });
}

void WideByGetdents(const std::string& Root, WIDE_LIST& Entries)
{
    // The names are ASCII: wide text is a matter of widths.
    CBareWalk(Root, [&](const char* lpszPath, std::size_t nLength, const char*, bool) {
        Entries.emplace_back(lpszPath, lpszPath + nLength);
    });
}

/// Rows of 1024 zero bytes in one block, all of its pages asked for at once, and their pointers.
class CBareRows
{
public:
    explicit CBareRows(std::size_t nRows) : m_nSize(nRows * nRowSize), m_Pointers(nRows + 1)
    {
        m_pBlock = mmap(nullptr, m_nSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
        Require(m_pBlock != MAP_FAILED, "rows");
        for (std::size_t nRow = 0; nRow < nRows; ++nRow)
            m_Pointers[nRow] = static_cast<char*>(m_pBlock) + nRow * nRowSize;
    }
    ~CBareRows() { munmap(m_pBlock, m_nSize); }
    CBareRows(const CBareRows&) = delete;
    CBareRows& operator=(const CBareRows&) = delete;

    [[nodiscard]] char** Get() { return m_Pointers.data(); }

private:
    static constexpr std::size_t nRowSize = 1024;

    std::size_t m_nSize;
    std::vector<char*> m_Pointers;
    void* m_pBlock = nullptr;
};

long long FoundRows(char** ppszRows, bool bCheck)
{
    long long nSum = 0;
    for (char** ppszRow = ppszRows; bCheck && *ppszRow; ++ppszRow)
        nSum += static_cast<long long>(std::strlen(*ppszRow)) + 1;
    return nSum;
}

long long RowsByGetdents(const std::string& Root, bool bCheck)
{
    LIST Entries;
    ByGetdents(Root, Entries);
    CBareRows m_Rows(Entries.size());
    char** ppszRow = m_Rows.Get();
    while (!Entries.empty())
    {
        Entries.front().copy(*ppszRow++, Entries.front().size());
        Entries.pop_front();
    }
    return FoundRows(m_Rows.Get(), bCheck);
}

/* ---------------------------------------------------------------------------------------------------
 * The library
 * ------------------------------------------------------------------------------------------------- */

constexpr int nFilesAndFolders = 3;
constexpr int nFilesOnly = 1;

void ByLibrary(const std::string& Root, LIST& Entries)
{
    m_FileSdk.SystemApi_File_EnumFileA(Root.c_str(), &Entries, true, nFilesAndFolders, nullptr);
}
void TextByLibrary(const std::string& Root, LIST& Entries)
{
    m_FileSdk.SystemApi_File_EnumFileA(Root.c_str(), &Entries, true, nFilesOnly, "txt");
}
void WideByLibrary(const std::string& Root, WIDE_LIST& Entries)
{
    m_FileSdk.SystemApi_File_EnumFileW(std::wstring(Root.begin(), Root.end()).c_str(), &Entries, true,
                                       nFilesAndFolders, nullptr);
}
long long RowsByLibrary(const std::string& Root, bool bCheck)
{
    char** ppszRows = nullptr;
    int nCount = 0;
    Require(SystemApi_File_EnumFileA(Root.c_str(), &ppszRows, &nCount, true, nFilesAndFolders), "the enumeration");
    const long long nFound = FoundRows(ppszRows, bCheck);
    BaseLib_Memory_Free(&ppszRows, nCount);
    return nFound;
}

/* ---------------------------------------------------------------------------------------------------
 * The peers
 * ------------------------------------------------------------------------------------------------- */

/// opendir and readdir as they are mostly used: a string for each path. Calls Visit(path, name, whether it is a folder).
template <typename Visitor>
void ReaddirWalk(const std::string& Folder, const Visitor& Visit)
{
    DIR* const pFolder = opendir(Folder.c_str());
    Require(pFolder != nullptr, Folder);
    while (const dirent* pSt_Entry = readdir(pFolder))
    {
        if (std::strcmp(pSt_Entry->d_name, ".") == 0 || std::strcmp(pSt_Entry->d_name, "..") == 0)
            continue;
        const bool bFolder = pSt_Entry->d_type == DT_DIR;
        const std::string Path = Folder + "/" + pSt_Entry->d_name;
        Visit(Path, pSt_Entry->d_name, bFolder);
        if (bFolder)
            ReaddirWalk(Path, Visit);
    }
    closedir(pFolder);
}

void ByReaddir(const std::string& Root, LIST& Entries)
{
    ReaddirWalk(Root, [&](const std::string& Path, const char*, bool) { Entries.push_back(Path); });
}
void TextByReaddir(const std::string& Root, LIST& Entries)
{
    ReaddirWalk(Root, [&](const std::string& Path, const char* lpszName, bool bFolder) {
        if (!bFolder && IsText(lpszName))
            Entries.push_back(Path);
    });
}
void WideByReaddir(const std::string& Root, WIDE_LIST& Entries)
{
    ReaddirWalk(Root, [&](const std::string& Path, const char*, bool) {
        std::wstring Wide(Path.size(), L'\0');
        Wide.resize(std::mbstowcs(Wide.data(), Path.c_str(), Wide.size()));
        Entries.push_back(std::move(Wide));
    });
}

void ByIterator(const std::string& Root, LIST& Entries)
{
    for (const auto& Entry : fs::recursive_directory_iterator(Root, fs::directory_options::skip_permission_denied))
        Entries.push_back(Entry.path().native());
}
void WideByIterator(const std::string& Root, WIDE_LIST& Entries)
{
    for (const auto& Entry : fs::recursive_directory_iterator(Root, fs::directory_options::skip_permission_denied))
        Entries.push_back(Entry.path().wstring());
}

#ifdef HAVE_BOOST_FILESYSTEM
void ByBoost(const std::string& Root, LIST& Entries)
{
    namespace bfs = boost::filesystem;
    for (const auto& Entry : bfs::recursive_directory_iterator(Root, bfs::directory_options::skip_permission_denied))
        Entries.push_back(Entry.path().native());
}
#endif

void ByFts(const std::string& Root, LIST& Entries)
{
    char* const pRoots[] = {const_cast<char*>(Root.c_str()), nullptr};
    FTS* const pWalk = fts_open(pRoots, FTS_PHYSICAL | FTS_NOCHDIR | FTS_NOSTAT, nullptr);
    Require(pWalk != nullptr, "fts_open");
    while (const FTSENT* pSt_Entry = fts_read(pWalk))
    {
        if (pSt_Entry->fts_level > 0 && pSt_Entry->fts_info != FTS_DP)
            Entries.emplace_back(pSt_Entry->fts_path, pSt_Entry->fts_pathlen);
    }
    fts_close(pWalk);
}

LIST* g_pEntries = nullptr; // nftw has no way to pass it
void ByNftw(const std::string& Root, LIST& Entries)
{
    g_pEntries = &Entries;
    const auto m_Visit = [](const char* lpszPath, const struct stat*, int, struct FTW* pSt_Place) {
        if (pSt_Place->level > 0)
            g_pEntries->emplace_back(lpszPath);
        return 0;
    };
    Require(nftw(Root.c_str(), m_Visit, 64, FTW_PHYS) == 0, "nftw");
}

void ByProgram(const std::string& Command, LIST& Entries)
{
    FILE* const pPipe = popen(Command.c_str(), "re");
    Require(pPipe != nullptr, "popen");
    char* pLine = nullptr;
    std::size_t nSize = 0;
    for (ssize_t nLength = 0; (nLength = getline(&pLine, &nSize, pPipe)) > 0;)
        Entries.emplace_back(pLine, static_cast<std::size_t>(nLength) - 1);
    std::free(pLine);
    pclose(pPipe);
}
void ByFind(const std::string& Root, LIST& Entries)
{
    ByProgram("find " + Root + " -mindepth 1", Entries);
}
void TextByFind(const std::string& Root, LIST& Entries)
{
    ByProgram("find " + Root + " -type f -iname '*.txt*'", Entries);
}
void TextByBfs(const std::string& Root, LIST& Entries)
{
    ByProgram("bfs " + Root + " -type f -iname '*.txt*'", Entries);
}
void TextByFd(const std::string& Root, LIST& Entries)
{
    ByProgram("fdfind --unrestricted --type f --extension txt . " + Root, Entries);
}

/* ---------------------------------------------------------------------------------------------------
 * Groups
 * ------------------------------------------------------------------------------------------------- */

struct NAMED_WALK
{
    ROLE enRole;
    const char* lpszName;
    WALK Walk;
};

std::vector<NAMED_WALK> PlainWalks()
{
    return {
        {ROLE::Library, "library", IntoList(ByLibrary)},
        {ROLE::Extra, "library, rows", RowsByLibrary},
        {ROLE::Peer, "readdir", IntoList(ByReaddir)},
        {ROLE::Peer, "std::filesystem", IntoList(ByIterator)},
#ifdef HAVE_BOOST_FILESYSTEM
        {ROLE::Peer, "Boost.Filesystem", IntoList(ByBoost)},
#endif
        {ROLE::Peer, "fts", IntoList(ByFts)},
        {ROLE::Peer, "nftw", IntoList(ByNftw)},
        {ROLE::Peer, "find", IntoList(ByFind)},
        {ROLE::Limit, "getdents64", IntoList(ByGetdents)},
        {ROLE::Extra, "getdents64, rows", RowsByGetdents},
    };
}

/// Without the slowest, which would take most of the time.
std::vector<NAMED_WALK> FastWalks()
{
    std::vector<NAMED_WALK> Walks = PlainWalks();
    std::erase_if(Walks, [](const NAMED_WALK& st_Walk) {
        return st_Walk.lpszName == std::string("Boost.Filesystem") || st_Walk.lpszName == std::string("nftw");
    });
    return Walks;
}

std::vector<NAMED_WALK> WideTextWalks()
{
    return {{ROLE::Library, "library", IntoList(WideByLibrary)},
            {ROLE::Peer, "readdir, mbstowcs", IntoList(WideByReaddir)},
            {ROLE::Peer, "std::filesystem", IntoList(WideByIterator)},
            {ROLE::Limit, "getdents64", IntoList(WideByGetdents)}};
}

std::vector<NAMED_WALK> FilteredWalks()
{
    std::vector<NAMED_WALK> Walks = {{ROLE::Library, "library", IntoList(TextByLibrary)},
                                     {ROLE::Peer, "find", IntoList(TextByFind)},
                                     {ROLE::Extra, "readdir", IntoList(TextByReaddir)},
                                     {ROLE::Limit, "getdents64", IntoList(TextByGetdents)}};
    if (HasProgram("bfs"))
        Walks.push_back({ROLE::Peer, "bfs", IntoList(TextByBfs)});
    if (HasProgram("fdfind"))
        Walks.push_back({ROLE::Peer, "fdfind", IntoList(TextByFd)});
    return Walks;
}

GROUP MakeGroup(const std::vector<NAMED_WALK>& Walks, const std::shared_ptr<CTree>& pTree)
{
    GROUP st_Group;
    for (const NAMED_WALK& st_Walk : Walks)
        st_Group.Add(st_Walk.enRole, st_Walk.lpszName,
                     [Walk = st_Walk.Walk, pTree](bool bCheck) { return Walk(pTree->Root(), bCheck); });
    return st_Group;
}

constexpr struct
{
    SHAPE enShape;
    const char* lpszName;
} st_Shapes[] = {{SHAPE::Flat, "flat"}, {SHAPE::Deep, "deep"}, {SHAPE::Wide, "wide"}};

const struct
{
    long nFiles;
    double fSeconds; ///< for the rounds: the large ones scatter
} st_Sizes[] = {{1000, 5}, {10'000, 5}, {100'000, 10}, {1'000'000, 20}};

/// The table's row in a group of lists: the same peers, without rows of their own.
ROW TableRow(const ROW& st_List, const std::string& Shape)
{
    return {"table of " + WithCommas(st_List.nSize) + ", " + Shape,
            "table, " + Shape,
            st_List.nSize,
            1.20,
            1.10,
            {"library, rows"},
            st_List.Peers,
            {},
            {"getdents64, rows"}};
}
} // namespace

std::string WithCommas(long long nNumber)
{
    std::string Text = std::to_string(nNumber);
    for (std::size_t nAt = Text.size(); nAt > 3;)
        Text.insert(nAt -= 3, ",");
    return Text;
}

void PlanWalks(PLAN& Plan, const SETTINGS& st_Settings)
{
    for (const auto& st_Shape : st_Shapes)
    {
        for (const auto& [nFiles, fSeconds] : st_Sizes)
        {
            if (st_Settings.bQuick && nFiles > 10'000)
                break;
            const bool bMillion = nFiles == 1'000'000;
            Plan.push_back({std::string("walk-") + st_Shape.lpszName + "-" + std::to_string(nFiles), fSeconds,
                            [st_Settings, st_Shape, nFiles = nFiles, bMillion] {
                                const auto pTree =
                                    std::make_shared<CTree>(st_Settings.Folder, st_Shape.enShape, nFiles);
                                GROUP st_Group = MakeGroup(bMillion ? FastWalks() : PlainWalks(), pTree);
                                const std::string Shape = st_Shape.lpszName;
                                st_Group.AddRow({"list of " + WithCommas(nFiles) + ", " + Shape, "list, " + Shape,
                                                 nFiles, 0.95, 1.10});
                                const ROW st_Row = TableRow(st_Group.Rows.front(), Shape);
                                st_Group.Rows.push_back(st_Row);
                                return st_Group;
                            }});
        }
    }
    const long nFiles = st_Settings.bQuick ? 1000 : 100'000;
    const auto m_Tree = [st_Settings, nFiles] {
        return std::make_shared<CTree>(st_Settings.Folder, SHAPE::Wide, nFiles);
    };
    Plan.push_back({"walk-text", 4, [m_Tree, nFiles] {
                        GROUP st_Group = MakeGroup(WideTextWalks(), m_Tree());
                        st_Group.AddRow({"list of " + WithCommas(nFiles) + ", wide text", "", 0, 0.95, 1.10});
                        return st_Group;
                    }});
    Plan.push_back({"filter", 5, [m_Tree, nFiles] {
                        GROUP st_Group = MakeGroup(FilteredWalks(), m_Tree());
                        const std::string Operation = "filtered list of " + WithCommas(nFiles) + ", beside ";
                        st_Group.AddRow({Operation + "programs", "", 0, 0.65, 1.10});
                        st_Group.Rows.push_back({Operation + "a walk", "", 0, 0, 0, {"library"}, {"readdir"}});
                        return st_Group;
                    }});
}

/* ---------------------------------------------------------------------------------------------------
 * Memory
 * ------------------------------------------------------------------------------------------------- */

namespace
{
/// A field of the process's status, in bytes.
long long StatusOf(const std::string& Field)
{
    std::ifstream Status("/proc/self/status");
    std::string Word;
    long long nKiB = 0;
    while (Status >> Word)
    {
        if (Word == Field && Status >> nKiB)
            break;
    }
    return nKiB * 1024;
}

/// The rows without a list beside them: a first walk counts them.
long long RowsAlone(const std::string& Root, bool bCheck)
{
    std::size_t nRows = 0;
    CBareWalk(Root, [&](const char*, std::size_t, const char*, bool) { ++nRows; });
    CBareRows m_Rows(nRows);
    char** ppszRow = m_Rows.Get();
    CBareWalk(Root, [&](const char* lpszPath, std::size_t nLength, const char*, bool) {
        std::memcpy(*ppszRow++, lpszPath, nLength);
    });
    return FoundRows(m_Rows.Get(), bCheck);
}

std::vector<NAMED_WALK> MemoryWalks()
{
    std::vector<NAMED_WALK> Walks = FastWalks();
    std::erase_if(Walks, [](const NAMED_WALK& st_Walk) { return st_Walk.lpszName == std::string("find"); });
    Walks.push_back({ROLE::Extra, "rows alone", RowsAlone});
    return Walks;
}

/// A walk in a process of its own, by how much its peak grew.
SAMPLE Probe(const std::string& Walk, const std::string& Root)
{
    const std::string Command = "/proc/" + std::to_string(getpid()) + "/exe --probe '" + Walk + "' " + Root;
    FILE* const pPipe = popen(Command.c_str(), "re");
    SAMPLE st_Sample = {};
    Require(pPipe && fscanf(pPipe, "%lf %lld", &st_Sample.fCost, &st_Sample.nFound) == 2, "the memory of " + Command);
    pclose(pPipe);
    return st_Sample;
}
} // namespace

int RunMemoryProbe(const std::string& Walk, const std::string& Root)
{
    for (const NAMED_WALK& st_Walk : MemoryWalks())
    {
        if (Walk != st_Walk.lpszName)
            continue;
        std::ofstream("/proc/self/clear_refs") << "5"; // the peak is now
        const long long nBefore = StatusOf("VmRSS:");
        const long long nFound = st_Walk.Walk(Root, true);
        std::cout << StatusOf("VmHWM:") - nBefore << " " << nFound << "\n";
        return 0;
    }
    return 1;
}

void PlanMemory(PLAN& Plan, const SETTINGS& st_Settings)
{
    const long nFiles = st_Settings.bQuick ? 10'000 : 1'000'000;
    Plan.push_back({"memory", 10, [st_Settings, nFiles] {
                        const auto pTree = std::make_shared<CTree>(st_Settings.Folder, SHAPE::Wide, nFiles);
                        GROUP st_Group;
                        st_Group.Unit = "B";
                        for (const NAMED_WALK& st_Walk : MemoryWalks())
                        {
                            const std::string Name = st_Walk.lpszName;
                            const auto m_Probe = [Name, pTree](long, bool) {
                                return Probe(Name, pTree->Root());
                            };
                            st_Group.Contenders.push_back({Name, st_Walk.enRole, m_Probe, true});
                        }
                        st_Group.AddRow({"memory of a list of " + WithCommas(nFiles), "", 0, 1.02, 1.02});
                        st_Group.Rows.push_back({"memory of a table of " + WithCommas(nFiles),
                                                 "",
                                                 0,
                                                 0,
                                                 1.02,
                                                 {"library, rows"},
                                                 {},
                                                 {},
                                                 {"rows alone"}});
                        return st_Group;
                    }});
}
