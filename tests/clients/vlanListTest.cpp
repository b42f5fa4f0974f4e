#include "common/vlanList.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "common/errors.h"
#include "onuqos/rules/vlanBitmap.h"

namespace {

using common::VlanList;

struct VlanCase {
    const char* text;
    VlanList vlans;
    const char* shown;
};

TEST(VlanList, ReadsIdsAndRangesAndShowsThemShort) {
    const VlanCase kCases[] = {
        {"", {}, ""},
        {"7", {7}, "7"},
        {"0,4095", {0, 4095}, "0,4095"},
        {"10,100-102", {10, 100, 101, 102}, "10,100-102"},
        {"3,1,2", {1, 2, 3}, "1-3"},
        {"5-5,5", {5}, "5"},
        {"1-3,2-5,7", {1, 2, 3, 4, 5, 7}, "1-5,7"},
        {"1,3,5", {1, 3, 5}, "1,3,5"},
        {"4094-4095", {4094, 4095}, "4094-4095"},
    };
    for (const VlanCase& vlanCase : kCases) {
        EXPECT_EQ(common::parseVlans(vlanCase.text), vlanCase.vlans) << vlanCase.text;
        EXPECT_EQ(common::formatVlans(vlanCase.vlans), vlanCase.shown);
    }
    EXPECT_EQ(common::formatVlans(common::parseVlans("0-4095")), "0-4095");
    EXPECT_EQ(common::formatVlans({7, 5, 10, 11, 10}), "7,5,10-11,10") << "the order as it stands";
}

TEST(VlanList, RefusesWhatIsNoList) {
    for (const char* text : {",", "1,", ",1", "1,,2", "4096", "1-4096", "5-1", "-", "1-", "-1", "1-2-3", "a",
                             "1 2", "99999999999"}) {
        EXPECT_THROW(common::parseVlans(text), common::UsageError) << text;
    }
}

TEST(VlanBitmap, PutsTheFirstVlanOfAByteInItsHighestBit) {
    std::array<char, rules::kVlanBitmapBytes> bitmap;
    bitmap.fill('\x55');
    EXPECT_TRUE(rules::vlansToBitmap({0, 9, 4095}, bitmap));
    EXPECT_EQ(bitmap.front(), '\x80');
    EXPECT_EQ(bitmap[1], '\x40');
    EXPECT_EQ(bitmap.back(), '\x01');
    EXPECT_EQ(rules::vlansFromBitmap(bitmap), (VlanList{0, 9, 4095}));
}

}  // namespace
