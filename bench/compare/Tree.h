// SPDX-License-Identifier: MIT
/// Trees of empty files for the walks. Every second file is a .txt, the others are .dat.
#pragma once

#include "Support.h"

#include <algorithm>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>

enum class SHAPE
{
    Flat, ///< all files in one folder
    Deep, ///< the files spread over 32 folders, each within the one before
    Wide  ///< 100 files to a folder, the folders side by side
};

class CTree
{
public:
    CTree(const std::string& Parent, SHAPE enShape, long nFiles) : m_Folder(Parent)
    {
        constexpr long nDepth = 32;
        const long nFolders = enShape == SHAPE::Flat   ? 0
                              : enShape == SHAPE::Deep ? nDepth
                                                       : std::max(nFiles / 100, 1L);
        std::string Folder = Root();
        long nFile = 0;
        for (long nFolder = 0; nFolder < std::max(nFolders, 1L); ++nFolder)
        {
            if (nFolders > 0)
            {
                Folder = (enShape == SHAPE::Deep ? Folder : Root()) + "/folder-" + std::to_string(nFolder);
                Require(mkdir(Folder.c_str(), 0755) == 0, Folder);
            }
            const int nParent = open(Folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
            for (const long nEnd = nFiles * (nFolder + 1) / std::max(nFolders, 1L); nFile < nEnd; ++nFile)
            {
                char tszName[32];
                std::snprintf(tszName, sizeof(tszName), "file-%07ld.%s", nFile, nFile % 2 == 0 ? "txt" : "dat");
                Require(mknodat(nParent, tszName, S_IFREG | 0644, 0) == 0, tszName);
            }
            close(nParent);
        }
    }

    [[nodiscard]] const std::string& Root() const { return m_Folder.Path(); }

private:
    CScratchFolder m_Folder;
};
