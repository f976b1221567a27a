#pragma once

// Whether this build is watched by the address or the thread sanitizer, which blow up
// stack frames. GCC and clang say it in different ways.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define RUVO_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define RUVO_SANITIZED 1
#endif
#endif
#if !defined(RUVO_SANITIZED)
#define RUVO_SANITIZED 0
#endif
