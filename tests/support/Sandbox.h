// SPDX-License-Identifier: MIT
/// Child processes in which a test may do what it must not do to itself or to the machine.
#pragma once

#include <functional>
#include <sys/resource.h>

/// Runs the body in a child process and takes over its failures, leaks included. For what cannot be undone:
/// giving up root, limits, signal dispositions.
void RunInChild(const std::function<void()>& pfnBody, bool bPrivateMounts = false);

/// As RunInChild, in a mount namespace of the child's own, so that kernel files can be replaced (FakeFile)
/// without the machine noticing. Skips the test, with the reason, where the machine allows no namespace; with
/// SYSTEMAPI_TESTS_FORBID_SKIP in the environment that is a failure. An ordinary user looks like root inside.
inline void RunSandboxed(const std::function<void()>& pfnBody)
{
    RunInChild(pfnBody, true);
}

void SkipBecause(const char* lpszWhy); ///< skips the running test, or fails it where skips are forbidden

/// Becomes an ordinary user for good; nothing to do for one. In a child process only, not in a sandbox.
void GiveUpRoot();

/// Takes the process's file descriptors away, all but so many, until the end of the scope.
class CNoDescriptors
{
public:
    explicit CNoDescriptors(unsigned nLeft = 0);
    ~CNoDescriptors() { setrlimit(RLIMIT_NOFILE, &m_st_Before); }
    CNoDescriptors& operator=(CNoDescriptors&&) = delete;

private:
    rlimit m_st_Before = {};
};
