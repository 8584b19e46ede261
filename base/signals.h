// Signals held back while a process is in a state that no handler may see.
#ifndef KAVEX_BASE_SIGNALS_H
#define KAVEX_BASE_SIGNALS_H

#include <csignal>

// All signals of this thread blocked until the end of the scope.
class SignalsBlocked {
public:
    SignalsBlocked() noexcept {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    SignalsBlocked(const SignalsBlocked &) = delete;
    SignalsBlocked &operator=(const SignalsBlocked &) = delete;
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

private:
    sigset_t before_;
};

#endif
