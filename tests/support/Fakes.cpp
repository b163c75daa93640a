// SPDX-License-Identifier: MIT
#include "Fakes.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <vector>

namespace fs = std::filesystem;

CTempFolder::CTempFolder()
{
    std::string Name = (fs::temp_directory_path() / "systemapi-test-XXXXXX").string();
    if (!mkdtemp(Name.data()))
        throw std::runtime_error("no temporary folder");
    m_Path = Name;
    fs::permissions(m_Path, fs::perms::all);
}

CTempFolder::~CTempFolder()
{
    std::error_code Ignored;
    fs::remove_all(m_Path, Ignored);
}

std::string CTempFolder::Write(const std::string& Name, std::string_view Text) const
{
    const fs::path File = m_Path / Name;
    fs::create_directories(File.parent_path());
    std::ofstream(File, std::ios::binary) << Text;
    return File.string();
}

std::string ReadWhole(const std::string& Path)
{
    std::ifstream File(Path, std::ios::binary);
    return {std::istreambuf_iterator<char>(File), {}};
}

static std::vector<std::string> FakedTargets;

static void Mount(const char* lpszSource, const char* lpszTarget, const char* lpszKind, unsigned long dwFlags)
{
    ASSERT_EQ(mount(lpszSource, lpszTarget, lpszKind, dwFlags, nullptr), 0) << lpszTarget;
    FakedTargets.emplace_back(lpszTarget);
}

void FakeFile(const char* lpszTarget, std::string_view Text)
{
    const CTempFolder m_Folder; // the mount keeps the file alive
    const std::string Source = m_Folder.Write("file", Text);
    ASSERT_EQ(chmod(Source.c_str(), 0755), 0);
    Mount(Source.c_str(), lpszTarget, "none", MS_BIND);
}

void FakeFolder(const char* lpszTarget)
{
    Mount("tmpfs", lpszTarget, "tmpfs", 0);
}

void LiftFakes()
{
    for (; !FakedTargets.empty(); FakedTargets.pop_back())
        umount2(FakedTargets.back().c_str(), MNT_DETACH);
}

void CFakeTools::Add(const std::string& Name, std::string_view Body) const
{
    const std::string Tool = m_Folder.Write(Name, "#!/bin/sh\n" + std::string(Body) + "\n");
    ASSERT_EQ(chmod(Tool.c_str(), 0755), 0);
}
