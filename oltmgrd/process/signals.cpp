#include "oltmgrd/process/signals.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <utility>

namespace oltmgrd {
namespace {

/// Those that ask for a stop.
sigset_t stopSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGTERM, SIGINT}) {
        sigaddset(&signals, signal);
    }
    return signals;
}

sigset_t handledSignals() {
    sigset_t signals = stopSignals();
    sigaddset(&signals, SIGHUP);
    return signals;
}

}  // namespace

void Signals::block() {
    const sigset_t signals = handledSignals();
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

Signals::Signals(Actions actions) : actions_(std::move(actions)), ending_(::eventfd(0, EFD_CLOEXEC)) {
    const sigset_t signals = handledSignals();
    signals_ = Descriptor(::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
    thread_ = std::thread([this] { run(); });
}

bool Signals::isStopAskedFor() {
    const std::lock_guard guard(mutex_);
    return isStopAskedFor_;
}

void Signals::awaitStop() {
    std::unique_lock guard(mutex_);
    changed_.wait(guard, [this] { return isStopAskedFor_; });
}

void Signals::end() {
    if (thread_.joinable()) {
        ::eventfd_write(ending_, 1);
        thread_.join();
    }
}

void Signals::run() {
    int limit = -1;
    while (true) {
        pollfd polled[] = {{.fd = ending_, .events = POLLIN, .revents = 0},
                           {.fd = signals_, .events = POLLIN, .revents = 0}};
        const int ready = ::poll(polled, limit == -1 ? 2 : 1, limit);
        if (ready == 0) {
            actions_.giveUp();
            return;
        }
        if (polled[0].revents != 0) {
            return;
        }
        signalfd_siginfo taken{};
        if (ready < 0 || ::read(signals_, &taken, sizeof taken) != sizeof taken) {
            continue;
        }
        if (taken.ssi_signo == SIGHUP) {
            actions_.hangUp();
            continue;
        }
        limit = static_cast<int>(actions_.limit.count());
        const sigset_t signals = stopSignals();
        ::pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
        const std::lock_guard guard(mutex_);
        isStopAskedFor_ = true;
        changed_.notify_all();
    }
}

}  // namespace oltmgrd
