// For builds with address checks: what a program may leave allocated at its end.

extern "C" [[gnu::visibility("default")]] const char* __lsan_default_suppressions();

// The plug-in keeps a state record for each activation until the process ends.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:cadencora::Cadencora\n";
}
