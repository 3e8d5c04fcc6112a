// What differs between compilers, so that no other file needs a compiler's own extension.
#pragma once

// A printf-style function whose format is parameter number `text` and whose first value is number
// `first` (both count from 1, and a member function's object is number 1). gnu_printf also on Windows:
// the formats keep %lld and %llu.
#if defined(__clang__)
#define MARAVEL_PRINTF(text, first) __attribute__((format(printf, text, first)))
#elif defined(__GNUC__)
#define MARAVEL_PRINTF(text, first) __attribute__((format(gnu_printf, text, first)))
#else
#define MARAVEL_PRINTF(text, first)
#endif

// Clang's thread-safety analysis: what a mutex guards and who must hold it.
#if defined(__clang__)
#define MARAVEL_CLANG(...) __attribute__((__VA_ARGS__))
#else
#define MARAVEL_CLANG(...)
#endif
#define MARAVEL_CAPABILITY(name) MARAVEL_CLANG(capability(name))
#define MARAVEL_SCOPED_CAPABILITY MARAVEL_CLANG(scoped_lockable)
#define MARAVEL_GUARDED_BY(mutex) MARAVEL_CLANG(guarded_by(mutex))
#define MARAVEL_REQUIRES(...) MARAVEL_CLANG(requires_capability(__VA_ARGS__))
#define MARAVEL_ACQUIRE(...) MARAVEL_CLANG(acquire_capability(__VA_ARGS__))
#define MARAVEL_TRY_ACQUIRE(...) MARAVEL_CLANG(try_acquire_capability(__VA_ARGS__))
#define MARAVEL_RELEASE(...) MARAVEL_CLANG(release_capability(__VA_ARGS__))
#define MARAVEL_NO_THREAD_SAFETY_ANALYSIS MARAVEL_CLANG(no_thread_safety_analysis)

// A function that a shared library hands out by name.
#if defined(_WIN32)
#define MARAVEL_EXPORT __declspec(dllexport)
#else
#define MARAVEL_EXPORT __attribute__((visibility("default")))
#endif

// Around a format that is right as it stands although the compiler's printf check objects to it.
#if defined(__GNUC__)
#define MARAVEL_FORMAT_AS_IT_STANDS_BEGIN                                                                    \
    _Pragma("GCC diagnostic push") _Pragma("GCC diagnostic ignored \"-Wformat\"")
#define MARAVEL_FORMAT_AS_IT_STANDS_END _Pragma("GCC diagnostic pop")
#else
#define MARAVEL_FORMAT_AS_IT_STANDS_BEGIN
#define MARAVEL_FORMAT_AS_IT_STANDS_END
#endif
