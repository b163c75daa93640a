/// Files, folders and tools that stand in for the machine's own.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

/// A new folder that every user may use, removed with all it holds at the end of its scope.
class CTempFolder
{
public:
    CTempFolder();
    ~CTempFolder();
    CTempFolder(const CTempFolder&) = delete;
    CTempFolder& operator=(const CTempFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& Path() const { return m_Path; }
    /// The path of an entry, as text.
    [[nodiscard]] std::string operator/(const std::string& Name) const { return (m_Path / Name).string(); }
    /// Writes a file, and the folders on the way to it; gives its path.
    std::string Write(const std::string& Name, std::string_view Text) const;

private:
    std::filesystem::path m_Path;
};

/// The text of a file.
std::string ReadWhole(const std::string& Path);

/// In a sandbox: puts a text, or a program, in the place of an existing file until the sandbox ends.
void FakeFile(const char* lpszTarget, std::string_view Text);
/// In a sandbox: puts an empty folder in the place of an existing one until the sandbox ends.
void FakeFolder(const char* lpszTarget);
/// Takes every fake away again; the sandbox does so itself when the body is done.
void LiftFakes();

/// A folder of shell scripts at the head of PATH, which is put back at the end of the scope.
class CFakeTools
{
public:
    CFakeTools();
    ~CFakeTools();
    CFakeTools(const CFakeTools&) = delete;
    CFakeTools& operator=(const CFakeTools&) = delete;

    /// Adds a tool; the body is a /bin/sh script.
    void Add(const std::string& Name, std::string_view Body) const;
    /// Leaves this folder alone on PATH, so that every other tool is missing.
    void HideAllOthers() const;
    [[nodiscard]] const CTempFolder& Folder() const { return m_Folder; }

private:
    CTempFolder m_Folder;
    std::string m_OldPath;
};
