// SPDX-License-Identifier: MIT
#if defined(__SANITIZE_THREAD__)
/// The C library guards its time zone with a lock of its own, which the sanitizer does not see.
extern "C" const char* __tsan_default_suppressions()
{
    return "race:tzset_internal\n";
}
#endif
