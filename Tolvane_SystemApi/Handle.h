// SPDX-License-Identifier: MIT
/// Guards for the handles of the C library and the kernel. Each way of closing is a type of its own, so that the wrong
/// one does not compile, and none changes errno, which callers read after a failed call.
#pragma once

#include <cerrno>
#include <cstdio>
#include <dirent.h>
#include <locale.h>
#include <memory>
#include <type_traits>
#include <unistd.h>
#include <utility>

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

using PipeHandle = std::unique_ptr<FILE, CloseKeepingErrno<pclose>>; // waits for the command
using FolderHandle = std::unique_ptr<DIR, CloseKeepingErrno<closedir>>;
using LocaleHandle = std::unique_ptr<std::remove_pointer_t<locale_t>, CloseKeepingErrno<freelocale>>;

/// A file descriptor; -1 is none.
class CDescriptor
{
public:
    explicit CDescriptor(int nDescriptor) noexcept : m_nDescriptor(nDescriptor) {}
    CDescriptor(CDescriptor&& Other) noexcept : m_nDescriptor(std::exchange(Other.m_nDescriptor, -1)) {}
    CDescriptor& operator=(CDescriptor&&) = delete;
    ~CDescriptor()
    {
        const int nErrno = errno;
        if (m_nDescriptor != -1)
            close(m_nDescriptor);
        errno = nErrno;
    }

    explicit operator bool() const noexcept { return m_nDescriptor != -1; }
    [[nodiscard]] int Get() const noexcept { return m_nDescriptor; }

private:
    int m_nDescriptor;
};
