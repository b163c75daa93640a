// SPDX-License-Identifier: MIT
#include "FolderWalk.h"

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <utility>

namespace fs = std::filesystem;

namespace
{
/// Of the entries that are read at once: as many as the C library reads.
constexpr std::size_t nReadSize = 32768;

std::error_code Code(int nError) noexcept
{
    return {nError, std::generic_category()};
}
} // namespace

CFolderWalk::CFolderWalk(const fs::path& Folder, bool bRecursion) : m_bRecursion(bRecursion), m_Path(Folder.native())
{
    if (const int nError = Enter(AT_FDCWD, m_Path.c_str(), 0))
        throw fs::filesystem_error(bRecursion ? "recursive directory iterator cannot open directory"
                                              : "directory iterator cannot open directory",
                                   Folder, Code(nError));
}

/// Opens the folder that m_Path tells. Gives errno of a failure, but not of a permission that lacks.
int CFolderWalk::Enter(int nParent, const char* lpszFolder, int nFlags)
{
    CDescriptor m_Descriptor(openat(nParent, lpszFolder, O_RDONLY | O_DIRECTORY | O_CLOEXEC | nFlags));
    if (!m_Descriptor)
        return errno == EACCES ? 0 : errno;
    if (!m_pSpare)
        m_pSpare = std::make_unique_for_overwrite<char[]>(nReadSize);
    const std::size_t nName = m_Path.size() + (m_Path.ends_with('/') ? 0 : 1);
    m_Folders.push_back({std::move(m_Descriptor), nName, std::move(m_pSpare), nullptr, nullptr});
    return 0;
}

bool CFolderWalk::Next()
{
    if (std::exchange(m_bMayEnter, m_bRecursion) && IsToBeEntered())
    {
        if (const int nError = Enter(m_Folders.back().m_Descriptor.Get(), m_Path.c_str() + m_nName, O_NOFOLLOW))
            throw fs::filesystem_error("cannot increment recursive directory iterator", Code(nError));
    }
    for (; !m_Folders.empty(); m_Folders.pop_back())
    {
        if (MeetNext(m_Folders.back()))
            return true;
        m_pSpare = std::move(m_Folders.back().m_pBlock);
    }
    return false;
}

/// A link to a folder is not entered. Where the kind is not at hand it is asked for here, after the caller has seen the
/// entry, and one that is gone by then is not entered either.
bool CFolderWalk::IsToBeEntered() const
{
    if (m_chKind != DT_UNKNOWN)
        return m_chKind == DT_DIR;
    struct stat st_Status = {};
    return lstat(m_Path.c_str(), &st_Status) == 0 && S_ISDIR(st_Status.st_mode);
}

bool CFolderWalk::MeetNext(FOLDER& st_Folder)
{
    while (st_Folder.pNext < st_Folder.pEnd || Read(st_Folder))
    {
        const auto& st_Entry = *reinterpret_cast<const dirent64*>(st_Folder.pNext);
        st_Folder.pNext += st_Entry.d_reclen;
        const std::string_view Entry = st_Entry.d_name;
        if (st_Entry.d_ino == 0 || Entry == "." || Entry == "..") // 0: deleted meanwhile
            continue;
        m_nName = st_Folder.nName;
        m_Path.resize(m_nName, '/'); // which adds one to the folder's own path
        m_Path += Entry;
        m_chKind = st_Entry.d_type;
        m_bFolder = m_chKind == DT_DIR;
        if (m_chKind == DT_LNK || m_chKind == DT_UNKNOWN)
        {
            struct stat st_Status = {};
            m_bFolder = stat(m_Path.c_str(), &st_Status) == 0 && S_ISDIR(st_Status.st_mode);
        }
        return true;
    }
    return false;
}

/// Reads on in the folder that was entered last. False at its end.
bool CFolderWalk::Read(FOLDER& st_Folder)
{
    const ssize_t nRead = getdents64(st_Folder.m_Descriptor.Get(), st_Folder.m_pBlock.get(), nReadSize);
    if (nRead > 0)
    {
        st_Folder.pNext = st_Folder.m_pBlock.get();
        st_Folder.pEnd = st_Folder.pNext + nRead;
        return true;
    }
    const int nError = errno;
    if (nRead == 0 || nError == ENOENT) // which some file systems tell of a folder that was removed meanwhile
        return false;
    const bool bMetNone = m_nName == 0;
    if (nError == EACCES && (m_bRecursion || bMetNone))
        return false;
    if (m_bRecursion && !bMetNone)
        throw fs::filesystem_error("cannot increment recursive directory iterator", Code(nError));
    if (m_bRecursion || !bMetNone)
        throw fs::filesystem_error("directory iterator cannot advance", Code(nError));
    throw fs::filesystem_error("directory iterator cannot open directory", m_Path, Code(nError));
}
