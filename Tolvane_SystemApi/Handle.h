/// Guards for the C library's handles. Each way of closing is a type of its own, so that the wrong one does not
/// compile, and none changes errno, which callers read after a failed call.
#pragma once

#include <cerrno>
#include <cstdio>
#include <dirent.h>
#include <locale.h>
#include <memory>
#include <type_traits>

template <auto pfnClose>
struct CloseKeepingErrno
{
    template <typename Handle>
    void operator()(Handle* pHandle) const noexcept
    {
        const int nErrno = errno;
        pfnClose(pHandle);
        errno = nErrno;
    }
};

using FileHandle = std::unique_ptr<FILE, CloseKeepingErrno<fclose>>;
using PipeHandle = std::unique_ptr<FILE, CloseKeepingErrno<pclose>>; // waits for the command
using FolderHandle = std::unique_ptr<DIR, CloseKeepingErrno<closedir>>;
using LocaleHandle = std::unique_ptr<std::remove_pointer_t<locale_t>, CloseKeepingErrno<freelocale>>;
