// SPDX-License-Identifier: MIT
/// Programs that differ in what they load.
#include "Plan.h"
#include "Support.h"

void PlanLoad(PLAN& Plan, const SETTINGS&)
{
    Plan.push_back({"load", 4, [] {
                        GROUP st_Group;
                        const auto m_Add = [&](ROLE enRole, const char* lpszName, const char* lpszProgram) {
                            st_Group.Add(enRole, lpszName, [lpszProgram](bool) {
                                Require(RunProgram({lpszProgram}), lpszProgram);
                                return 0LL;
                            });
                        };
                        m_Add(ROLE::Library, "library", LOAD_LIBRARY);
                        m_Add(ROLE::Limit, "libstdc++ alone", LOAD_RUNTIME);
                        m_Add(ROLE::OtherRule, "C library alone", LOAD_NOTHING);
#ifdef LOAD_GLIB
                        m_Add(ROLE::OtherRule, "GLib", LOAD_GLIB);
#endif
#ifdef LOAD_BOOST
                        m_Add(ROLE::OtherRule, "Boost.Filesystem", LOAD_BOOST);
#endif
#ifdef LOAD_LIBPROC2
                        m_Add(ROLE::OtherRule, "libproc2", LOAD_LIBPROC2);
#endif
                        st_Group.AddRow({"load in a C program", "", 0, 0, 1.10});
                        return st_Group;
                    }});
}
