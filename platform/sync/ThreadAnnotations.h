#pragma once

/// Lock annotations that Clang checks at compile time (-Wthread-safety); nothing for other compilers.
/// A field says which lock guards it, a function which lock its caller holds or must not hold.

#if defined(__clang__)
#define ZN_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define ZN_THREAD_ANNOTATION(x)
#endif

#define ZN_CAPABILITY(x) ZN_THREAD_ANNOTATION(capability(x))
#define ZN_SCOPED_CAPABILITY ZN_THREAD_ANNOTATION(scoped_lockable)
#define ZN_GUARDED_BY(x) ZN_THREAD_ANNOTATION(guarded_by(x))
#define ZN_PT_GUARDED_BY(x) ZN_THREAD_ANNOTATION(pt_guarded_by(x))
#define ZN_REQUIRES(...) ZN_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define ZN_REQUIRES_SHARED(...) ZN_THREAD_ANNOTATION(requires_shared_capability(__VA_ARGS__))
#define ZN_ACQUIRE(...) ZN_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define ZN_ACQUIRE_SHARED(...) ZN_THREAD_ANNOTATION(acquire_shared_capability(__VA_ARGS__))
#define ZN_RELEASE(...) ZN_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define ZN_RELEASE_SHARED(...) ZN_THREAD_ANNOTATION(release_shared_capability(__VA_ARGS__))
#define ZN_RELEASE_GENERIC(...) ZN_THREAD_ANNOTATION(release_generic_capability(__VA_ARGS__))
#define ZN_TRY_ACQUIRE(...) ZN_THREAD_ANNOTATION(try_acquire_capability(__VA_ARGS__))
#define ZN_TRY_ACQUIRE_SHARED(...) ZN_THREAD_ANNOTATION(try_acquire_shared_capability(__VA_ARGS__))
#define ZN_EXCLUDES(...) ZN_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define ZN_RETURN_CAPABILITY(x) ZN_THREAD_ANNOTATION(lock_returned(x))
#define ZN_NO_THREAD_SAFETY_ANALYSIS ZN_THREAD_ANNOTATION(no_thread_safety_analysis)
