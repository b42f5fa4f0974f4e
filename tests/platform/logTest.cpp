#include "standin/log.h"

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <string>

#include "Log.h"
#include "platformTest.h"
#include "standin/error.h"

using std::string_literals::operator""s;

namespace {

void write(int level, const std::string& text) {
    Log& log = singleton<Log>::instance();
    log.setMsgLevel(static_cast<LogImpl::logLevel_t>(level));
    log.write(text);
    log.write("\n");
}

using LogTest = PlatformTest;

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
    write(1, "gold\n2026-01-01 forged\r\x1B[31m\x7F\0\xC3\xA9"s);
    EXPECT_EQ(capture.lines(), (std::vector<standin::LogLine>{
                                   {1, "onuQos.cpp:-3 of 4000000000.\n"},
                                   {1, "gold\\x0A2026-01-01 forged\\x0D\\x1B[31m\\x7F\\x00\xC3\xA9\n"}}));
}

TEST_F(LogTest, ShowsUpToTheLevelDropsUnfinishedLinesAndNestsCaptures) {
    standin::LogCapture capture;
    write(1, "error");
    write(3, "hidden");
    standin::log::setLevel(3);
    singleton<Log>::instance().write("never finished");
    write(3, "trace");
    {
        const standin::LogCapture inner;
        write(1, "within");
        EXPECT_EQ(inner.text(), "within\n");
    }
    standin::log::setLevel(0);
    write(1, "hidden");
    EXPECT_EQ(capture.lines(), (std::vector<standin::LogLine>{{1, "error\n"}, {3, "trace\n"}}));
}

/// A log file in a directory of its own.
class LogFileTest : public PlatformTest {
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

    /// The lines of a file, each with the stamp that begins it replaced by its level.
    std::vector<std::string> lines(const char* name = "log") const {
        std::ifstream file(path(name));
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line);) {
            static const std::regex kStamp(R"(^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z (\d) )");
            lines.push_back(std::regex_replace(line, kStamp, "$1:"));
        }
        return lines;
    }

private:
    std::filesystem::path directory_;
};

using Lines = std::vector<std::string>;

TEST_F(LogFileTest, ReopensAfterTheFileWasMovedAwayAndKeepsTheOldOneWhenItCannot) {
    write(1, "old");
    std::filesystem::rename(path(), path("log.1"));
    write(1, "still old");
    standin::log::reopen();
    write(1, "new");
    EXPECT_EQ(lines("log.1"), (Lines{"1:old", "1:still old"}));
    EXPECT_THROW(standin::log::toFile(path("no/such/directory")), standin::Error);
    std::filesystem::rename(path(), path("log.2"));
    std::filesystem::create_directory(path());
    EXPECT_THROW(standin::log::reopen(), standin::Error);
    write(1, "kept");
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
