#include "inventory/signals.h"

#include "inventory/scratchdirectory.h"
#include "inventory/statusline.h"
#include "system/childprocess.h"

#include <unistd.h>

#include <csignal>
#include <cstdlib>

namespace inventory {

namespace {

// What users, timers and the system send to end a process, but for what its own faults cause.
constexpr int endingSignals[] = {SIGHUP,  SIGINT,  SIGQUIT, SIGALRM,   SIGTERM, SIGUSR1,
                                 SIGUSR2, SIGXCPU, SIGPOLL, SIGVTALRM, SIGPROF, SIGPWR};
constexpr int writingSignals[] = {SIGPIPE, SIGXFSZ};

/// Calls only what is safe in a signal handler.
extern "C" void endTidily(int signal) {
    statusLine::eraseAtOnce();
    sys::endChildAtOnce();
    scratchDirectory::removeAtOnce();
    if (signal == SIGXCPU) {
        writeErrorAtOnce("scsidev-inventory: the CPU time that a limit gives it is used up\n");
        ::_exit(EXIT_FAILURE);
    }
    // As if there were no handler, so that the parent sees what ended the program.
    std::signal(signal, SIG_DFL);
    ::raise(signal);
}

} // namespace

void handleSignals() {
    struct sigaction ending {};
    ending.sa_handler = endTidily;
    // Without SA_RESETHAND, under which the same signal, sent once more, ends the process before the handler has begun.
    sigfillset(&ending.sa_mask);
    for (const int signal : endingSignals) {
        struct sigaction before {};
        ::sigaction(signal, nullptr, &before);
        if (before.sa_handler != SIG_IGN) // as it is under nohup
            ::sigaction(signal, &ending, nullptr);
    }
    for (const int signal : writingSignals)
        std::signal(signal, [](int /*signal*/) {}); // writing fails instead; children do not inherit a handler
}

} // namespace inventory
