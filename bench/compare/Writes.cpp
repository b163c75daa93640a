// SPDX-License-Identifier: MIT
/// Files written, saved and copied, and trees deleted.
#include "Plan.h"
#include "Support.h"
#include "Tree.h"

#include <Tolvane_SystemApi.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <ftw.h>
#include <memory>
#include <sys/sendfile.h>
#include <sys/stat.h>

#ifdef HAVE_GLIB
#include <glib.h>
#endif
#ifdef HAVE_BOOST_FILESYSTEM
#include <boost/filesystem.hpp>
#endif

namespace
{
namespace fs = std::filesystem;

constexpr std::size_t nZeroBlock = 4096; // the rule for files of zeros
constexpr char tszZeros[1 << 20] = {};

/// A source, and a destination that every contender makes anew.
class CFiles
{
public:
    CFiles(const std::string& Folder, std::size_t nBytes)
        : m_Folder(Folder), m_Bytes(nBytes, 'x'), m_Source(m_Folder.Path() + "/source"),
          m_Target(m_Folder.Path() + "/target")
    {
        std::ofstream(m_Source) << m_Bytes;
    }

    [[nodiscard]] const std::string& Bytes() const { return m_Bytes; }
    [[nodiscard]] long Size() const { return static_cast<long>(m_Bytes.size()); }
    [[nodiscard]] const char* Source() const { return m_Source.c_str(); }
    [[nodiscard]] const char* Target() const { return m_Target.c_str(); }

    void RemoveTarget() const { unlink(Target()); }
    /// The size of what was written; with bCheck it must be the right text.
    [[nodiscard]] long long Found(char chText, bool bCheck) const
    {
        if (bCheck)
        {
            std::string Text(m_Bytes.size(), '?');
            std::ifstream(m_Target).read(Text.data(), Size());
            Require(Text.find_first_not_of(chText) == Text.npos, "what was written");
        }
        struct stat st_Status = {};
        stat(Target(), &st_Status);
        return st_Status.st_size;
    }

private:
    CScratchFolder m_Folder;
    std::string m_Bytes;
    std::string m_Source;
    std::string m_Target;
};

void WriteByC(const CFiles& Files, const char* pText, std::size_t nBlock)
{
    FILE* const pFile = fopen(Files.Target(), "wbe");
    for (std::size_t nRest = Files.Bytes().size(); nRest > 0; nRest -= nBlock)
        Require(fwrite(pText, 1, nBlock, pFile) == nBlock, "fwrite");
    fclose(pFile);
}
void WriteByStream(const CFiles& Files, const char* pText, std::size_t nBlock)
{
    std::ofstream Stream(Files.Target(), std::ios::binary);
    for (std::size_t nRest = Files.Bytes().size(); nRest > 0; nRest -= nBlock)
        Stream.write(pText, static_cast<std::streamsize>(nBlock));
}
void WriteByCalls(const CFiles& Files, const char* pText, std::size_t nBlock)
{
    const int nFile = open(Files.Target(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    for (std::size_t nRest = Files.Bytes().size(); nRest > 0; nRest -= nBlock)
        Require(write(nFile, pText, nBlock) == static_cast<ssize_t>(nBlock), "write");
    close(nFile);
}
void WriteByDd(const CFiles& Files, std::size_t nBlock)
{
    Require(RunProgram({"dd", "if=/dev/zero", std::string("of=") + Files.Target(), "bs=" + std::to_string(nBlock),
                        "count=" + std::to_string(Files.Bytes().size() / nBlock), "status=none"}),
            "dd");
}

void CopyByCalls(const CFiles& Files)
{
    const int nSource = open(Files.Source(), O_RDONLY | O_CLOEXEC);
    struct stat st_Status = {};
    fstat(nSource, &st_Status);
    const int nTarget = open(Files.Target(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, st_Status.st_mode & 0777);
    for (off_t nAt = 0; nAt < st_Status.st_size;)
        Require(sendfile(nTarget, nSource, &nAt, static_cast<std::size_t>(st_Status.st_size - nAt)) > 0, "sendfile");
    close(nTarget);
    close(nSource);
}

using ADD = std::function<void(ROLE, const char*, std::function<void(const CFiles&)>)>;

/// A group of ways to bring the destination about, filled by Contend.
GROUP MakeGroup(const SETTINGS& st_Settings, const char* lpszWhat, char chText,
                const std::function<void(const ADD&)>& Contend)
{
    const std::size_t nMiB = st_Settings.bQuick ? 8 : 256;
    const auto pFiles = std::make_shared<CFiles>(st_Settings.Folder, nMiB << 20);
    GROUP st_Group;
    Contend([&](ROLE enRole, const char* lpszName, std::function<void(const CFiles&)> Write) {
        st_Group.Add(
            enRole, lpszName,
            [pFiles, chText, Write = std::move(Write)](bool bCheck) {
                Write(*pFiles);
                return pFiles->Found(chText, bCheck);
            },
            [pFiles] { pFiles->RemoveTarget(); });
    });
    st_Group.AddRow({lpszWhat + std::to_string(nMiB) + " MiB", "", 0, 1.02, 1.02});
    return st_Group;
}

void ZeroContenders(const ADD& Add)
{
    Add(ROLE::Library, "library", [](const CFiles& Files) {
        Require(SystemApi_File_CreateSparseFileA(Files.Target(), Files.Size()), "the file of zeros");
    });
    Add(ROLE::Peer, "fwrite", [](const CFiles& Files) { WriteByC(Files, tszZeros, nZeroBlock); });
    Add(ROLE::Peer, "std::ofstream", [](const CFiles& Files) { WriteByStream(Files, tszZeros, nZeroBlock); });
    Add(ROLE::Peer, "dd", [](const CFiles& Files) { WriteByDd(Files, nZeroBlock); });
    Add(ROLE::OtherRule, "dd, 1 MiB blocks", [](const CFiles& Files) { WriteByDd(Files, sizeof(tszZeros)); });
    Add(ROLE::Limit, "write", [](const CFiles& Files) { WriteByCalls(Files, tszZeros, nZeroBlock); });
}

void SaveContenders(const ADD& Add)
{
    Add(ROLE::Library, "library", [](const CFiles& Files) {
        Require(SystemApi_File_SaveBuffToFileA(Files.Target(), Files.Bytes().data(), static_cast<int>(Files.Size())),
                "the save");
    });
    const auto m_By = [](void (*pfnWrite)(const CFiles&, const char*, std::size_t)) {
        return [pfnWrite](const CFiles& Files) {
            pfnWrite(Files, Files.Bytes().data(), Files.Bytes().size());
        };
    };
    Add(ROLE::Peer, "fwrite", m_By(WriteByC));
    Add(ROLE::Peer, "std::ofstream", m_By(WriteByStream));
#ifdef HAVE_GLIB
    Add(ROLE::Peer, "g_file_set_contents_full", [](const CFiles& Files) {
        Require(g_file_set_contents_full(Files.Target(), Files.Bytes().data(), Files.Size(), G_FILE_SET_CONTENTS_NONE,
                                         0666, nullptr) != FALSE,
                "g_file_set_contents_full");
    });
#endif
    Add(ROLE::Limit, "write", m_By(WriteByCalls));
}

void CopyContenders(const ADD& Add)
{
    Add(ROLE::Library, "library", [](const CFiles& Files) {
        Require(SystemApi_File_CopyFileA(Files.Source(), Files.Target(), false), "the copy");
    });
    Add(ROLE::Peer, "std::filesystem", [](const CFiles& Files) {
        fs::copy_file(Files.Source(), Files.Target(), fs::copy_options::overwrite_existing);
    });
#ifdef HAVE_BOOST_FILESYSTEM
    Add(ROLE::Peer, "Boost.Filesystem", [](const CFiles& Files) {
        boost::filesystem::copy_file(Files.Source(), Files.Target(),
                                     boost::filesystem::copy_options::overwrite_existing);
    });
#endif
    Add(ROLE::Peer, "cp", [](const CFiles& Files) {
        Require(RunProgram({"cp", Files.Source(), Files.Target()}), "cp");
    });
    Add(ROLE::Peer, "dd, 1 MiB blocks", [](const CFiles& Files) {
        Require(RunProgram({"dd", std::string("if=") + Files.Source(), std::string("of=") + Files.Target(), "bs=1M",
                            "status=none"}),
                "dd");
    });
    Add(ROLE::Limit, "sendfile", CopyByCalls);
}

/* ---------------------------------------------------------------------------------------------------
 * Trees deleted
 * ------------------------------------------------------------------------------------------------- */

/// A tree that is made anew before each deletion.
class CVictim
{
public:
    CVictim(std::string Folder, long nFiles) : m_Parent(std::move(Folder)), m_nFiles(nFiles) {}

    void Make() { m_pTree = std::make_unique<CTree>(m_Parent, SHAPE::Wide, m_nFiles); }
    [[nodiscard]] const std::string& Root() const { return m_pTree->Root(); }

private:
    std::string m_Parent;
    long m_nFiles;
    std::unique_ptr<CTree> m_pTree;
};

void DeleteByNftw(const std::string& Root)
{
    const auto m_Remove = [](const char* lpszPath, const struct stat*, int, struct FTW*) {
        return remove(lpszPath);
    };
    nftw(Root.c_str(), m_Remove, 64, FTW_PHYS | FTW_DEPTH);
}

GROUP MakeDeletion(const SETTINGS& st_Settings)
{
    const long nFiles = st_Settings.bQuick ? 1000 : 10'000;
    const auto pVictim = std::make_shared<CVictim>(st_Settings.Folder, nFiles);
    GROUP st_Group;
    const auto m_Add = [&](ROLE enRole, const char* lpszName, void (*pfnDelete)(const std::string&)) {
        st_Group.Add(
            enRole, lpszName,
            [pVictim, pfnDelete](bool) {
                pfnDelete(pVictim->Root());
                return static_cast<long long>(access(pVictim->Root().c_str(), F_OK)); // -1: it is gone
            },
            [pVictim] { pVictim->Make(); });
    };
    m_Add(ROLE::Library, "library", [](const std::string& Root) {
        Require(SystemApi_File_DeleteMutilFolderA(Root.c_str(), true), "the deletion");
    });
    m_Add(ROLE::Peer, "nftw, remove", DeleteByNftw);
    m_Add(ROLE::Peer, "rm -r", [](const std::string& Root) { Require(RunProgram({"rm", "-r", Root}), "rm"); });
#ifdef HAVE_BOOST_FILESYSTEM
    m_Add(ROLE::Peer, "Boost.Filesystem", [](const std::string& Root) { boost::filesystem::remove_all(Root); });
#endif
    m_Add(ROLE::Limit, "std::filesystem", [](const std::string& Root) { fs::remove_all(Root); });
    st_Group.AddRow({"delete a tree of " + WithCommas(nFiles), "", 0, 0, 1.02});
    return st_Group;
}
} // namespace

void PlanWrites(PLAN& Plan, const SETTINGS& st_Settings)
{
    Plan.push_back({"zeros", 20, [st_Settings] {
                        return MakeGroup(st_Settings, "file of zeros, ", '\0', ZeroContenders);
                    }});
    Plan.push_back({"save", 20, [st_Settings] {
                        return MakeGroup(st_Settings, "save ", 'x', SaveContenders);
                    }});
    Plan.push_back({"copy", 20, [st_Settings] {
                        return MakeGroup(st_Settings, "copy ", 'x', CopyContenders);
                    }});
    Plan.push_back({"delete", 4, [st_Settings] {
                        return MakeDeletion(st_Settings);
                    }});
}
