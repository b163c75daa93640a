// SPDX-License-Identifier: MIT
#include "Sandbox.h"

#include "Fakes.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <grp.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

extern "C" int __lsan_do_recoverable_leak_check(); // the address sanitizer's

constexpr int nRefused = 2; ///< the child's exit status where there are no namespaces; else 0, or 1 for a failure

static bool EnterPrivateMounts()
{
    const uid_t nUid = geteuid();
    const gid_t nGid = getegid();
    if (unshare(nUid == 0 ? CLONE_NEWNS : CLONE_NEWNS | CLONE_NEWUSER) != 0)
        return false;
    if (nUid != 0)
    {
        std::ofstream("/proc/self/setgroups") << "deny";
        std::ofstream("/proc/self/uid_map") << "0 " << nUid << " 1";
        std::ofstream("/proc/self/gid_map") << "0 " << nGid << " 1";
    }
    return mount("none", "/", "none", MS_REC | MS_PRIVATE, nullptr) == 0;
}

/// An exception ends the child with its message and a signal, which is a failure too.
[[noreturn]] static void RunBody(const std::function<void()>& pfnBody, bool bPrivateMounts) noexcept
{
    if (bPrivateMounts && !EnterPrivateMounts())
    {
        std::perror("no private mount namespace");
        _exit(nRefused);
    }
    pfnBody();
    LiftFakes();
#if defined(__SANITIZE_ADDRESS__)
    prctl(PR_SET_DUMPABLE, 1); // lost with root, and the leak check needs it
    EXPECT_EQ(__lsan_do_recoverable_leak_check(), 0);
#endif
    std::fflush(nullptr);
#if defined(SYSTEMAPI_COVERAGE)
    std::exit(testing::Test::HasFailure() ? 1 : 0); // which writes what was counted
#endif
    _exit(testing::Test::HasFailure() ? 1 : 0);
}

void RunInChild(const std::function<void()>& pfnBody, bool bPrivateMounts)
{
    std::fflush(nullptr);
    const pid_t nPid = fork();
    ASSERT_GE(nPid, 0);
    if (nPid == 0)
        RunBody(pfnBody, bPrivateMounts);
    int nStatus = 0;
    EXPECT_EQ(waitpid(nPid, &nStatus, 0), nPid);
    if (bPrivateMounts && WIFEXITED(nStatus) && WEXITSTATUS(nStatus) == nRefused)
        return SkipBecause("this machine allows no private mount namespace");
    EXPECT_EQ(nStatus, 0) << "the child process failed: see above";
}

void SkipBecause(const char* lpszWhy)
{
    if (std::getenv("SYSTEMAPI_TESTS_FORBID_SKIP"))
        FAIL() << "skips are forbidden here: " << lpszWhy;
    GTEST_SKIP() << lpszWhy;
}

void GiveUpRoot()
{
    constexpr uid_t nNobody = 65534;
    if (geteuid() != 0)
        return;
    ASSERT_EQ(setgroups(0, nullptr), 0);
    ASSERT_EQ(setresgid(nNobody, nNobody, nNobody), 0);
    ASSERT_EQ(setresuid(nNobody, nNobody, nNobody), 0);
}

CNoDescriptors::CNoDescriptors(unsigned nLeft)
{
    const int nFree = dup(STDOUT_FILENO); // the lowest one that is free
    close(nFree);
    getrlimit(RLIMIT_NOFILE, &m_st_Before);
    const rlimit st_Limit = {static_cast<rlim_t>(nFree) + nLeft, m_st_Before.rlim_max};
    EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &st_Limit), 0);
}
