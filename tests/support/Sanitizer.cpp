/// What a sanitizer is told about code that is not ours.

#if defined(__SANITIZE_THREAD__)
extern "C" const char* __tsan_default_suppressions(); // NOLINT(bugprone-reserved-identifier): the sanitizer's name

/// The C library guards its time zone with a lock of its own, which the sanitizer does not see.
const char* __tsan_default_suppressions()
{
    return "race:tzset_internal\n";
}
#endif
