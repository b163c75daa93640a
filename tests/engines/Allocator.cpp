// SPDX-License-Identifier: MIT
#include "Runner.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>

// The C library's own allocator under its inner names, or the address sanitizer's.
#if defined(SANITIZERS_HEAP)
#define REAL(Call) __interceptor_##Call
#else
#define REAL(Call) __libc_##Call
#endif

namespace
{
std::atomic<long> nCountdown = 0; // to the next refusal
std::atomic<long> nAsked = 0;
std::atomic<long> nRefused = 0;
std::atomic<long> nLive = 0;
std::atomic<bool> bForever = false;

bool Refuses() noexcept
{
    ++nAsked;
    if (nCountdown == 0 || (--nCountdown != 0))
        return false;
    nCountdown = bForever ? 1 : 0;
    ++nRefused;
    errno = ENOMEM;
    return true;
}

void* Count(void* pBlock) noexcept
{
    nLive += pBlock ? 1 : 0;
    return pBlock;
}
} // namespace

void RefuseAllocation(long nWhich, bool bForGood) noexcept
{
    nAsked = 0;
    nRefused = 0;
    bForever = bForGood;
    nCountdown = nWhich;
}
long AllocationsRefused() noexcept
{
    nCountdown = 0;
    return nRefused;
}
long AllocationsAsked() noexcept
{
    return nAsked;
}
long LiveBlocks() noexcept
{
    return nLive;
}

#pragma GCC diagnostic ignored "-Wredundant-decls"

extern "C"
{
void* REAL(malloc)(std::size_t nSize);
void* REAL(calloc)(std::size_t nCount, std::size_t nSize);
void* REAL(realloc)(void* pBlock, std::size_t nSize);
void REAL(free)(void* pBlock);

void* malloc(std::size_t nSize)
{
    return Refuses() ? nullptr : Count(REAL(malloc)(nSize));
}
void* calloc(std::size_t nCount, std::size_t nSize)
{
    return Refuses() ? nullptr : Count(REAL(calloc)(nCount, nSize));
}
void* realloc(void* pBlock, std::size_t nSize)
{
    if (Refuses())
        return nullptr;
    nLive -= pBlock ? 1 : 0;
    return Count(REAL(realloc)(pBlock, nSize));
}
void free(void* pBlock)
{
    nLive -= pBlock ? 1 : 0;
    REAL(free)(pBlock);
}
}

#if defined(SANITIZERS_HEAP) // which has operators of its own
#include <new>
void* operator new(std::size_t nSize)
{
    if (void* const pBlock = malloc(nSize))
        return pBlock;
    throw std::bad_alloc();
}
void operator delete(void* pBlock) noexcept
{
    free(pBlock);
}
void operator delete(void* pBlock, std::size_t) noexcept
{
    free(pBlock);
}
#endif
