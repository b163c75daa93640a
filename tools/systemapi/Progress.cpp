// SPDX-License-Identifier: MIT
#include "Progress.h"

#include "Text.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iostream>
#include <system_error>
#include <unistd.h>

CProgress::CProgress(std::string File, unsigned long nWhole) : m_File(std::move(File)), m_nWhole(nWhole)
{
    if (nWhole > 0 && isatty(STDERR_FILENO) == 1)
        m_Watcher = std::thread(&CProgress::Watch, this);
}

CProgress::~CProgress()
{
    if (!m_Watcher.joinable())
        return;
    {
        const std::lock_guard m_Hold(m_Lock);
        m_bEnded = true;
    }
    m_Ended.notify_one();
    m_Watcher.join();
}

void CProgress::Watch()
{
    constexpr std::chrono::milliseconds nFirst(300);
    constexpr std::chrono::milliseconds nNext(100);
    bool bShown = false;
    std::unique_lock m_Hold(m_Lock);
    while (!m_Ended.wait_for(m_Hold, bShown ? nNext : nFirst, [this] { return m_bEnded; }))
    {
        std::error_code Ignored; // where the file cannot be seen there is nothing to show
        const auto nSize = std::filesystem::file_size(m_File, Ignored);
        const auto nDone = Ignored ? 0 : std::min<unsigned long>(nSize, m_nWhole);
        std::cerr << '\r' << Bar(Share(nDone, m_nWhole), STYLE::Good) << "  " << HumanSize(nDone) << " of "
                  << HumanSize(m_nWhole) << "\x1b[K" << std::flush;
        bShown = true;
    }
    if (bShown)
        std::cerr << "\r\x1b[K" << std::flush;
}
