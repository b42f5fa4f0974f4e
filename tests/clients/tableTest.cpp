#include "common/table.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

using common::Table;

TEST(Table, AlignsByWhatATerminalShows) {
    Table table({{"name"}, {"rate (kbit/s)", Table::Align::right}, {"note"}});
    table.add({"caf\xc3\xa9", "1", ""});
    table.add({"\xe9\x87\x91\xe9\x87\x91 x", "1244160", "long"});
    std::ostringstream out;
    table.print(out);
    EXPECT_EQ(out.str(),
              "name    rate (kbit/s)  note\n"
              "caf\xc3\xa9                1\n"
              "\xe9\x87\x91\xe9\x87\x91 x        1244160  long\n");
}

struct BarCase {
    std::uint64_t used, capacity;
    const char* text;
};

TEST(Bar, ShowsAnyUseAndIsFullOnlyWhenNothingIsLeft) {
    constexpr BarCase kCases[] = {
        {0, 1000, "[--------------------] 0.0%"},
        {1, 1000000, "[#-------------------] 0.1%"},
        {50, 1000, "[#-------------------] 5.0%"},
        {500, 1000, "[##########----------] 50.0%"},
        {999999, 1000000, "[###################-] 99.9%"},
        {1000, 1000, "[####################] 100.0%"},
        {2000, 1000, "[####################] 100.0%"},
        {0, 0, "[####################] 100.0%"},
        {4294967294, 4294967295, "[###################-] 99.9%"},
    };
    for (const BarCase& barCase : kCases) {
        EXPECT_EQ(common::bar(barCase.used, barCase.capacity), barCase.text);
    }
}

}  // namespace
