#include "standin/log.h"

#include <atomic>
#include <string_view>
#include <utility>

#include "Log.h"
#include "logSink.h"
#include "state.h"

namespace standin {
namespace {

/// Where lines go; standard error if null.
struct Destination {
    std::shared_ptr<LogSink> sink;
};

std::atomic<int> shownLevel{log::kDefaultLevel};

// Runs when the library is loaded.
[[maybe_unused]] const bool resetsLevel = [] {
    atReset([] { log::setLevel(log::kDefaultLevel); });
    return true;
}();

std::shared_ptr<LogSink> exchangeSink(std::shared_ptr<LogSink> sink) {
    return state<Destination>().with(
        [&sink](Destination& destination) { return std::exchange(destination.sink, std::move(sink)); });
}

std::shared_ptr<LogSink> currentSink() {
    return state<Destination>().with([](const Destination& destination) { return destination.sink; });
}

void emit(const LogLine& line) {
    if (const auto sink = currentSink()) {
        sink->take(line);
    } else {
        lasting<StandardErrorSink>().take(line);
    }
}

/// The line that a thread is composing.
struct Composed {
    LogLine line{.level = log::kDefaultLevel, .text = {}};
    bool shown = true;
};

thread_local Composed* composed = nullptr;
thread_local bool composedEnded = false;

/// Frees the line at the end of its thread.
struct ComposedEnd {
    ~ComposedEnd() {
        delete std::exchange(composed, nullptr);
        composedEnded = true;
    }

    void arm() {}
};

thread_local ComposedEnd composedEnd;

/// The calling thread's line. Objects that are destroyed when the process ends log too, after the thread's
/// own objects are gone: their lines are freed one by one.
Composed& composedLine() {
    if (composed == nullptr) {
        if (!composedEnded) {
            composedEnd.arm();
        }
        composed = new Composed;
    }
    return *composed;
}

/// With every control character as \xHH.
std::string escaped(const std::string& data) {
    constexpr const char* kDigits = "0123456789ABCDEF";
    std::string text;
    text.reserve(data.size());
    for (const char c : data) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte != 0x7F) {
            text += c;
        } else {
            text += {'\\', 'x', kDigits[byte >> 4U], kDigits[byte & 0xFU]};
        }
    }
    return text;
}

void append(std::string_view piece) {
    Composed& current = composedLine();
    if (current.shown) {
        current.line.text += piece;
    }
    if (!piece.ends_with('\n')) {
        return;
    }
    if (current.shown) {
        emit(current.line);
        current.line.text.clear();
    }
    if (composedEnded) {
        delete std::exchange(composed, nullptr);
    }
}

}  // namespace

namespace log {

void setLevel(int level) {
    shownLevel.store(level, std::memory_order_relaxed);
}

int level() {
    return shownLevel.load(std::memory_order_relaxed);
}

void toStandardError() {
    exchangeSink(nullptr);
}

void toFile(const std::string& path) {
    exchangeSink(std::make_shared<FileSink>(path));
}

void reopen() {
    if (const auto sink = currentSink()) {
        sink->reopen();
    }
}

void toCallback(std::function<void(const LogLine&)> take) {
    exchangeSink(std::make_shared<CallbackSink>(std::move(take)));
}

}  // namespace log

struct LogCapture::State {
    Guarded<std::vector<LogLine>> lines;
    std::shared_ptr<LogSink> before;
};

LogCapture::LogCapture() : state_(std::make_shared<State>()) {
    const auto take = [state = std::weak_ptr(state_)](const LogLine& line) {
        if (const auto alive = state.lock()) {
            alive->lines.with([&line](auto& lines) { lines.push_back(line); });
        }
    };
    state_->before = exchangeSink(std::make_shared<CallbackSink>(take));
}

LogCapture::~LogCapture() {
    exchangeSink(state_->before);
}

std::vector<LogLine> LogCapture::lines() const {
    return state_->lines.with([](const auto& lines) { return lines; });
}

void LogCapture::clear() {
    state_->lines.assign({});
}

}  // namespace standin

template class singleton<Log>;

Log::Log() = default;
Log::~Log() = default;

void Log::setMsgLevel(LogImpl::logLevel_t level) {
    standin::Composed& current = standin::composedLine();
    current.shown = level <= standin::log::level();
    current.line.level = level;
    current.line.text.clear();
}

void Log::write(const char* piece) {
    standin::append(piece);
}

void Log::write(const std::string& piece) {
    standin::append(standin::escaped(piece));
}

void Log::write(int number) {
    standin::append(std::to_string(number));
}

void Log::write(unsigned int number) {
    standin::append(std::to_string(number));
}
