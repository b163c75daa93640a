// SPDX-License-Identifier: MIT
#include "Fuzz.h"

#include <Tolvane_BaseLib.h>

FUZZ(In)
{
    const std::wstring Source = TakeWide(In);
    CBuffer<char> m_Form(BASELIB_TEXT_SIZE);
    int nLength = -7;
    const bool bDone = BaseLib_Charset_UnicodeToUTF(Source.c_str(), m_Form, &nLength, nullptr);

    const auto Expected = Utf8Of(Source);
    REQUIRE(bDone == (Expected && Expected->size() < BASELIB_TEXT_SIZE));
    REQUIRE(m_Form.Text() == (bDone ? *Expected : ""));
    REQUIRE(nLength == (bDone ? static_cast<int>(Expected->size()) : -7));
}
