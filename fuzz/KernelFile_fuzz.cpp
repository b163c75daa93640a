// SPDX-License-Identifier: MIT
#include "Fuzz.h"

#include "KernelFile.h"

FUZZ(In)
{
    const std::size_t nSkip = In.ConsumeIntegralInRange<std::size_t>(0, 4);
    const std::string Text = In.ConsumeRemainingBytesAsString();
    GiveTexts({{"/table", Text}});
    CKernelFile m_File("/table");
    REQUIRE(m_File);
    const std::vector<std::string> Expected = Lines(Text, 1024);
    const bool bThere = m_File.GoTo(static_cast<int>(nSkip));
    REQUIRE(bThere == (Expected.size() >= nSkip));
    REQUIRE(m_File.Line() == (bThere && nSkip > 0 ? Expected[nSkip - 1] : ""));
    for (std::size_t nLine = nSkip; nLine < Expected.size(); ++nLine)
        REQUIRE(m_File.ReadLine() && m_File.Line() == Expected[nLine]);
    REQUIRE(!m_File.ReadLine());
}
