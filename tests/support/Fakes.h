// SPDX-License-Identifier: MIT
/// Files, folders and tools that stand in for the machine's own.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>

/// A new folder that every user may use, removed with all it holds at the end of its scope.
class CTempFolder
{
public:
    CTempFolder();
    ~CTempFolder();
    CTempFolder& operator=(CTempFolder&&) = delete;

    [[nodiscard]] const std::filesystem::path& Path() const { return m_Path; }
    [[nodiscard]] std::string operator/(const std::string& Name) const { return (m_Path / Name).string(); }
    std::string Write(const std::string& Name, std::string_view Text) const; ///< also the folders on the way to it

private:
    std::filesystem::path m_Path;
};

std::string ReadWhole(const std::string& Path);

/// In a sandbox: puts a text, or a program, in the place of an existing file until the sandbox ends.
void FakeFile(const char* lpszTarget, std::string_view Text);
void FakeFolder(const char* lpszTarget); ///< the same with an empty folder
void LiftFakes();                        ///< takes every fake away again; the sandbox's end does so itself

/// A folder of shell scripts at the head of PATH, which is put back at the end of the scope.
class CFakeTools
{
public:
    CFakeTools() { setenv("PATH", (m_Folder.Path().string() + ":" + m_OldPath).c_str(), 1); }
    ~CFakeTools() { setenv("PATH", m_OldPath.c_str(), 1); }
    CFakeTools& operator=(CFakeTools&&) = delete;
    void Add(const std::string& Name, std::string_view Body) const; ///< a /bin/sh script

private:
    CTempFolder m_Folder;
    const std::string m_OldPath = std::getenv("PATH");
};
