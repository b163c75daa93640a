// SPDX-License-Identifier: MIT
#include "ControlGroup.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>
#include <system_error>
#include <vector>

namespace fs = std::filesystem;

namespace
{
/// A mounted hierarchy: the group that is its root, and where it is mounted.
struct HIERARCHY
{
    std::string Root;
    fs::path Folder;
};

std::vector<std::string> Split(const std::string& Text, char chSeparator)
{
    std::vector<std::string> Words;
    std::istringstream Rest(Text);
    for (std::string Word; std::getline(Rest, Word, chSeparator);)
        Words.push_back(Word);
    return Words;
}

bool Holds(const std::vector<std::string>& Words, std::string_view Word)
{
    return std::find(Words.begin(), Words.end(), Word) != Words.end();
}

/// A field of the table of mounts, in which blanks and the like are written as \OOO.
std::string Unescaped(const std::string& Field)
{
    constexpr std::size_t nDigits = 3;
    std::string Text;
    for (std::size_t nAt = 0; nAt < Field.size(); ++nAt)
    {
        unsigned nByte = 0;
        const char* const lpszDigits = Field.data() + nAt + 1;
        if (Field[nAt] == '\\' && Field.size() - nAt > nDigits &&
            std::from_chars(lpszDigits, lpszDigits + nDigits, nByte, 8).ptr == lpszDigits + nDigits)
        {
            Text += static_cast<char>(nByte);
            nAt += nDigits;
        }
        else
            Text += Field[nAt];
    }
    return Text;
}

/// The hierarchy of a controller; that of version 2 has none named.
std::optional<HIERARCHY> HierarchyOf(const fs::path& Root, const std::string& Controller)
{
    // ID PARENT DEVICE ROOT FOLDER OPTIONS [TAG...] - TYPE SOURCE SUPEROPTIONS
    enum
    {
        nRoot = 3,
        nFolder = 4,
        nType = 1, // behind the dash
        nSuperOptions = 3
    };
    std::ifstream Mounts(Root / "proc/self/mountinfo");
    for (std::string Line; std::getline(Mounts, Line);)
    {
        const auto Words = Split(Line, ' ');
        const auto Dash = std::find(Words.begin(), Words.end(), "-");
        if (Words.end() - Dash <= nSuperOptions || Dash - Words.begin() <= nFolder)
            continue;
        const bool bVersion2 = Dash[nType] == "cgroup2";
        const bool bVersion1 = Dash[nType] == "cgroup";
        if (Controller.empty() ? bVersion2 : bVersion1 && Holds(Split(Dash[nSuperOptions], ','), Controller))
            return HIERARCHY{Unescaped(Words[nRoot]), Root / fs::path(Unescaped(Words[nFolder])).relative_path()};
    }
    return std::nullopt;
}

/// The folders of a group and of all above it that are to be seen. A path that leads out of what is mounted, as in a
/// container without a namespace for its groups, means the folder that is mounted.
std::vector<fs::path> Upwards(const HIERARCHY& st_Hierarchy, const std::string& Group)
{
    fs::path Below = Group;
    if (st_Hierarchy.Root != "/")
        Below = Below.lexically_relative(st_Hierarchy.Root);
    Below = Below.relative_path();
    std::error_code Ignored;
    if (Below.empty() || *Below.begin() == ".." || !fs::is_directory(st_Hierarchy.Folder / Below, Ignored))
        Below = ".";
    std::vector<fs::path> Folders = {st_Hierarchy.Folder};
    for (const fs::path& Step : Below)
        Folders.push_back(Folders.back() / Step);
    return Folders;
}

std::string FirstLine(const fs::path& File)
{
    std::ifstream Stream(File);
    std::string Line;
    std::getline(Stream, Line);
    return Line;
}

/// Nothing for "max", -1, and a file that is missing.
std::optional<unsigned long long> Number(std::string_view Text)
{
    unsigned long long nNumber = 0;
    const auto [lpszEnd, enError] = std::from_chars(Text.data(), Text.data() + Text.size(), nNumber);
    if (enError != std::errc() || lpszEnd != Text.data() + Text.size())
        return std::nullopt;
    return nNumber;
}

template <typename Amount>
void Tighten(std::optional<Amount>& Limit, Amount Other)
{
    Limit = Limit ? std::min(*Limit, Other) : Other;
}

void TightenMemory(CONTROL_GROUP& st_Group, const fs::path& File)
{
    constexpr unsigned long long nNone = 1ULL << 62; // version 1 says "none" by the largest number of whole pages
    const auto nLimit = Number(FirstLine(File));
    if (nLimit && *nLimit < nNone)
        Tighten(st_Group.nMemoryLimit, *nLimit);
}

void TightenProcessor(CONTROL_GROUP& st_Group, std::string_view QuotaText, std::string_view PeriodText)
{
    const auto nQuota = Number(QuotaText);
    const auto nPeriod = Number(PeriodText);
    if (nQuota && nPeriod && *nPeriod > 0)
        Tighten(st_Group.fProcessorLimit, static_cast<double>(*nQuota) / static_cast<double>(*nPeriod));
}

void Read(CONTROL_GROUP& st_Group, const fs::path& Root, const std::string& Controller, const std::string& Group)
{
    const auto st_Hierarchy = HierarchyOf(Root, Controller);
    if (!st_Hierarchy)
        return;
    for (const fs::path& Folder : Upwards(*st_Hierarchy, Group))
    {
        if (Controller != "cpu")
            TightenMemory(st_Group, Folder / (Controller.empty() ? "memory.max" : "memory.limit_in_bytes"));
        if (Controller == "cpu")
            TightenProcessor(st_Group, FirstLine(Folder / "cpu.cfs_quota_us"),
                             FirstLine(Folder / "cpu.cfs_period_us"));
        const auto Words = Split(Controller.empty() ? FirstLine(Folder / "cpu.max") : "", ' '); // QUOTA PERIOD
        if (Words.size() == 2)
            TightenProcessor(st_Group, Words[0], Words[1]);
    }
}
} // namespace

CONTROL_GROUP ReadControlGroup(const std::string& Root)
{
    CONTROL_GROUP st_Group;
    std::ifstream Groups(fs::path(Root) / "proc/self/cgroup");
    for (std::string Line; std::getline(Groups, Line);) // ID:CONTROLLERS:GROUP
    {
        const std::size_t nControllers = Line.find(':') + 1;
        const std::size_t nGroup = Line.find(':', nControllers) + 1;
        if (nControllers == 0 || nGroup == 0)
            continue;
        const std::string Controllers = Line.substr(nControllers, nGroup - 1 - nControllers);
        const std::string Group = Line.substr(nGroup);
        if (Controllers.empty())
        {
            st_Group.nVersion = st_Group.nVersion.value_or(2);
            Read(st_Group, Root, "", Group);
            continue;
        }
        for (const char* lpszController : {"memory", "cpu"})
            if (Holds(Split(Controllers, ','), lpszController))
            {
                st_Group.nVersion = 1;
                Read(st_Group, Root, lpszController, Group);
            }
    }
    return st_Group;
}
