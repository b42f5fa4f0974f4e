#include "rte/BLL/core/recordReader.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "rpc/wire.h"

using rte::RecordReader;
using wire::fragment;
using wire::items;
using wire::record;

namespace {

/// Gives a reader one piece after the other and collects its records.
struct Reading {
    RecordReader reader;
    std::vector<std::string> records;

    void give(const std::string& piece) {
        std::span<const char> input(piece);
        while (const auto found = reader.next(input)) {
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(found->data()) % 4, 0U) << "XDR is decoded by words";
            records.emplace_back(found->begin(), found->end());
        }
        EXPECT_TRUE(input.empty() || reader.hasFailed());
    }
};

const std::string kLong(RecordReader::kRecordMax, 'l');

struct Row {
    const char* name;
    std::vector<std::string> pieces;
    std::vector<std::string> records;
    bool fails = false;
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.name;
}

class Records : public testing::TestWithParam<Row> {};

TEST_P(Records, areTakenOutOfWhatComes) {
    Reading reading;
    for (const std::string& piece : GetParam().pieces) {
        reading.give(piece);
    }
    EXPECT_EQ(reading.records, GetParam().records);
    EXPECT_EQ(reading.reader.hasFailed(), GetParam().fails);
}

const Row kRows[] = {
    {"Whole", {record("abcd")}, {"abcd"}},
    {"SeveralAtOnce", {record("abcd") + record("efgh") + record("ij")}, {"abcd", "efgh", "ij"}},
    {"BehindOneOfOddLength", {record("abc") + record("defg")}, {"abc", "defg"}},
    {"ByteByByte", {"\x80", std::string(1, '\0'), std::string(1, '\0'), "\x02", "a", "b"}, {"ab"}},
    {"InFragments", {fragment("ab") + fragment("cd") + record("ef")}, {"abcdef"}},
    {"InFragmentsOfNothing", {fragment("") + fragment("ab") + fragment("") + record("")}, {"ab"}},
    {"OfNothing", {record("") + record("ab")}, {"", "ab"}},
    {"NotUntilTheLastFragment", {fragment("abcd")}, {}},
    {"NotUntilTheLastByte", {record("abcd").substr(0, 7)}, {}},
    {"NotOfHalfAMark", {record("abcd") + record("efgh").substr(0, 3)}, {"abcd"}},
    {"OfTheGreatestLength", {record(kLong) + record("ab")}, {kLong, "ab"}},
    {"OfTheGreatestLengthInFragments", {fragment(kLong) + record("")}, {kLong}},
    {"NoneBehindOneThatIsTooLong", {record("a"), items({0x80100001}), record("ab")}, {"a"}, true},
    {"NoneWhoseFragmentsAreTooLong", {fragment("a") + items({0x80100000})}, {}, true},
    {"NoneOfAFragmentThatIsTooLong", {items({0x7FFFFFFF})}, {}, true},
};

INSTANTIATE_TEST_SUITE_P(All, Records, testing::ValuesIn(kRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(RecordReader, theSameRecordsComeOfAnyTwoCuts) {
    const std::string stream = record("abcd") + fragment("e") + fragment("") + record("fgh") + record("") +
                               fragment("ijklm") + record("n");
    const std::vector<std::string> records{"abcd", "efgh", "", "ijklmn"};
    for (std::size_t first = 0; first <= stream.size(); ++first) {
        for (std::size_t second = first; second <= stream.size(); ++second) {
            Reading reading;
            reading.give(stream.substr(0, first));
            reading.give(stream.substr(first, second - first));
            reading.give(stream.substr(second));
            ASSERT_EQ(reading.records, records) << first << ", " << second;
        }
    }
}

TEST(RecordReader, memoryIsHeldForWhatHasComeAndNoLonger) {
    Reading reading;
    reading.give(record("abcd") + items({0x80000000 | (1U << 20U)}));
    EXPECT_EQ(reading.reader.held(), 0U) << "none for what is announced only";
    reading.give(std::string(5000, 'a'));
    EXPECT_GE(reading.reader.held(), 5000U);
    EXPECT_LE(reading.reader.held(), 16384U);
    reading.give(std::string((1U << 20U) - 5000, 'a'));
    ASSERT_EQ(reading.records.size(), 2U);
    EXPECT_EQ(reading.reader.held(), 0U);

    // A record that was gathered stays until it is given back, without a further look at the stream.
    RecordReader reader;
    const std::string fragments = fragment("ab") + record("cd");
    std::span<const char> input(fragments);
    const auto found = reader.next(input);
    ASSERT_TRUE(found);
    EXPECT_EQ(std::string_view(found->data(), found->size()), "abcd");
    reader.release();
    EXPECT_EQ(reader.held(), 0U);
}

}  // namespace
