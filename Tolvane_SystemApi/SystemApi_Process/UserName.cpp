// SPDX-License-Identifier: MIT
#include "UserName.h"

#include <cerrno>

CUserEntry::CUserEntry(uid_t nUid)
{
    int nError = getpwuid_r(nUid, &m_st_Entry, m_tszText.data(), m_tszText.size(), &m_pSt_Found);
    for (std::size_t nSize = m_tszText.size() * 2; nError == ERANGE; nSize *= 2)
    {
        m_LongText.resize(nSize);
        nError = getpwuid_r(nUid, &m_st_Entry, m_LongText.data(), nSize, &m_pSt_Found);
    }
}
