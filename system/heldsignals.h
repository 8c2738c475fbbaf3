#pragma once

#include <csignal>

namespace sys {

/// Blocks all signals to this thread while it lives.
class heldSignals {
public:
    heldSignals() {
        sigset_t all;
        sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~heldSignals() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    heldSignals(const heldSignals&) = delete;
    heldSignals& operator=(const heldSignals&) = delete;

    /// The signals that were blocked before it.
    const sigset_t& before() const { return before_; }

private:
    sigset_t before_;
};

} // namespace sys
