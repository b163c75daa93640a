// SPDX-License-Identifier: MIT
/// The walk against the standard iterators, which it must equal to the letter: on random trees with every kind of
/// entry, and with faults.
#include "Fakes.h"
#include "Sandbox.h"

#include <SystemApi_File/FolderWalk.h>
#include <SystemApi_File/TextQueue.h>

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <optional>
#include <random>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace fs = std::filesystem;

/// What both walks meet with: calls are counted from 0, and one of them fails.
static struct
{
    int nReadsUntil = -1, nOpensUntil = -1; // the failure; never
    int nError = 0;
    bool bStepwise = false; // one entry a call, so that both count alike
    bool bUnknown = false;  // no entry tells its kind
    unsigned nDescriptors = 64;
} st_Fault;

#define REAL(Call) reinterpret_cast<decltype(&Call)>(dlsym(RTLD_NEXT, #Call))

extern "C" int openat(int nFolder, const char* lpszPath, int nFlags, ...)
{
    EXPECT_EQ(nFlags & (O_CLOEXEC | O_CREAT), O_CLOEXEC);
    if (st_Fault.nOpensUntil-- != 0)
        return REAL(openat)(nFolder, lpszPath, nFlags);
    errno = st_Fault.nError;
    return -1;
}
extern "C" dirent* readdir(DIR* pFolder) // the standard iterators'
{
    if (st_Fault.nReadsUntil-- != 0)
    {
        dirent* const pEntry = REAL(readdir)(pFolder);
        if (pEntry && st_Fault.bUnknown)
            pEntry->d_type = DT_UNKNOWN;
        return pEntry;
    }
    errno = st_Fault.nError == ENOENT ? errno : st_Fault.nError; // to the C library the end of a removed folder
    return nullptr;
}
extern "C" ssize_t getdents64(int nFolder, void* pBuffer, std::size_t nSize) noexcept // the walk's
{
    if (st_Fault.nReadsUntil-- == 0)
    {
        errno = st_Fault.nError;
        return -1;
    }
    const ssize_t nRead = REAL(getdents64)(nFolder, pBuffer, nSize);
    auto* const pEntry = static_cast<dirent64*>(pBuffer);
    for (char* pAt = static_cast<char*>(pBuffer); st_Fault.bUnknown && pAt < static_cast<char*>(pBuffer) + nRead;
         pAt += reinterpret_cast<dirent64*>(pAt)->d_reclen)
        reinterpret_cast<dirent64*>(pAt)->d_type = DT_UNKNOWN;
    if (nRead <= 0 || !st_Fault.bStepwise)
        return nRead;
    lseek(nFolder, pEntry->d_off, SEEK_SET);
    std::memcpy(static_cast<char*>(pBuffer) + pEntry->d_reclen, pBuffer, pEntry->d_reclen);
    pEntry->d_ino = 0; // one that was deleted comes before it
    return 2 * pEntry->d_reclen;
}

static std::size_t nGivenBack = 0, nUnmapped = 0;

extern "C" int madvise(void* pMemory, std::size_t nSize, int nAdvice) noexcept
{
    nGivenBack += nAdvice == MADV_DONTNEED ? nSize : 0;
    return REAL(madvise)(pMemory, nSize, nAdvice);
}
extern "C" int munmap(void* pMemory, std::size_t nSize) noexcept
{
    nUnmapped += nSize;
    return REAL(munmap)(pMemory, nSize);
}

namespace
{
using RESULT = std::vector<std::string>;                      // the entries met, and the exception
using Visitor = std::function<bool(int, const std::string&)>; // of the n-th entry: whether to go down into it

template <typename Walk>
RESULT Gather(Walk&& pfnWalk)
{
    RESULT Result;
    try
    {
        const CNoDescriptors m_Limit(st_Fault.nDescriptors);
        pfnWalk([&Result](const std::string& Path, bool bFolder) { Result.push_back(Path + (bFolder ? "|" : "")); });
    }
    catch (const fs::filesystem_error& Error)
    {
        Result.push_back(std::string(Error.what()) + '|' + Error.code().category().name() +
                         std::to_string(Error.code().value()) + '|' + Error.path1().native() + '|' +
                         Error.path2().native());
    }
    return Result;
}

template <typename Iterator>
RESULT IteratorWalk(const fs::path& Folder, const Visitor& pfnVisit)
{
    return Gather([&](auto&& Note) {
        int nEntry = 0;
        std::error_code Ignored;
        for (Iterator Walk(Folder, fs::directory_options::skip_permission_denied); Walk != end(Walk); ++Walk)
        {
            Note(Walk->path(), Walk->is_directory(Ignored));
            [[maybe_unused]] const bool bEnter = pfnVisit(nEntry++, Walk->path());
            if constexpr (std::is_same_v<Iterator, fs::recursive_directory_iterator>)
                bEnter ? void() : Walk.disable_recursion_pending();
        }
    });
}
RESULT StandardWalk(const fs::path& Folder, bool bRecursion, const Visitor& pfnVisit)
{
    return bRecursion ? IteratorWalk<fs::recursive_directory_iterator>(Folder, pfnVisit)
                      : IteratorWalk<fs::directory_iterator>(Folder, pfnVisit);
}

RESULT OwnWalk(const fs::path& Folder, bool bRecursion, const Visitor& pfnVisit)
{
    return Gather([&](auto&& Note) {
        int nEntry = 0;
        for (CFolderWalk Walk(Folder, bRecursion); Walk.Next();)
        {
            Note(Walk.Path(), Walk.IsFolder());
            EXPECT_EQ(Walk.Name(), fs::path(Walk.Path()).filename().native());
            if (!pfnVisit(nEntry++, Walk.Path()))
                Walk.StayOut();
        }
    });
}

int FirstFreeDescriptor()
{
    const int nFree = dup(STDOUT_FILENO);
    close(nFree);
    return nFree;
}

/// A tree of up to 16 entries, the same for the same seed.
class CRandomTree
{
public:
    CRandomTree(std::string Root, unsigned nSeed) : m_Root(std::move(Root)), m_Random(nSeed)
    {
        fs::create_directory(m_Root);
        std::vector<std::string> Folders = {m_Root};
        for (int nEntries = Below(17); nEntries > 0; --nEntries)
        {
            const std::string Path = (Below(2) ? Folders.back() : Pick(Folders)) + "/" + Pick(m_Names);
            std::error_code Ignored;
            constexpr mode_t nModes[] = {S_IFIFO, S_IFSOCK, S_IFREG, S_IFREG};
            if (const int nKind = Below(9); nKind < 4)
                mknod(Path.c_str(), nModes[nKind] | 0600, 0);
            else if (nKind == 4) // a link to another, or nothing; to itself; up
                fs::create_symlink(Pick<std::string>({Pick(m_Names), Path.substr(Path.rfind('/') + 1), ".."}), Path,
                                   Ignored);
            else if (mkdir(Path.c_str(), 0700) == 0)
                Folders.push_back(Path);
        }
        if (Below(4) == 0)
            chmod(Pick(Folders).c_str(), 0);
    }
    ~CRandomTree()
    {
        chmod(m_Root.c_str(), 0700);
        std::error_code Ignored;
        for (const auto& Entry : fs::recursive_directory_iterator(m_Root, Ignored))
        {
            if (Entry.symlink_status().type() == fs::file_type::directory)
                chmod(Entry.path().c_str(), 0700); // before the iterator enters it
        }
        fs::remove_all(m_Root);
    }
    CRandomTree& operator=(CRandomTree&&) = delete;

    int Below(int nLimit) { return static_cast<int>(m_Random() % static_cast<unsigned>(nLimit)); }
    template <typename Item>
    Item Pick(const std::vector<Item>& Items)
    {
        return Items[m_Random() % Items.size()];
    }

private:
    const std::vector<std::string> m_Names = {
        "a", "b.txt", ".hidden", "..c", "...", "$RECYCLE.BIN", "\xFF\xFE", "\u4e00\n", std::string(255, 'n')};
    const std::string m_Root;
    std::mt19937 m_Random;
};

/// One walk of one random tree, with the fault that the seed gives it.
RESULT WalkRandomTree(const std::string& Root, unsigned nSeed, decltype(OwnWalk)& pfnWalk)
{
    CRandomTree m_Tree(Root, nSeed);
    st_Fault = {};
    st_Fault.bStepwise = m_Tree.Below(2) == 0; // but where the tree changes: what was read ahead still comes
    st_Fault.bUnknown = m_Tree.Below(4) == 0;
    st_Fault.nError = m_Tree.Pick<int>({EACCES, EPERM, ENOENT, ENOTDIR, ELOOP, EMFILE, EIO});
    if (const int nWhen = m_Tree.Below(60); st_Fault.bStepwise && nWhen < 30)
        st_Fault.nReadsUntil = nWhen;
    else if (nWhen < 38)
        st_Fault.nOpensUntil = nWhen % 8;
    const bool bRecursion = m_Tree.Below(4) != 0;
    const int nChanged = st_Fault.bStepwise ? -1 : m_Tree.Below(8);
    const int nChange = m_Tree.Below(6);
    const Visitor m_Visit = [&](int nEntry, const std::string& Path) {
        const auto st_Before = std::exchange(st_Fault, {});
        std::error_code Ignored;
        if (nEntry == nChanged && nChange < 3) // it, the folder that holds it, or all
            fs::remove_all(nChange == 0 ? Path : nChange == 1 ? Path.substr(0, Path.rfind('/')) : Root, Ignored);
        else if (nEntry == nChanged)
            fs::rename(Path, Root + "/moved", Ignored);
        if (nEntry == nChanged && nChange % 3 == 0) // something else in its place
            fs::create_symlink(Root, Path, Ignored);
        else if (nEntry == nChanged && nChange == 4)
            mknod(Path.c_str(), S_IFREG | 0600, 0);
        st_Fault = st_Before;
        return !Path.ends_with("$RECYCLE.BIN");
    };
    if (m_Tree.Below(8) == 0)
        st_Fault.nDescriptors = static_cast<unsigned>(m_Tree.Below(4));
    RESULT Result = pfnWalk(Root + m_Tree.Pick<std::string>({"", "", "/", "//", "/."}), bRecursion, m_Visit);
    st_Fault = {};
    return Result;
}

TEST(FolderWalk, EqualsTheStandardIteratorsOnRandomTreesWithFaults)
{
    RunInChild([] {
        GiveUpRoot();
        if (access("/dev/shm", W_OK) == 0)
            setenv("TMPDIR", "/dev/shm", 1); // in memory
        const CTempFolder m_Folder;
        const int nFree = FirstFreeDescriptor();
        std::size_t nEntries = 0;
        for (unsigned nSeed = 0; nSeed < 4000 && !testing::Test::HasFailure(); ++nSeed)
        {
            const RESULT Expected = WalkRandomTree(m_Folder / "tree", nSeed, StandardWalk);
            EXPECT_EQ(WalkRandomTree(m_Folder / "tree", nSeed, OwnWalk), Expected) << "seed " << nSeed;
            EXPECT_EQ(FirstFreeDescriptor(), nFree) << "seed " << nSeed;
            nEntries += Expected.size();
        }
        EXPECT_GT(nEntries, 10000U) << "the trees hold too little";
    });
}

TEST(FolderWalk, GoesDeeperThanAPathMayBeLong)
{
    const CTempFolder m_Folder;
    const Visitor m_Visit = [](int, const std::string&) {
        return true;
    };
    const std::string Name(255, 'd');
    RunInChild([&] {
        fs::current_path(m_Folder.Path());
        for (int nLevel = 0; nLevel < 20 && mkdir(Name.c_str(), 0700) == 0 && chdir(Name.c_str()) == 0; ++nLevel)
        {
            fs::create_symlink(".", "link");            // whose status cannot be had below a certain depth
            for (int nFile = 100; nFile < 230; ++nFile) // more than is read at once
                mknod((std::to_string(nFile) + Name.substr(3)).c_str(), S_IFREG | 0600, 0);
        }
        const RESULT Expected = StandardWalk(m_Folder.Path(), true, m_Visit);
        EXPECT_EQ(Expected.size(), 20 * 132U);
        EXPECT_EQ(OwnWalk(m_Folder.Path(), true, m_Visit), Expected);
    });
}

TEST(TextQueue, GivesOutInOrderWhatFillsManyPiecesAndTheMemoryWithIt)
{
    const auto m_Text = [](std::size_t nText) { // most begin as the one before, longer or shorter; some are the same
        return std::wstring(nText / 16 % 50, L'f') +
               std::wstring(997 + nText / 2 % 7, static_cast<wchar_t>(L'!' + nText / 2 % 90));
    };
    constexpr std::size_t nTexts = 10'000; // 20 MB, as every second one is the same as the one before
    std::optional<CTextQueue<wchar_t>> m_Made(std::in_place);
    CTextQueue<wchar_t>& m_Queue = *m_Made;
    for (std::size_t nText = 0; nText < nTexts; ++nText)
        m_Queue.Append(m_Text(nText));
    EXPECT_THROW(m_Queue.Append({L"   ", SIZE_MAX / 16}), std::bad_alloc);
    EXPECT_EQ(m_Queue.Count(), nTexts);
    EXPECT_EQ(m_Queue.Longest(), 1052U);
    nGivenBack = 0;
    for (std::size_t nText = 0; nText < nTexts; ++nText)
        ASSERT_EQ(m_Queue.Take(), m_Text(nText));
    EXPECT_EQ(nGivenBack, 19U << 20);
    nUnmapped = 0;
    m_Made.reset();
    EXPECT_GE(nUnmapped, 20U << 20);
}
} // namespace
