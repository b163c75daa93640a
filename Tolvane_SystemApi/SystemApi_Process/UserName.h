// SPDX-License-Identifier: MIT
/// The user database.
#pragma once

#include <array>
#include <pwd.h>
#include <sys/types.h>
#include <vector>

/// A user's entry in the user database. Allocates nothing for an entry of ordinary size.
class CUserEntry
{
public:
    /// \throws std::bad_alloc for an entry that is large
    explicit CUserEntry(uid_t nUid);
    CUserEntry(const CUserEntry&) = delete; // the name points into the object
    CUserEntry& operator=(const CUserEntry&) = delete;

    /// Null where the user has no entry, or the database cannot be read.
    [[nodiscard]] const char* Name() const noexcept { return m_pSt_Found ? m_st_Entry.pw_name : nullptr; }

private:
    std::array<char, 1024> m_tszText;
    std::vector<char> m_LongText;
    passwd m_st_Entry = {};
    passwd* m_pSt_Found = nullptr;
};
