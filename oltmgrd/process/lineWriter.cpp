#include "oltmgrd/process/lineWriter.h"

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <thread>
#include <utility>

#include "oltmgrd/files/errors.h"

namespace oltmgrd {
namespace {

// A pipe that is ready takes so much at once, and does not mix it with what others write to it.
constexpr std::size_t kBatchMax = PIPE_BUF;

int openForAppending(const std::string& path) {
    // Without waiting for a reader should it be a FIFO. Nobody else shares what is opened here.
    const int descriptor =
        ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0640);
    if (descriptor == -1) {
        throw FileError("log file " + path + " cannot be opened: " +
                        (errno == ENXIO ? "nobody reads from it" : std::strerror(errno)));
    }
    return descriptor;
}

}  // namespace

void LineWriter::Outlet::fillBatch(const LossLine& lossLine) {
    if (!batch.empty()) {
        return;
    }
    if (lines.empty() && lost > 0 && !isFailing) {
        lines.push_back({.text = lossLine(lost), .tells = std::exchange(lost, 0)});
    }
    batchLines = 0;
    batchTells = 0;
    while (!lines.empty() && (batch.empty() || batch.size() + lines.front().text.size() <= kBatchMax)) {
        batch += lines.front().text;
        batchLines += lines.front().tells == 0 ? 1 : 0;
        batchTells += lines.front().tells;
        lines.pop_front();
    }
}

/// -1 bytes stand for an error that remains.
void LineWriter::Outlet::noteWritten(ssize_t bytes) {
    isFailing = bytes < 0;
    if (isFailing) {
        lost += batchLines + batchTells;
        batch.clear();
    } else {
        batch.erase(0, static_cast<std::size_t>(bytes));
    }
    isBegun = !batch.empty();
}

/// Goes on in another place, where the rest of a line that was begun would say nothing.
void LineWriter::Outlet::moveTo(int other) {
    if (descriptor != -1) {
        ::close(descriptor);
    }
    descriptor = other;
    isFailing = false;
    if (std::exchange(isBegun, false)) {
        batch.erase(0, batch.find('\n') + 1);
    }
}

LineWriter::LineWriter(int standardError, int standardOutput, LossLine lossLine)
    : lossLine_(std::move(lossLine)), wakeUp_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    outlets_[Destination::standardError].descriptor = standardError;
    outlets_[Destination::standardOutput].descriptor = standardOutput;
    std::thread([this] { run(); }).detach();
}

void LineWriter::write(Destination to, std::string text) {
    const std::lock_guard guard(mutex_);
    Outlet& outlet = outlets_.at(to);
    if (outlet.lines.size() >= kLinesMax) {
        ++outlet.lost;
        return;
    }
    if (!outlet.isPending()) {
        ::eventfd_write(wakeUp_, 1);
    }
    if (outlet.lost > 0) {
        outlet.lines.push_back({.text = lossLine_(outlet.lost), .tells = std::exchange(outlet.lost, 0)});
    }
    outlet.lines.push_back({.text = std::move(text)});
}

void LineWriter::openFile(const std::string& path) {
    const int descriptor = openForAppending(path);
    const std::lock_guard guard(mutex_);
    outlets_[file].moveTo(descriptor);
}

void LineWriter::callAt(Clock::time_point time, std::function<void()> work) {
    const std::lock_guard guard(mutex_);
    laterAt_ = time;
    later_ = std::move(work);
    ::eventfd_write(wakeUp_, 1);
}

void LineWriter::callSoon(std::function<void()> work) {
    const std::lock_guard guard(mutex_);
    soon_ = std::move(work);
    ::eventfd_write(wakeUp_, 1);
}

void LineWriter::flush(std::chrono::milliseconds limit) {
    std::unique_lock guard(mutex_);
    written_.wait_for(guard, limit, [this] { return !isPending(); });
}

bool LineWriter::isPending() const {
    return std::ranges::any_of(outlets_, &Outlet::isPending);
}

/// Milliseconds until something is to be called, as `poll` takes them.
int LineWriter::timeLeft() const {
    if (!later_) {
        return -1;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(laterAt_ - Clock::now()).count();
    return static_cast<int>(std::clamp<decltype(left)>(left, 0, INT_MAX));
}

void LineWriter::run() {
    sigset_t all;
    sigfillset(&all);
    ::pthread_sigmask(SIG_BLOCK, &all, nullptr);
    while (true) {
        std::array<pollfd, std::tuple_size_v<decltype(outlets_)> + 1> polled{};
        polled.back() = {.fd = wakeUp_, .events = POLLIN, .revents = 0};
        int timeout = 0;
        {
            const std::lock_guard guard(mutex_);
            for (std::size_t at = 0; at < outlets_.size(); ++at) {
                Outlet& outlet = outlets_.at(at);
                outlet.fillBatch(lossLine_);
                polled.at(at) = {
                    .fd = outlet.isPending() ? outlet.descriptor : -1, .events = POLLOUT, .revents = 0};
            }
            timeout = timeLeft();
        }
        ::poll(polled.data(), polled.size(), timeout);
        eventfd_t ignored = 0;
        ::eventfd_read(wakeUp_, &ignored);
        for (std::size_t at = 0; at < outlets_.size(); ++at) {
            if (polled.at(at).revents != 0) {
                writeBatch(outlets_.at(at));
            }
        }
        callDue();
    }
}

/// Without the lock while it writes: that may hang all the same.
void LineWriter::writeBatch(Outlet& outlet) {
    const ssize_t bytes = ::write(outlet.descriptor, outlet.batch.data(), outlet.batch.size());
    if (bytes < 0 && (errno == EAGAIN || errno == EINTR)) {
        return;
    }
    const std::lock_guard guard(mutex_);
    outlet.noteWritten(bytes);
    if (!isPending()) {
        written_.notify_all();
    }
}

void LineWriter::callDue() {
    std::function<void()> soon, later;
    {
        const std::lock_guard guard(mutex_);
        soon.swap(soon_);
        if (later_ && Clock::now() >= laterAt_) {
            later.swap(later_);
        }
    }
    if (soon) {
        soon();
    }
    if (later) {
        later();
    }
}

}  // namespace oltmgrd
