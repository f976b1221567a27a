#pragma once

#include <mutex>

// A thin wrapper of std::mutex that clang's thread-safety analysis can follow;
// the library's own mutex carries no attributes. Other compilers see plain code.

#if defined(__clang__)
#define RUVO_ATTRIBUTE(x) __attribute__((x))
#else
#define RUVO_ATTRIBUTE(x)
#endif

#define RUVO_CAPABILITY(name) RUVO_ATTRIBUTE(capability(name))
#define RUVO_SCOPED_CAPABILITY RUVO_ATTRIBUTE(scoped_lockable)
#define RUVO_GUARDED_BY(mutex) RUVO_ATTRIBUTE(guarded_by(mutex))
#define RUVO_REQUIRES(...) RUVO_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define RUVO_EXCLUDES(...) RUVO_ATTRIBUTE(locks_excluded(__VA_ARGS__))
#define RUVO_ACQUIRE(...) RUVO_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define RUVO_RELEASE(...) RUVO_ATTRIBUTE(release_capability(__VA_ARGS__))

namespace ruvo {

class RUVO_CAPABILITY("mutex") Mutex {
  public:
    Mutex() = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    // Blocks; a failure to lock throws std::system_error.
    void lock() RUVO_ACQUIRE() { mutex_.lock(); }
    void unlock() RUVO_RELEASE() { mutex_.unlock(); }

  private:
    std::mutex mutex_;
};

// Holds a mutex for a scope.
class RUVO_SCOPED_CAPABILITY Guard {
  public:
    explicit Guard(Mutex& mutex) RUVO_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
    ~Guard() RUVO_RELEASE() { mutex_.unlock(); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

  private:
    Mutex& mutex_;
};

}  // namespace ruvo
