#include "standin/log.h"

#include <array>
#include <fstream>
#include <regex>
#include <string>

#include "../oltmgrd/scratch.h"
#include "Log.h"
#include "platformTest.h"
#include "standin/error.h"

using namespace std::string_literals;

namespace {

void writeLine(int level, const std::string& text) {
    Log& log = singleton<Log>::instance();
    log.setMsgLevel(static_cast<LogImpl::logLevel_t>(level));
    log.write(text);
    log.write("\n");
}

using LogTest = PlatformTest;
using Lines = std::vector<std::string>;

TEST_F(LogTest, MakesALineOfPiecesInWhichDataNeitherEndsItNorDrawsOnTheTerminal) {
    const standin::LogCapture capture;
    Log& log = singleton<Log>::instance();
    log.setMsgLevel(LogImpl::logLevelError);
    log.write("onuQos.cpp");
    log.write(":");
    log.write(-3);
    log.write(" of "s);
    log.write(4'000'000'000U);
    EXPECT_TRUE(capture.lines().empty());
    log.write(".\n");
    writeLine(1, "gold\n2026-01-01 forged\r\x1B[31m\x7F\0\xC3\xA9"s);
    EXPECT_EQ(capture.lines(), (std::vector<standin::LogLine>{
                                   {1, "onuQos.cpp:-3 of 4000000000.\n"},
                                   {1, "gold\\x0A2026-01-01 forged\\x0D\\x1B[31m\\x7F\\x00\xC3\xA9\n"}}));
}

/// A log file in a directory of its own.
class LogFileTest : public PlatformTest, protected ScratchDirectory {
protected:
    LogFileTest() { standin::log::toFile(path("log")); }

    ~LogFileTest() override { standin::log::toStandardError(); }

    /// The lines of a file, each with the stamp that begins it replaced by its level.
    Lines lines(const char* name = "log") const {
        std::ifstream file(path(name));
        Lines lines;
        for (std::string line; std::getline(file, line);) {
            static const std::regex kStamp(R"(^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z (\d) )");
            lines.push_back(std::regex_replace(line, kStamp, "$1:"));
        }
        return lines;
    }
};

TEST_F(LogFileTest, ReopensAfterTheFileWasMovedAwayAndKeepsTheOldOneWhenItCannot) {
    writeLine(1, "old");
    std::filesystem::rename(path("log"), path("log.1"));
    writeLine(1, "still old");
    standin::log::reopen();
    writeLine(1, "new");
    EXPECT_EQ(lines("log.1"), (Lines{"1:old", "1:still old"}));
    std::filesystem::rename(path("log"), path("log.2"));
    std::filesystem::create_directory(path("log"));
    EXPECT_THROW(standin::log::reopen(), standin::Error);
    writeLine(1, "kept");
    EXPECT_EQ(lines("log.2"), (Lines{"1:new", "1:kept"}));
}

TEST_F(LogFileTest, LinesOfManyThreadsStayWhole) {
    constexpr int kThreads = 4, kLines = 300;
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
    for (const std::string& line : lines()) {
        ASSERT_EQ(line, "1:" + std::string(20, line.back()));
        ++counts.at(static_cast<std::size_t>(line.back() - '0'));
    }
    EXPECT_EQ(counts, (std::array{kLines, kLines, kLines, kLines}));
}

}  // namespace
