// SPDX-License-Identifier: MIT
// A copy that C can call without an exception coming out. usage: guarded SOURCE DEST
#include <Tolvane_SystemApi.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <system_error>

/// 0, or the errno of what went wrong; EIO where nothing more is known.
extern "C" int CopyGuarded(const char* lpszSource, const char* lpszDest, bool bFailIfExist) noexcept
try
{
    if (SystemApi_File_CopyFileA(lpszSource, lpszDest, bFailIfExist))
        return 0;
    return SystemApi_GetLastError(nullptr) == ERROR_SYSTEMAPI_FILE_COPY_EXIST ? EEXIST : EIO;
}
catch (const std::system_error& Error) // a filesystem_error is one
{
    return Error.code().value();
}
catch (const std::exception&) // no memory
{
    return ENOMEM;
}

int main(int argc, char** argv)
{
    const int nError = argc == 3 ? CopyGuarded(argv[1], argv[2], true) : EINVAL;
    if (nError != 0)
        std::fprintf(stderr, "%s\n", std::strerror(nError));
    return nError == 0 ? 0 : 1;
}
