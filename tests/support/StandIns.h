// SPDX-License-Identifier: MIT
/// Calls of the C library that the test program answers in its place: the shared library under test calls the
/// program's functions of these names.
#pragma once

#include <csignal>
#include <cstdio>
#include <ctime>
#include <functional>
#include <sched.h>
#include <set>
#include <sys/resource.h>
#include <sys/sysinfo.h>
#include <sys/utsname.h>
#include <sys/vfs.h>

/// A test sets a member to see a call, or to make it fail; the program's other calls run for real, except for
/// the dangerous ones, which never do.
struct STAND_INS
{
    // Dangerous: without a stand-in the call fails the test, with EPERM.
    std::function<int(int)> Reboot;
    std::function<int(const char*)> System;
    std::function<int(pid_t, int)> Kill;
    std::set<pid_t> Own; // the processes that the test itself started: these may be signalled for real
    // For real without a stand-in.
    std::function<bool(const char*)> Popen; // sees each command; false refuses it with EMFILE
    std::function<void(FILE*)> Opened;      // sees its output before anybody reads it
    std::function<pid_t()> Fork;
    std::function<int(int, const struct sigaction*, struct sigaction*)> SigAction;
    std::function<int(int, const sigset_t*, sigset_t*)> SigProcMask;
    std::function<unsigned(unsigned)> Sleep;
    std::function<int(const timespec*, timespec*)> NanoSleep; // what the standard library sleeps with
    std::function<std::time_t()> Time;
    std::function<long()> ProcessorsOnline; // sysconf
    std::function<int()> GetNProcs;         // what std::thread::hardware_concurrency asks
    std::function<int(utsname*)> Uname;
    std::function<int(struct sysinfo*)> SysInfo;
    std::function<int(const char*, struct statfs*)> StatFs;
    std::function<int(id_t)> GetPriority;
    std::function<int(id_t, int)> SetPriority;
    std::function<int(pid_t, std::size_t, cpu_set_t*)> GetAffinity;
    std::function<int(pid_t, std::size_t, const cpu_set_t*)> SetAffinity;
};

/// The stand-ins in force. A test that is not in a child process of its own puts them back: StandIns() = {}.
STAND_INS& StandIns();
