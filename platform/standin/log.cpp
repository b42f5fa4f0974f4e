#include "standin/log.h"

#include <atomic>
#include <cstdio>
#include <string_view>
#include <utility>

#include "Log.h"
#include "state.h"

namespace standin {
namespace {

using Take = std::function<void(const LogLine&)>;

/// Where lines go; standard error if null.
struct Destination {
    std::shared_ptr<const Take> take;
};

std::atomic<int> shownLevel{log::kDefaultLevel};

// Runs when the library is loaded.
[[maybe_unused]] const bool resetsLevel = [] {
    atReset([] { log::setLevel(log::kDefaultLevel); });
    return true;
}();

std::shared_ptr<const Take> exchangeTake(std::shared_ptr<const Take> take) {
    return state<Destination>().with(
        [&take](Destination& destination) { return std::exchange(destination.take, std::move(take)); });
}

void emit(const LogLine& line) {
    const auto take =
        state<Destination>().with([](const Destination& destination) { return destination.take; });
    if (take) {
        (*take)(line);
    } else {
        std::fputs(line.text.c_str(), stderr);
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

/// With every control character as \xHH. Data that is long is cut, and says then how long it was.
std::string escaped(const std::string& data) {
    constexpr const char* kDigits = "0123456789ABCDEF";
    std::string text;
    std::size_t left = log::kDataMax;
    for (const char c : data) {
        const auto byte = static_cast<unsigned char>(c);
        const bool isPlain = byte >= 0x20 && byte < 0x7F;
        // Whoever takes the line may escape the bytes of other characters as well.
        const std::size_t cost = isPlain ? 1 : 4;
        if (left < cost) {
            return text + "...[" + std::to_string(data.size()) + " bytes]";
        }
        left -= cost;
        if (isPlain || byte >= 0x80) {
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
    exchangeTake(nullptr);
}

void toCallback(std::function<void(const LogLine&)> take) {
    exchangeTake(std::make_shared<const Take>(std::move(take)));
}

}  // namespace log

struct LogCapture::State {
    Guarded<std::vector<LogLine>> lines;
    std::shared_ptr<const Take> before;
};

LogCapture::LogCapture() : state_(std::make_shared<State>()) {
    const Take take = [state = std::weak_ptr(state_)](const LogLine& line) {
        if (const auto alive = state.lock()) {
            alive->lines.with([&line](auto& lines) { lines.push_back(line); });
        }
    };
    state_->before = exchangeTake(std::make_shared<const Take>(take));
}

LogCapture::~LogCapture() {
    exchangeTake(state_->before);
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
