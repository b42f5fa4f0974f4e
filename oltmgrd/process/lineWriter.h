#pragma once

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

#include <sys/types.h>

namespace oltmgrd {

/// Writes lines to standard error, to a file and to standard output, from a thread of its own: whoever has a
/// line never waits for where it goes. The thread writes when `poll` says that it may, and sets no flag of a
/// descriptor that others may share. What a destination does not take waits, `kLinesMax` lines for each;
/// more are dropped, and counted in a line of their own once others are taken again.
///
/// An object lives as long as the process: its thread may hang in a write when that ends. May be used from
/// any thread.
class LineWriter {
public:
    using Clock = std::chrono::steady_clock;

    /// In the order in which they are written to where all are ready.
    enum Destination : std::uint8_t { standardError, file, standardOutput };

    static constexpr std::size_t kLinesMax = 8192;

    /// Makes the line, with its end, that tells of so many lines lost. Must not use this object.
    using LossLine = std::function<std::string(std::uint64_t lines)>;

    /// The descriptors stay open as long as the process runs.
    LineWriter(int standardError, int standardOutput, LossLine lossLine);
    ~LineWriter() = delete;
    LineWriter(const LineWriter&) = delete;
    LineWriter& operator=(const LineWriter&) = delete;

    /// Takes a text that ends at the end of a line.
    void write(Destination to, std::string text);

    /// Appends to the file `path` from here on, which is made with mode 0640 where it is not there. Throws
    /// `FileError` where it cannot be opened, as a FIFO that nobody reads; lines go where they went then.
    void openFile(const std::string& path);

    /// Has the thread call `work` as soon as that time has come, in place of what waited for its time before.
    void callAt(Clock::time_point time, std::function<void()> work);
    /// Has the thread call `work` at once, however blocked the destinations are.
    void callSoon(std::function<void()> work);

    /// Waits until everything is written, but no longer than `limit`.
    void flush(std::chrono::milliseconds limit);

private:
    struct Line {
        std::string text;
        std::uint64_t tells = 0;  ///< of so many lines lost, and is no line of its own
    };

    /// A destination and what waits for it.
    struct Outlet {
        int descriptor = -1;
        std::deque<Line> lines;
        std::uint64_t lost = 0;  ///< and not told of yet
        std::string batch;       ///< what is being written; changed by the thread only
        std::uint64_t batchLines = 0, batchTells = 0;
        bool isBegun = false;  ///< whether a part of the batch is written already
        bool isFailing = false;

        bool isPending() const { return !batch.empty() || !lines.empty() || (lost > 0 && !isFailing); }
        void fillBatch(const LossLine& lossLine);
        void noteWritten(ssize_t bytes);
        void moveTo(int other);
    };

    [[noreturn]] void run();
    void writeBatch(Outlet& outlet);
    void callDue();
    bool isPending() const;
    int timeLeft() const;

    const LossLine lossLine_;
    const int wakeUp_;
    std::mutex mutex_;
    std::condition_variable written_;
    std::array<Outlet, 3> outlets_;
    std::function<void()> soon_, later_;
    Clock::time_point laterAt_;
};

}  // namespace oltmgrd
