#include "standin/log.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "Log.h"
#include "platformTest.h"
#include "standin/error.h"

using namespace std::string_literals;

namespace {

void write(int level, const std::string& text) {
    Log& log = singleton<Log>::instance();
    log.setMsgLevel(static_cast<LogImpl::logLevel_t>(level));
    log.write(text);
    log.write("\n");
}

class LogTest : public PlatformTest {};

TEST_F(LogTest, MakesALineOfPieces) {
    const standin::LogCapture capture;
    Log& log = singleton<Log>::instance();
    log.setMsgLevel(LogImpl::logLevelError);
    log.write("onuQos.cpp");
    log.write(":");
    log.write(-3);
    log.write(std::string(" of "));
    log.write(4'000'000'000U);
    EXPECT_TRUE(capture.lines().empty());
    log.write(".\n");
    EXPECT_EQ(capture.lines(), (std::vector<standin::LogLine>{{1, "onuQos.cpp:-3 of 4000000000.\n"}}));
}

TEST_F(LogTest, DataNeitherEndsALineNorDrawsOnTheTerminal) {
    const standin::LogCapture capture;
    write(1, "gold\n2026-01-01 forged\r\x1B[31m\x7F\0\xC3\xA9"s);
    EXPECT_EQ(capture.text(), "gold\\x0A2026-01-01 forged\\x0D\\x1B[31m\\x7F\\x00\xC3\xA9\n");
    EXPECT_EQ(capture.lines().size(), 1);
}

TEST_F(LogTest, ShowsUpToTheLevelAndDropsUnfinishedLines) {
    standin::LogCapture capture;
    write(1, "error");
    write(3, "trace");
    EXPECT_EQ(capture.text(), "error\n");
    capture.clear();
    standin::log::setLevel(3);
    singleton<Log>::instance().write("never finished");
    write(3, "trace");
    EXPECT_EQ(capture.lines(), (std::vector<standin::LogLine>{{3, "trace\n"}}));
    standin::log::setLevel(0);
    write(1, "error");
    EXPECT_EQ(capture.lines().size(), 1);
}

TEST_F(LogTest, CapturesNest) {
    const standin::LogCapture outer;
    write(1, "before");
    {
        const standin::LogCapture inner;
        write(1, "within");
        EXPECT_EQ(inner.text(), "within\n");
    }
    write(1, "after");
    EXPECT_EQ(outer.text(), "before\nafter\n");
}

/// A log file in a directory of its own.
class LogFileTest : public LogTest {
protected:
    LogFileTest() {
        std::string pattern = (std::filesystem::temp_directory_path() / "logTest.XXXXXX").string();
        directory_ = mkdtemp(pattern.data());
        standin::log::toFile(path());
    }

    ~LogFileTest() override {
        standin::log::toStandardError();
        std::filesystem::remove_all(directory_);
    }

    std::string path(const char* name = "log") const { return directory_ / name; }

    static std::vector<std::string> linesOf(const std::string& path) {
        std::ifstream file(path);
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line);) {
            lines.push_back(line);
        }
        return lines;
    }

private:
    std::filesystem::path directory_;
};

TEST_F(LogFileTest, StampsLines) {
    write(1, "hello");
    const auto lines = linesOf(path());
    ASSERT_EQ(lines.size(), 1);
    std::string shape = lines[0];
    std::ranges::replace_if(
        shape, [](char c) { return c >= '0' && c <= '9'; }, 'd');
    EXPECT_EQ(shape, "dddd-dd-ddTdd:dd:dd.dddZ d hello");
    EXPECT_EQ(lines[0].substr(24), " 1 hello");
}

TEST_F(LogFileTest, ReopensAfterTheFileWasMovedAway) {
    write(1, "old");
    std::filesystem::rename(path(), path("log.1"));
    write(1, "still old");
    standin::log::reopen();
    write(1, "new");
    EXPECT_EQ(linesOf(path("log.1")).size(), 2);
    EXPECT_EQ(linesOf(path()).size(), 1);
}

TEST_F(LogFileTest, KeepsTheOldFileWhenTheNewOneCannotBeOpened) {
    EXPECT_THROW(standin::log::toFile(path("no/such/directory")), standin::Error);
    std::filesystem::rename(path(), path("log.1"));
    std::filesystem::create_directory(path());
    EXPECT_THROW(standin::log::reopen(), standin::Error);
    write(1, "kept");
    EXPECT_EQ(linesOf(path("log.1")).size(), 1);
}

TEST_F(LogFileTest, LinesOfManyThreadsStayWhole) {
    constexpr int kThreads = 4;
    constexpr int kLines = 300;
    std::vector<std::future<void>> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.push_back(std::async(std::launch::async, [thread] {
            Log& log = singleton<Log>::instance();
            for (int i = 0; i < kLines; ++i) {
                log.setMsgLevel(LogImpl::logLevelError);
                for (int piece = 0; piece < 20; ++piece) {
                    log.write(thread);
                }
                log.write("\n");
            }
        }));
    }
    for (auto& thread : threads) {
        thread.get();
    }
    std::array<int, kThreads> counts{};
    for (const std::string& line : linesOf(path())) {
        const std::string text = line.substr(line.rfind(' ') + 1);
        ASSERT_EQ(text, std::string(20, text.at(0))) << line;
        ++counts.at(static_cast<std::size_t>(text.at(0) - '0'));
    }
    EXPECT_EQ(counts, (std::array{kLines, kLines, kLines, kLines}));
}

}  // namespace
