// SPDX-License-Identifier: MIT
/// The walk over a folder or a tree.
#pragma once

#include "../Handle.h"

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// Does what the standard iterators with skip_permission_denied do, to the letter of their exceptions, without their
/// cost for each entry, and survives a failed allocation. It meets a folder's entries in the operating system's
/// order, of a tree each folder before what it holds; folders that may not be read are passed over, links to folders
/// are not followed. Next and the constructor raise std::filesystem::filesystem_error.
class CFolderWalk
{
public:
    CFolderWalk(const std::filesystem::path& Folder, bool bRecursion);

    /// Moves on to the next entry. False at the end of the walk, after which it is not to be called.
    bool Next();

    [[nodiscard]] const std::string& Path() const noexcept { return m_Path; }
    [[nodiscard]] std::string_view Name() const noexcept { return std::string_view(m_Path).substr(m_nName); }
    /// True for a folder and for a link to one. An entry whose status cannot be had (a link to itself) is a file.
    [[nodiscard]] bool IsFolder() const noexcept { return m_bFolder; }
    /// In a tree: leaves out what the folder holds that the walk has come to.
    void StayOut() noexcept { m_bMayEnter = false; }

private:
    /// An open folder, and what was read of it and is still to be met: a piece of its block.
    struct FOLDER
    {
        CDescriptor m_Descriptor;
        std::size_t nName; // where in m_Path the names of its entries begin
        std::unique_ptr<char[]> m_pBlock;
        const char* pNext;
        const char* pEnd;
    };

    int Enter(int nParent, const char* lpszFolder, int nFlags);
    bool Read(FOLDER& st_Folder);
    bool MeetNext(FOLDER& st_Folder);
    [[nodiscard]] bool IsToBeEntered() const;

    const bool m_bRecursion;
    std::string m_Path; // of the entry; before the first one, of the folder itself
    std::size_t m_nName = 0;
    unsigned char m_chKind = 0; // as the operating system gives it
    bool m_bFolder = false;
    bool m_bMayEnter = false;
    std::vector<FOLDER> m_Folders;    // from the top to the one that is being read
    std::unique_ptr<char[]> m_pSpare; // the block of the folder that was left last, for the next one
};
