#include "standin/log.h"

#include <array>
#include <future>
#include <string>
#include <vector>

#include "Log.h"
#include "platformTest.h"

using namespace std::string_literals;

namespace {

void writeLine(int level, const std::string& text) {
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
    writeLine(1, "gold\n2026-01-01 forged\r\x1B[31m\x7F\0\xC3\xA9"s);
    EXPECT_EQ(capture.lines(), (std::vector<standin::LogLine>{
                                   {1, "onuQos.cpp:-3 of 4000000000.\n"},
                                   {1, "gold\\x0A2026-01-01 forged\\x0D\\x1B[31m\\x7F\\x00\xC3\xA9\n"}}));
}

TEST_F(LogTest, CutsLongDataAtWhatItsCharactersMayTakeAndTellsItsLength) {
    const standin::LogCapture capture;
    for (const auto& data : {std::string(256, 'x'), std::string(257, 'x'), std::string(65, '\n')}) {
        writeLine(1, data);
    }
    std::string escaped;
    for (int i = 0; i < 64; ++i) {
        escaped += "\\x0A";
    }
    EXPECT_EQ(capture.lines(), (std::vector<standin::LogLine>{{1, std::string(256, 'x') + "\n"},
                                                              {1, std::string(256, 'x') + "...[257 bytes]\n"},
                                                              {1, escaped + "...[65 bytes]\n"}}));
}

TEST_F(LogTest, LinesOfManyThreadsStayWhole) {
    constexpr int kThreads = 4, kLines = 300;
    const standin::LogCapture capture;
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
    for (const standin::LogLine& line : capture.lines()) {
        ASSERT_EQ(line.text, std::string(20, line.text.front()) + "\n");
        ++counts.at(static_cast<std::size_t>(line.text.front() - '0'));
    }
    EXPECT_EQ(counts, (std::array{kLines, kLines, kLines, kLines}));
}

}  // namespace
