// SPDX-License-Identifier: MIT
#include "Fuzz.h"

#include "SystemApi_File/FolderWalk.h"

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <map>
#include <sys/stat.h>
#include <system_error>

// A tree that is made up, with refusals at every place where the operating system may give one.

struct NODE
{
    std::string Path;
    std::string Name;
    unsigned char chKind;
    bool bStatFolder;  ///< what follows links says that it is a folder
    bool bLstatFolder; ///< what does not
    bool bDeleted;
    int nOpenError;
    int nReadError;           ///< in the place of the entries from nErrorAt on
    std::size_t nErrorAt;     ///< npos for none
    std::size_t nPortion;     ///< so many entries at once
    std::vector<NODE*> Nodes; ///< what the folder holds
};

static std::vector<std::unique_ptr<NODE>> All; // empty: the machine's own files
static std::map<int, std::pair<const NODE*, std::size_t>> Opened;

static const NODE* Find(const std::string& Path)
{
    const auto m_Is = [&](const auto& pNode) {
        return pNode->Path == Path && !pNode->bDeleted;
    };
    const auto pFound = std::find_if(All.begin(), All.end(), m_Is);
    return pFound == All.end() ? nullptr : pFound->get();
}

static int Status(const NODE* pNode, bool NODE::*pFolder, struct stat* pSt_Status)
{
    REQUIRE(pNode);
    pSt_Status->st_mode = pNode->*pFolder ? S_IFDIR : S_IFREG;
    return 0;
}

extern "C"
{
int __real_stat(const char* lpszPath, struct stat* pSt_Status);
int __real_lstat(const char* lpszPath, struct stat* pSt_Status);
int __real_openat(int nFolder, const char* lpszPath, int nFlags, ...);
ssize_t __real_getdents64(int nFile, void* pBuffer, std::size_t nSize);

int __wrap_stat(const char* lpszPath, struct stat* pSt_Status)
{
    return All.empty() ? __real_stat(lpszPath, pSt_Status) : Status(Find(lpszPath), &NODE::bStatFolder, pSt_Status);
}

int __wrap_lstat(const char* lpszPath, struct stat* pSt_Status)
{
    return All.empty() ? __real_lstat(lpszPath, pSt_Status) : Status(Find(lpszPath), &NODE::bLstatFolder, pSt_Status);
}

int __wrap_openat(int nFolder, const char* lpszPath, int nFlags, ...)
{
    if (All.empty())
        return __real_openat(nFolder, lpszPath, nFlags);
    REQUIRE((nFlags & O_CLOEXEC) != 0 && ((nFlags & O_NOFOLLOW) != 0) == (nFolder != AT_FDCWD));
    const NODE* pNode = All.front().get();
    if (nFolder == AT_FDCWD)
        REQUIRE(pNode->Path == lpszPath);
    else
    {
        const std::string& Parent = Opened.at(nFolder).first->Path;
        pNode = Find(Parent + (Parent.back() == '/' ? "" : "/") + lpszPath);
        REQUIRE(pNode);
    }
    if (pNode->nOpenError != 0)
    {
        errno = pNode->nOpenError;
        return -1;
    }
    const int nFile = __real_openat(AT_FDCWD, "/dev/null", O_RDONLY | O_CLOEXEC);
    Opened[nFile] = {pNode, 0};
    return nFile;
}

ssize_t __wrap_getdents64(int nFile, void* pBuffer, std::size_t nSize)
{
    if (All.empty())
        return __real_getdents64(nFile, pBuffer, nSize);
    auto& [pNode, nNext] = Opened.at(nFile);
    std::size_t nFilled = 0;
    for (std::size_t nEntry = 0; nEntry < pNode->nPortion && nNext < pNode->Nodes.size(); ++nEntry, ++nNext)
    {
        if (nNext == pNode->nErrorAt)
            break;
        const NODE& st_Node = *pNode->Nodes[nNext];
        const std::size_t nLength = (offsetof(dirent64, d_name) + st_Node.Name.size() + 1 + 7) / 8 * 8;
        REQUIRE(nFilled + nLength <= nSize);
        auto* const pEntry = static_cast<char*>(pBuffer) + nFilled;
        dirent64 st_Entry = {};
        st_Entry.d_ino = st_Node.bDeleted ? 0 : 1;
        st_Entry.d_type = st_Node.chKind;
        st_Entry.d_reclen = static_cast<unsigned short>(nLength);
        st_Node.Name.copy(st_Entry.d_name, 255);
        std::memcpy(pEntry, &st_Entry, nLength);
        nFilled += nLength;
    }
    if (nFilled > 0 || nNext != pNode->nErrorAt)
        return static_cast<ssize_t>(nFilled);
    errno = pNode->nReadError;
    return -1;
}
}

/// The walk as its rules read.
struct REFERENCE
{
    bool bRecursion;
    std::vector<const NODE*> Met;
    int nError = 0; ///< that ended it

    void Open(const NODE& st_Folder)
    {
        if (st_Folder.nOpenError != 0)
            nError = st_Folder.nOpenError == EACCES ? 0 : st_Folder.nOpenError;
        else
            Walk(st_Folder);
    }
    void Walk(const NODE& st_Folder)
    {
        for (std::size_t nEntry = 0; nEntry <= st_Folder.Nodes.size() && nError == 0; ++nEntry)
        {
            if (nEntry == st_Folder.nErrorAt)
            {
                const bool bPassed =
                    st_Folder.nReadError == ENOENT || (st_Folder.nReadError == EACCES && (bRecursion || Met.empty()));
                nError = bPassed ? 0 : st_Folder.nReadError;
                return;
            }
            if (nEntry == st_Folder.Nodes.size())
                return;
            const NODE& st_Node = *st_Folder.Nodes[nEntry];
            if (st_Node.bDeleted || st_Node.Name == "." || st_Node.Name == "..")
                continue;
            Met.push_back(&st_Node);
            const bool bEntered = st_Node.chKind == DT_DIR || (st_Node.chKind == DT_UNKNOWN && st_Node.bLstatFolder);
            if (bRecursion && bEntered && !StaysOut(st_Node.Name))
                Open(st_Node);
        }
    }
    static bool StaysOut(std::string_view Name) { return Name.front() == '$'; }
};

/// One line for each entry: its folder, its kind, what it answers (bits from '@' on), how it is read, its name.
static void MakeTree(const std::string& Text, bool bSlash)
{
    constexpr unsigned char chKinds[] = {DT_REG, DT_DIR, DT_LNK, DT_UNKNOWN};
    constexpr int nErrors[] = {0, EACCES, ENOENT, EIO, ENOTDIR, ELOOP, EMFILE, ENOMEM};

    for (std::string Line : Lines(Text, 260))
    {
        Line.erase(std::min(Line.find_first_of("\n/"), Line.size()));
        const auto m_Bits = [&](std::size_t nAt) {
            return static_cast<unsigned>(Line[nAt]) & 0x3FU;
        };
        if (Line.size() < 6 || All.size() == 200)
            continue;
        auto pNode = std::make_unique<NODE>();
        NODE* const pFolder = All.empty() ? nullptr : All[m_Bits(0) % All.size()].get();
        pNode->Name = Line.substr(5);
        pNode->Path = pFolder ? pFolder->Path + (pFolder->Path.back() == '/' ? "" : "/") + pNode->Name
                              : pNode->Name + (bSlash ? "/" : "");
        pNode->chKind = chKinds[m_Bits(1) % 4];
        pNode->bStatFolder = (m_Bits(1) & 4U) != 0;
        pNode->bLstatFolder = (m_Bits(1) & 8U) != 0;
        pNode->bDeleted = (m_Bits(1) & 16U) != 0;
        pNode->nOpenError = nErrors[m_Bits(2) % 8];
        pNode->nReadError = nErrors[1 + m_Bits(3) % 7];
        pNode->nPortion = 1 + m_Bits(2) / 8;
        pNode->nErrorAt = m_Bits(4) == 0 ? std::string::npos : (m_Bits(4) - 1) * pNode->nPortion;
        if (pFolder)
        {
            if (Find(pNode->Path))
                continue;
            pFolder->Nodes.push_back(pNode.get());
        }
        All.push_back(std::move(pNode));
    }
}

FUZZ(In)
{
    const std::string Text = In.ConsumeRemainingBytesAsString();
    const auto chRules = static_cast<unsigned>(Text.empty() ? 0 : Text.back());
    MakeTree(Text, (chRules & 1U) != 0);
    if (All.empty())
        return;
    REFERENCE st_Reference{(chRules & 2U) != 0, {}};
    st_Reference.Open(*All.front());

    auto pNext = st_Reference.Met.begin();
    int nError = 0;
    try
    {
        CFolderWalk m_Walk(All.front()->Path, st_Reference.bRecursion);
        for (; m_Walk.Next(); ++pNext)
        {
            REQUIRE(pNext != st_Reference.Met.end());
            const NODE& st_Node = **pNext;
            const bool bAsked = st_Node.chKind == DT_LNK || st_Node.chKind == DT_UNKNOWN;
            REQUIRE(m_Walk.Path() == st_Node.Path && m_Walk.Name() == st_Node.Name);
            REQUIRE(m_Walk.IsFolder() == (bAsked ? st_Node.bStatFolder : st_Node.chKind == DT_DIR));
            if (REFERENCE::StaysOut(st_Node.Name))
                m_Walk.StayOut();
        }
    }
    catch (const std::filesystem::filesystem_error& Error)
    {
        nError = Error.code().value();
    }
    REQUIRE(pNext == st_Reference.Met.end() && nError == st_Reference.nError);
    for (const auto& [nFile, Folder] : Opened)
        REQUIRE(fcntl(nFile, F_GETFD) == -1);
    Opened.clear();
    All.clear();
}
