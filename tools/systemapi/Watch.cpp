// SPDX-License-Identifier: MIT
#include "Busy.h"
#include "Commands.h"
#include "Failure.h"
#include "Report.h"
#include "Terminal.h"
#include "Text.h"
#include "TextOutput.h"
#include "Unit.h"

#include <Tolvane_SystemApi.h>

#include <algorithm>
#include <atomic>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <exception>
#define NCURSES_NOMACROS
#include <curses.h>
#include <memory>
#include <mutex>
#include <poll.h>
#include <sstream>
#include <thread>
#include <unistd.h>

namespace
{
/* ---------------------------------------------------------------------------------------------------
 * What is shown
 * ------------------------------------------------------------------------------------------------- */

void AddUsage(CFacts& Facts)
{
    Facts.Add("processors", UsageValue(), UNIT::Percent);
    tag_SystemApi_Memory_Infomation st_Memory = {};
    Require("GETMEMORYUSAGE", [&] { return SystemApi_System_GetMemoryUsage(&st_Memory, nInBytes); });
    Facts.Add("memory", st_Memory.nMemoryLoad, UNIT::Percent);
    if (st_Memory.nSwapTotal > 0)
        Facts.Add("swap", ShareInUse(st_Memory.nSwapFree, st_Memory.nSwapTotal), UNIT::Percent);
    Facts.Add("available", st_Memory.nMemoryAvailable, UNIT::Bytes,
              HumanSize(st_Memory.nMemoryAvailable) + " of " + HumanSize(st_Memory.nMemoryTotal));
}

CFacts Observe(CBusyProcesses& Busy)
{
    const auto Start = std::chrono::steady_clock::now();
    CFacts Facts;
    Facts.AddPart("usage", AddUsage);
    Facts.AddPart("file_systems", ReportFileSystems);
    std::this_thread::sleep_until(Start + std::chrono::seconds(1)); // also where the usage could not be had
    Facts.AddPart("busiest_processes", [&](CFacts& Part) {
        std::vector<CFacts> Rows;
        for (const BUSY_PROCESS& st_Process : Busy.Sample())
        {
            CFacts& Row = Rows.emplace_back();
            Row.Add("pid", st_Process.nPid);
            Row.Add("usage", st_Process.nUsage, UNIT::Percent);
            Row.Add("memory", st_Process.nResident, UNIT::Bytes);
            Row.Add("command", st_Process.Name);
        }
        Part.AddTable("list", std::move(Rows));
    });
    return Facts;
}

/// What was observed last. The observer works in a thread of its own, so that a key is heeded at once.
class CObserver
{
public:
    CObserver() : m_Thread(&CObserver::Work, this)
    {
        m_Thread.detach();
    } // ends with the process, asleep as it may be

    /// \throws what has ended the observer
    std::shared_ptr<const CFacts> Latest()
    {
        const std::lock_guard m_Hold(m_Lock);
        if (m_pFailure)
            std::rethrow_exception(m_pFailure);
        return m_pLatest;
    }

private:
    void Work()
    {
        try
        {
            CBusyProcesses Busy;
            for (;;)
            {
                auto pFacts = std::make_shared<const CFacts>(Observe(Busy));
                const std::lock_guard m_Hold(m_Lock);
                m_pLatest = std::move(pFacts);
            }
        }
        catch (...) // the other thread has the terminal to restore
        {
            const std::lock_guard m_Hold(m_Lock);
            m_pFailure = std::current_exception();
        }
    }

    std::mutex m_Lock;
    std::shared_ptr<const CFacts> m_pLatest;
    std::exception_ptr m_pFailure;
    std::thread m_Thread;
};

/* ---------------------------------------------------------------------------------------------------
 * The screen
 * ------------------------------------------------------------------------------------------------- */

volatile std::sig_atomic_t nEndSignal = 0;

void NoteSignal(int nSignal)
{
    nEndSignal = nSignal;
}

class CScreen
{
public:
    CScreen() : m_pScreen(newterm(nullptr, stdout, stdin))
    {
        if (!m_pScreen)
            throw std::runtime_error("this kind of terminal is not known (TERM)");
        cbreak();
        noecho();
        curs_set(0);
        keypad(stdscr, true);
        nodelay(stdscr, true);
        if (Terminal().bColour && start_color() == OK)
        {
            use_default_colors();
            for (short nColour = 1; nColour < COLORS && nColour < 8; ++nColour)
                init_pair(nColour, nColour, -1);
        }
    }
    ~CScreen()
    {
        endwin();
        delscreen(m_pScreen);
    }
    CScreen(const CScreen&) = delete;
    CScreen& operator=(const CScreen&) = delete;

    /// A key, or ERR after a moment without one. The end of the input counts as the terminal's signal, which may have
    /// gone to other processes alone.
    int Key()
    {
        constexpr int nMilliseconds = 100;
        pollfd st_Input = {STDIN_FILENO, POLLIN, 0};
        const int nReady = poll(&st_Input, 1, nMilliseconds);
        const int nKey = wgetch(stdscr);
        if (nReady > 0 && nKey == ERR && nEndSignal == 0)
            nEndSignal = SIGHUP;
        return nKey;
    }

    void Draw(const CFacts* pFacts)
    {
        SetWidth(COLS);
        std::ostringstream Text;
        Text << Paint(STYLE::Title, "systemapi") << "  " << Now() << "  " << Paint(STYLE::Faint, "q: quit") << "\n\n";
        if (pFacts)
            WriteText(Text, *pFacts);
        else
            Text << "  looking ...\n";
        werase(stdscr);
        std::istringstream Lines(Text.str());
        std::string Line;
        for (int nLine = 0; nLine < LINES && std::getline(Lines, Line); ++nLine)
            DrawLine(nLine, Line);
        wrefresh(stdscr);
    }

private:
    static std::string Now()
    {
        TOLVANE_LIBTIME st_Time = {};
        return BaseLib_Time_TTimeToStuTime(std::time(nullptr), &st_Time) ? DateAndTime(st_Time) : std::string();
    }

    /// The codes that Paint writes, as the attributes of this terminal.
    static attr_t AttributeOf(std::string_view Code)
    {
        int nCode = 0;
        std::from_chars(Code.data(), Code.data() + Code.size(), nCode);
        constexpr int nFirstColour = 30;
        if (nCode > nFirstColour)
            return static_cast<attr_t>(COLOR_PAIR(nCode - nFirstColour));
        return nCode == 1 ? A_BOLD : nCode == 2 ? A_DIM : A_NORMAL;
    }

    static void DrawLine(int nLine, std::string_view Line)
    {
        int nRoom = COLS;
        wmove(stdscr, nLine, 0);
        while (!Line.empty() && nRoom > 0)
        {
            const std::size_t nText = std::min(Line.find('\x1b'), Line.size());
            const std::string Shown = Clip(Line.substr(0, nText), nRoom);
            waddstr(stdscr, Shown.c_str());
            nRoom -= Columns(Shown);
            Line.remove_prefix(nText);
            const std::size_t nEnd = Line.find('m');
            if (Line.empty() || nEnd == std::string_view::npos)
                break;
            wattrset(stdscr, static_cast<int>(AttributeOf(Line.substr(2, nEnd - 2))));
            Line.remove_prefix(nEnd + 1);
        }
        wattrset(stdscr, static_cast<int>(A_NORMAL));
    }

    SCREEN* m_pScreen;
};

CObserver& StartObserver()
{
    sigset_t st_All = {};
    sigset_t st_Before = {};
    sigfillset(&st_All);
    pthread_sigmask(SIG_BLOCK, &st_All, &st_Before); // signals are for this thread
    static auto* const pObserver = new CObserver; // never destroyed: its thread may work until the process has ended
    pthread_sigmask(SIG_SETMASK, &st_Before, nullptr);
    return *pObserver;
}

void Watch()
{
    if (!Terminal().bTerminal || isatty(STDIN_FILENO) != 1)
        throw CWrongUsage("watch needs a terminal; a script has: systemapi report --json");
    const CQuietErrors m_Quiet;
    struct sigaction st_Note = {};
    st_Note.sa_handler = NoteSignal;
    for (const int nSignal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT})
        sigaction(nSignal, &st_Note, nullptr);
    {
        CScreen Screen;
        Screen.Draw(nullptr);
        CObserver& Observer = StartObserver();
        std::shared_ptr<const CFacts> pShown;
        for (int nKey = ERR; nKey != 'q' && nKey != 'Q' && nEndSignal == 0; nKey = Screen.Key())
        {
            const auto pLatest = Observer.Latest();
            if (pLatest != pShown || nKey == KEY_RESIZE)
                Screen.Draw(pLatest.get());
            pShown = pLatest;
        }
    }
    if (nEndSignal != 0) // ends by it, as whoever sent it expects
    {
        std::signal(nEndSignal, SIG_DFL);
        std::raise(nEndSignal);
    }
    std::_Exit(EXIT_SUCCESS); // the observer may be in the middle of its second
}
} // namespace

void AddWatch(CLI::App& App)
{
    App.add_subcommand("watch", "Show usage, file systems and the busiest processes, each second anew")
        ->callback(Watch)
        ->footer("q ends it. A process's usage is of one processor. Needs a terminal.");
}
