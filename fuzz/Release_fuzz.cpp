// SPDX-License-Identifier: MIT
#include "Fuzz.h"

#include <Tolvane_SystemApi.h>

#include <sstream>
#include <strings.h>

/// What stands between two marks; nothing where one is missing.
static std::optional<std::string> Between(const std::string& Text, char chStart, char chEnd)
{
    const std::size_t nStart = Text.find(chStart);
    const std::size_t nEnd = nStart == Text.npos ? Text.npos : Text.find(chEnd, nStart + 1);
    if (nEnd != Text.npos)
        return Text.substr(nStart + 1, nEnd - nStart - 1);
    return nStart == Text.npos && chStart == chEnd ? std::optional(Text) : std::nullopt;
}

FUZZ(In)
{
    const auto nChunks = In.ConsumeIntegral<unsigned>();
    const std::string Text = In.ConsumeRemainingBytesAsString();
    GiveTexts({{"/etc/os-release", Text}}, nChunks);
    CBuffer<char> m_Name(BASELIB_TEXT_SIZE, "before");
    CBuffer<char> m_Version(BASELIB_TEXT_SIZE, "before");
    CBuffer<char> m_Build(BASELIB_TEXT_SIZE, "before");
    CBuffer<char> m_Kernel(65);
    unsigned long nType = 7;
    REQUIRE(SystemApi_System_GetSystemVer(m_Name, m_Version, m_Build, &nType, m_Kernel));
    REQUIRE(nType == 2 && !SystemApi_IsErrorOccur);

    std::string Name = "before";
    std::string Version = "before";
    std::string Build = "before";
    std::istringstream Release(Captured(Text));
    for (std::string Line; std::getline(Release, Line);)
    {
        const std::size_t nEqual = Line.find('=');
        const auto Is = [&](std::string_view Key) {
            return nEqual != Line.npos && nEqual >= Key.size() &&
                   strncasecmp(Line.c_str(), Key.data(), Key.size()) == 0;
        };
        const std::string Value = nEqual == Line.npos ? "" : Line.substr(nEqual + 1);
        if (Is("NAME"))
            Name = Between(Value, '"', '"').value_or(Name);
        else if (Is("VERSION_ID"))
            Version = Between(Value, '"', '"').value_or(Version);
        else if (Is("VERSION"))
            Build = Between(Value, '(', ')').value_or(Build);
    }
    REQUIRE(m_Name.Text() == Name && m_Version.Text() == Version && m_Build.Text() == Build);
}
