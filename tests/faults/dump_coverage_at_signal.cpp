// A daemon that SIGTERM ends would lose its coverage counts, which are written
// at a normal exit. With this library SIGTERM leads to that exit first; the
// process is then ended by the signal all the same. For coverage builds only.

#include <pthread.h>
#include <semaphore.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "next_call.h"

namespace {

// A library that counts or fails the daemon's own threads comes before this one and
// does not see this thread.
using CreateThread = int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
constinit NextCall<CreateThread> create_thread("pthread_create");

sem_t signal_came;
volatile bool ends_by_signal = false;

void note_signal(int) { sem_post(&signal_came); }

void* exit_after_signal(void*) {
    while (sem_wait(&signal_came) != 0) {
    }
    ends_by_signal = true;
    std::exit(0);
}

// Shell commands and the launcher inherit the preloading, not the wish.
__attribute__((constructor)) void prepare() {
    if (std::strcmp(program_invocation_short_name, "ruvotcpd") != 0) return;
    sem_init(&signal_came, 0, 0);
    pthread_t thread;
    if (create_thread.get()(&thread, nullptr, exit_after_signal, nullptr) != 0) return;
    pthread_detach(thread);
    struct sigaction action = {};
    action.sa_handler = note_signal;
    action.sa_flags = SA_RESTART;
    sigaction(SIGTERM, &action, nullptr);
}

// Runs after the executable's own destructors, which write the counts.
__attribute__((destructor)) void end_by_signal() {
    if (!ends_by_signal) return;
    std::signal(SIGTERM, SIG_DFL);
    sigset_t term;
    sigemptyset(&term);
    sigaddset(&term, SIGTERM);
    pthread_sigmask(SIG_UNBLOCK, &term, nullptr);
    std::raise(SIGTERM);
}

}  // namespace
