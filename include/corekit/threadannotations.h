#pragma once

// The compiler's lock check in words of our own: clang reads them with
// -Wthread-safety, every other compiler sees nothing.

#if defined(__clang__)
#define CK_ATTRIBUTE(x) __attribute__((x))
#else
#define CK_ATTRIBUTE(x)
#endif

// On a class: it is a lock (the text names the kind), or a scope object over one.
#define CK_CAPABILITY(x) CK_ATTRIBUTE(capability(x))
#define CK_SCOPED_CAPABILITY CK_ATTRIBUTE(scoped_lockable)

// On a field: read and write it only with the lock held; PT_ means what it points to.
#define CK_GUARDED_BY(x) CK_ATTRIBUTE(guarded_by(x))
#define CK_PT_GUARDED_BY(x) CK_ATTRIBUTE(pt_guarded_by(x))

// On a function: the caller holds the lock, for writing or at least for reading.
#define CK_REQUIRES(...) CK_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define CK_REQUIRES_SHARED(...) CK_ATTRIBUTE(requires_shared_capability(__VA_ARGS__))
// On a function: the caller must not hold the lock.
#define CK_EXCLUDES(...) CK_ATTRIBUTE(locks_excluded(__VA_ARGS__))

// On a function: it takes or gives up the lock.
#define CK_ACQUIRE(...) CK_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define CK_ACQUIRE_SHARED(...) CK_ATTRIBUTE(acquire_shared_capability(__VA_ARGS__))
#define CK_TRY_ACQUIRE(...) CK_ATTRIBUTE(try_acquire_capability(__VA_ARGS__))
#define CK_RELEASE(...) CK_ATTRIBUTE(release_capability(__VA_ARGS__))
#define CK_RELEASE_SHARED(...) CK_ATTRIBUTE(release_shared_capability(__VA_ARGS__))
#define CK_RELEASE_GENERIC(...) CK_ATTRIBUTE(release_generic_capability(__VA_ARGS__))

// On a function: it hands out a reference to the lock that guards its result.
#define CK_RETURN_CAPABILITY(x) CK_ATTRIBUTE(lock_returned(x))
// On a function whose locking the analysis cannot follow. Say why beside it.
#define CK_NO_THREAD_SAFETY_ANALYSIS CK_ATTRIBUTE(no_thread_safety_analysis)
