// The sanitizers' options, compiled into every test program so that they hold however it is started: by the build, by
// hand or in a debugger. The environment (ASAN_OPTIONS and so on) overrides them.

extern "C" const char *__asan_default_options();
extern "C" const char *__ubsan_default_options();
extern "C" const char *__tsan_default_options();
extern "C" const char *__msan_default_options();
extern "C" const char *__rtsan_default_options();

// Refused allocations must reach the code under test as null. String functions may get text without a terminator
// where they are given a count.
extern "C" const char *__asan_default_options()
{
    return "allocator_may_return_null=1:detect_leaks=1:detect_stack_use_after_return=1:strict_string_checks=0";
}

extern "C" const char *__ubsan_default_options()
{
    return "print_stacktrace=1:halt_on_error=1";
}

extern "C" const char *__tsan_default_options()
{
    return "halt_on_error=1:allocator_may_return_null=1";
}

extern "C" const char *__msan_default_options()
{
    return "allocator_may_return_null=1";
}

// The compiler's own symbolizer is asked for by the name of its version, which is not installed with every one.
extern "C" const char *__rtsan_default_options()
{
#if defined(QV_TEST_SYMBOLIZER)
    return "halt_on_error=1:external_symbolizer_path=" QV_TEST_SYMBOLIZER;
#else
    return "halt_on_error=1";
#endif
}
