// SPDX-License-Identifier: MIT
/// How far a long write has come.
#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

/// While it lives, shows on standard error, where that is a terminal, how far a file has grown towards its whole size.
/// Work that is done at once shows nothing.
class CProgress
{
public:
    CProgress(std::string File, unsigned long nWhole);
    ~CProgress();
    CProgress(const CProgress&) = delete;
    CProgress& operator=(const CProgress&) = delete;

private:
    void Watch();

    std::string m_File;
    unsigned long m_nWhole;
    std::mutex m_Lock;
    std::condition_variable m_Ended;
    bool m_bEnded = false;
    std::thread m_Watcher; // not joinable where there is no terminal
};
