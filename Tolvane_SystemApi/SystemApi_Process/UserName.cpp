#include "UserName.h"

#include <cerrno>
#include <pwd.h>
#include <vector>

std::optional<std::string> FindUserName(uid_t nUid)
{
    std::vector<char> Buffer(1024);
    for (;;)
    {
        passwd st_Entry = {};
        passwd* pSt_Found = nullptr;
        const int nError = getpwuid_r(nUid, &st_Entry, Buffer.data(), Buffer.size(), &pSt_Found);
        if (nError == ERANGE)
        {
            Buffer.resize(Buffer.size() * 2);
            continue;
        }
        if (!pSt_Found)
        {
            if (nError != 0)
                errno = nError;
            return std::nullopt;
        }
        return st_Entry.pw_name;
    }
}
