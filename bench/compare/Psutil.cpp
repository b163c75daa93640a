// SPDX-License-Identifier: MIT
#include "Psutil.h"
#include "Support.h"

#include <cstdio>
#include <memory>

namespace
{
constexpr const char* lpszPython = "/usr/bin/python3"; // the one for which there are packages

/// The Python process; it ends when its input does.
class CPython
{
public:
    CPython()
    {
        int nQuestions[2] = {};
        int nAnswers[2] = {};
        Require(pipe2(nQuestions, O_CLOEXEC) == 0 && pipe2(nAnswers, O_CLOEXEC) == 0, "pipe");
        posix_spawn_file_actions_t st_Actions;
        posix_spawn_file_actions_init(&st_Actions);
        posix_spawn_file_actions_adddup2(&st_Actions, nQuestions[0], STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&st_Actions, nAnswers[1], STDOUT_FILENO);
        const char* const lpszArguments[] = {lpszPython, PSUTIL_PEER, nullptr};
        Require(posix_spawn(&m_nChild, lpszPython, &st_Actions, nullptr, const_cast<char* const*>(lpszArguments),
                            environ) == 0,
                lpszPython);
        posix_spawn_file_actions_destroy(&st_Actions);
        close(nQuestions[0]);
        close(nAnswers[1]);
        m_pQuestions = fdopen(nQuestions[1], "w");
        m_pAnswers = fdopen(nAnswers[0], "r");
    }
    ~CPython()
    {
        fclose(m_pQuestions);
        fclose(m_pAnswers);
        waitpid(m_nChild, nullptr, 0);
    }
    CPython(const CPython&) = delete;
    CPython& operator=(const CPython&) = delete;

    SAMPLE Ask(const char* lpszQuery, long nCalls)
    {
        SAMPLE st_Sample = {};
        fprintf(m_pQuestions, "%s %ld\n", lpszQuery, nCalls);
        fflush(m_pQuestions);
        Require(fscanf(m_pAnswers, "%lf %lld", &st_Sample.fCost, &st_Sample.nFound) == 2, "an answer of psutil");
        st_Sample.fCost /= static_cast<double>(nCalls);
        return st_Sample;
    }

private:
    pid_t m_nChild = 0;
    FILE* m_pQuestions = nullptr;
    FILE* m_pAnswers = nullptr;
};
} // namespace

bool HasPsutil()
{
    static const bool bHas = RunProgram({lpszPython, "-c", "import psutil"}, true);
    return bHas;
}

CONTENDER PsutilContender(ROLE enRole, const char* lpszQuery)
{
    const auto pPython = std::make_shared<CPython>();
    return {"psutil", enRole, [pPython, lpszQuery](long nCalls, bool) {
                return pPython->Ask(lpszQuery, nCalls);
            }};
}
