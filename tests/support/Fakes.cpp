#include "Fakes.h"

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
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

namespace
{
std::vector<std::string>& FakedTargets()
{
    static std::vector<std::string> Targets;
    return Targets;
}

void Mount(const char* lpszSource, const char* lpszTarget, const char* lpszKind, unsigned long dwFlags)
{
    ASSERT_EQ(mount(lpszSource, lpszTarget, lpszKind, dwFlags, nullptr), 0) << lpszTarget;
    FakedTargets().emplace_back(lpszTarget);
}
} // namespace

void FakeFile(const char* lpszTarget, std::string_view Text)
{
    const CTempFolder m_Folder; // the mount keeps the file alive
    const std::string Source = m_Folder.Write("file", Text);
    ASSERT_EQ(chmod(Source.c_str(), 0755), 0);
    Mount(Source.c_str(), lpszTarget, nullptr, MS_BIND);
}

void FakeFolder(const char* lpszTarget)
{
    Mount("tmpfs", lpszTarget, "tmpfs", 0);
}

void LiftFakes()
{
    for (auto& Targets = FakedTargets(); !Targets.empty(); Targets.pop_back())
        umount2(Targets.back().c_str(), MNT_DETACH);
}

CFakeTools::CFakeTools() : m_OldPath(std::getenv("PATH"))
{
    setenv("PATH", (m_Folder.Path().string() + ":" + m_OldPath).c_str(), 1);
}

CFakeTools::~CFakeTools()
{
    setenv("PATH", m_OldPath.c_str(), 1);
}

void CFakeTools::Add(const std::string& Name, std::string_view Body) const
{
    const std::string Tool = m_Folder.Write(Name, "#!/bin/sh\n" + std::string(Body) + "\n");
    ASSERT_EQ(chmod(Tool.c_str(), 0755), 0);
}

void CFakeTools::HideAllOthers() const
{
    setenv("PATH", m_Folder.Path().c_str(), 1);
}
