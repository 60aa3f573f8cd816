// What each lock guards, in a form clang's thread-safety analysis checks (the clang preset builds
// with -Wthread-safety -Werror); on any other compiler the macros expand to nothing. They carry an
// HBBTV_ prefix because the platform's utils/Mutex.h defines the unprefixed names differently.
//
// New code takes Mutex with Locker<Mutex> (HbbtvBackendGlue.Util.h): both are annotated, so the
// analysis sees every section. std::mutex is not annotated in libstdc++, and the TV service's
// recursive pthread mutexes, taken through the vendor's plx_scope_lock, are invisible to it.
#ifndef HBBTV_BACKENDGLUE_THREADSAFETY_H
#define HBBTV_BACKENDGLUE_THREADSAFETY_H

#if defined(__clang__)
#define HBBTV_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define HBBTV_THREAD_ANNOTATION(x)
#endif

// A type whose objects are locks.
#define HBBTV_CAPABILITY(x) HBBTV_THREAD_ANNOTATION(capability(x))
// A type whose objects hold a lock from construction to destruction.
#define HBBTV_SCOPED_CAPABILITY HBBTV_THREAD_ANNOTATION(scoped_lockable)
// A field read or written only with the lock held.
#define HBBTV_GUARDED_BY(x) HBBTV_THREAD_ANNOTATION(guarded_by(x))
// A pointer whose target is read or written only with the lock held.
#define HBBTV_PT_GUARDED_BY(x) HBBTV_THREAD_ANNOTATION(pt_guarded_by(x))
// A function called with the locks held.
#define HBBTV_REQUIRES(...) HBBTV_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
// A function called without the locks held (it takes them itself).
#define HBBTV_EXCLUDES(...) HBBTV_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
// A function that takes or gives back the locks (none named: the object itself).
#define HBBTV_ACQUIRE(...) HBBTV_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define HBBTV_RELEASE(...) HBBTV_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
// A function that takes the lock only when it returns the given value.
#define HBBTV_TRY_ACQUIRE(...) HBBTV_THREAD_ANNOTATION(try_acquire_capability(__VA_ARGS__))
// A function the analysis skips; each use says why on the line above it.
#define HBBTV_NO_THREAD_SAFETY_ANALYSIS HBBTV_THREAD_ANNOTATION(no_thread_safety_analysis)

#endif
