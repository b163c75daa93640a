// SPDX-License-Identifier: MIT
/// Commands: starting one, and capturing what it prints.
#include "Plan.h"
#include "Support.h"

#include <Tolvane_SystemApi.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <sys/mman.h>

#ifdef HAVE_GLIB
#include <glib.h>
#endif
#ifdef HAVE_BOOST_PROCESS
#include <boost/process.hpp>
#endif

namespace
{
/// The command, what it prints, and the buffer into which every contender brings it.
class CCapture
{
public:
    CCapture(std::string Command, std::string Expected)
        : m_Command(std::move(Command)), m_Expected(std::move(Expected)), m_Buffer(m_Expected.size() + 4096, 'x')
    {}
    virtual ~CCapture() = default;
    CCapture(const CCapture&) = delete;
    CCapture& operator=(const CCapture&) = delete;

    [[nodiscard]] const char* Command() const { return m_Command.c_str(); }
    [[nodiscard]] char* Buffer() { return m_Buffer.data(); }
    [[nodiscard]] std::size_t Size() const { return m_Buffer.size(); }

    /// The number of bytes that came; with bCheck they must be the right ones.
    [[nodiscard]] long long Found(const char* pText, std::size_t nLength, bool bCheck) const
    {
        Require(!bCheck || std::string_view(pText, nLength) == m_Expected, "what was captured of " + m_Command);
        return static_cast<long long>(nLength);
    }

private:
    std::string m_Command;
    std::string m_Expected;
    std::vector<char> m_Buffer;
};

long long ByLibrary(CCapture& Capture, bool bCheck)
{
    int nLength = 0;
    Capture.Buffer()[0] = '\0';
    Require(SystemApi_Process_ReadCmdReturn(Capture.Command(), Capture.Buffer(), 0, 0, &nLength), "the capture");
    return Capture.Found(Capture.Buffer(), static_cast<std::size_t>(nLength), bCheck);
}

long long ByFread(CCapture& Capture, bool bCheck)
{
    FILE* const pPipe = popen(Capture.Command(), "re");
    Require(pPipe != nullptr, "popen");
    const std::size_t nLength = fread(Capture.Buffer(), 1, Capture.Size() - 1, pPipe);
    pclose(pPipe);
    Capture.Buffer()[nLength] = '\0';
    return Capture.Found(Capture.Buffer(), nLength, bCheck);
}

long long ByFgets(CCapture& Capture, bool bCheck)
{
    FILE* const pPipe = popen(Capture.Command(), "re");
    Require(pPipe != nullptr, "popen");
    char tszLine[2048];
    std::size_t nLength = 0;
    while (fgets(tszLine, sizeof(tszLine), pPipe))
    {
        const std::size_t nLine = std::strlen(tszLine);
        std::memcpy(Capture.Buffer() + nLength, tszLine, nLine + 1);
        nLength += nLine;
    }
    pclose(pPipe);
    return Capture.Found(Capture.Buffer(), nLength, bCheck);
}

#ifdef HAVE_GLIB
long long ByGLib(CCapture& Capture, bool bCheck)
{
    const char* lpszArguments[] = {"/bin/sh", "-c", Capture.Command(), nullptr};
    char* lpszOutput = nullptr;
    // Descriptors stay as they are, as with popen: this lets GLib start the command without a copy of the caller.
    Require(g_spawn_sync(nullptr, const_cast<char**>(lpszArguments), nullptr, G_SPAWN_LEAVE_DESCRIPTORS_OPEN, nullptr,
                         nullptr, &lpszOutput, nullptr, nullptr, nullptr) != FALSE,
            "g_spawn_sync");
    const long long nFound = Capture.Found(lpszOutput, std::strlen(lpszOutput), bCheck);
    g_free(lpszOutput);
    return nFound;
}
#endif

#ifdef HAVE_BOOST_PROCESS
long long ByBoost(CCapture& Capture, bool bCheck)
{
    namespace bp = boost::process;
    bp::ipstream Output;
    bp::child Child("/bin/sh", "-c", Capture.Command(), bp::std_out > Output);
    Output.read(Capture.Buffer(), static_cast<std::streamsize>(Capture.Size()));
    const auto nLength = static_cast<std::size_t>(Output.gcount());
    Child.wait();
    return Capture.Found(Capture.Buffer(), nLength, bCheck);
}
#endif

/// Blocks into the place where they stay, a larger pipe once one was full, a look for the null character that would
/// cut a line, and the ending null character.
long long ByBareCalls(CCapture& Capture, bool bCheck)
{
    constexpr std::size_t nBlock = 65536;
    constexpr int nLargePipe = 1 << 18; // still in the processor's cache
    std::size_t nEnd = 0;
    {
        const CBareCommand m_Command(Capture.Command());
        bool bLarge = false;
        for (ssize_t nRead = 0; (nRead = read(m_Command.Pipe(), Capture.Buffer() + nEnd, nBlock)) > 0;)
        {
            Require(!std::memchr(Capture.Buffer() + nEnd, '\0', static_cast<std::size_t>(nRead)), "a null character");
            nEnd += static_cast<std::size_t>(nRead);
            if (!bLarge && nRead == nBlock)
                bLarge = fcntl(m_Command.Pipe(), F_SETPIPE_SZ, nLargePipe) > 0;
        }
    }
    Capture.Buffer()[nEnd] = '\0';
    return Capture.Found(Capture.Buffer(), nEnd, bCheck);
}

GROUP MakeGroup(const std::shared_ptr<CCapture>& pCapture, ROW st_Row)
{
    GROUP st_Group;
    const auto m_Add = [&](ROLE enRole, const char* lpszName, long long (*pfnBy)(CCapture&, bool)) {
        st_Group.Add(enRole, lpszName, [pCapture, pfnBy](bool bCheck) { return pfnBy(*pCapture, bCheck); });
    };
    m_Add(ROLE::Library, "library", ByLibrary);
    m_Add(ROLE::Peer, "popen, fread", ByFread);
    m_Add(ROLE::Peer, "popen, fgets", ByFgets);
#ifdef HAVE_GLIB
    m_Add(ROLE::Peer, "g_spawn_sync", ByGLib);
#endif
#ifdef HAVE_BOOST_PROCESS
    m_Add(ROLE::Peer, "Boost.Process", ByBoost);
#endif
    m_Add(ROLE::Limit, "posix_spawn, read", ByBareCalls);
    st_Group.AddRow(std::move(st_Row));
    return st_Group;
}

/// A trivial command, in a process with so much memory that it has written to.
class CStart : public CCapture
{
public:
    explicit CStart(std::size_t nTouched) : CCapture("echo ready", "ready\n"), m_nTouched(nTouched)
    {
        if (m_nTouched == 0)
            return;
        m_pMemory = mmap(nullptr, m_nTouched, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        Require(m_pMemory != MAP_FAILED, "memory");
        std::memset(m_pMemory, 1, m_nTouched);
    }
    ~CStart() override
    {
        if (m_pMemory)
            munmap(m_pMemory, m_nTouched);
    }

private:
    std::size_t m_nTouched;
    void* m_pMemory = nullptr;
};

/// A file of lines, which the command prints.
class CLines : public CCapture
{
public:
    CLines(const std::string& Folder, std::size_t nBytes, std::size_t nLine)
        : CLines(std::make_unique<CScratchFolder>(Folder), Text(nBytes, nLine))
    {}

private:
    CLines(std::unique_ptr<CScratchFolder> pFolder, const std::string& Lines)
        : CCapture("cat " + pFolder->Path() + "/lines", Lines), m_pFolder(std::move(pFolder))
    {
        std::ofstream(m_pFolder->Path() + "/lines") << Lines;
    }

    static std::string Text(std::size_t nBytes, std::size_t nLine)
    {
        std::string Lines;
        while (Lines.size() < nBytes)
            Lines.append(nLine, static_cast<char>('a' + Lines.size() % 26)).push_back('\n');
        Lines.resize(nBytes);
        return Lines;
    }

    std::unique_ptr<CScratchFolder> m_pFolder;
};
} // namespace

void PlanCommands(PLAN& Plan, const SETTINGS& st_Settings)
{
    Plan.push_back({"start", 8, [] {
                        return MakeGroup(std::make_shared<CStart>(0), {"start a command", "", 0, 1.02, 1.02});
                    }});
    Plan.push_back(
        {"start-from-large", 8, [st_Settings] {
             const std::size_t nTouched = st_Settings.bQuick ? 1U << 26 : 1U << 30;
             return MakeGroup(
                 std::make_shared<CStart>(nTouched),
                 {"start a command from a process of " + std::to_string(nTouched >> 20) + " MiB", "", 0, 1.02, 1.02});
         }});
    const struct
    {
        std::size_t nMiB;
        double fPeerGoal;
    } st_Sizes[] = {{1, 1.00}, {4, 0.75}, {16, 0.65}, {64, 0.60}};
    for (const auto& st_Size : st_Sizes)
    {
        if (st_Settings.bQuick && st_Size.nMiB > 4)
            break;
        Plan.push_back({"capture-" + std::to_string(st_Size.nMiB), 5, [st_Settings, st_Size] {
                            const std::size_t nBytes = st_Size.nMiB << 20;
                            return MakeGroup(std::make_shared<CLines>(st_Settings.Folder, nBytes, 80),
                                             {"capture " + std::to_string(st_Size.nMiB) + " MiB, lines of 80",
                                              "capture", static_cast<long long>(nBytes), st_Size.fPeerGoal, 1.10});
                        }});
    }
    Plan.push_back({"capture-short", 5, [st_Settings] {
                        const std::size_t nMiB = st_Settings.bQuick ? 1 : 16;
                        return MakeGroup(
                            std::make_shared<CLines>(st_Settings.Folder, nMiB << 20, 10),
                            {"capture " + std::to_string(nMiB) + " MiB, lines of 10", "", 0, 0.75, 1.15});
                    }});
}
