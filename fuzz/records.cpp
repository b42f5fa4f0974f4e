// The reader of records: an input is the stream of a connection, cut into pieces. The first byte chooses the
// cuts. Its records are compared with those of a plain decoder that has the whole stream before it.

#include "rte/BLL/core/recordReader.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "check.h"

namespace fuzz {
namespace {

/// The records of a whole stream, and whether it goes on after them.
struct Decoded {
    std::vector<std::string> records;
    bool isBroken = false;

    explicit Decoded(std::string_view stream) {
        std::string record;
        while (stream.size() >= 4) {
            std::uint32_t mark = 0;
            for (const char byte : stream.substr(0, 4)) {
                mark = mark << 8U | static_cast<unsigned char>(byte);
            }
            const std::size_t length = mark & 0x7FFFFFFFU;
            if (record.size() + length > rte::RecordReader::kRecordMax) {
                isBroken = true;
                return;
            }
            stream.remove_prefix(4);
            record += stream.substr(0, length);
            if (stream.size() < length) {
                return;
            }
            stream.remove_prefix(length);
            if (mark >> 31U != 0) {
                records.push_back(std::exchange(record, {}));
            }
        }
    }
};

/// Takes the records out of a piece, which lies in a block of its own size and on any address.
void read(rte::RecordReader& reader, std::string_view piece, std::size_t shift,
          std::vector<std::string>& records) {
    const auto block = std::make_unique<char[]>(piece.size() + shift);
    std::ranges::copy(piece, block.get() + shift);
    std::span<const char> input(block.get() + shift, piece.size());
    while (const auto record = reader.next(input)) {
        require(reinterpret_cast<std::uintptr_t>(record->data()) % 4 == 0, "a record lies on a word");
        records.emplace_back(record->begin(), record->end());
    }
    require(input.empty() || reader.hasFailed(), "everything is taken");
}

}  // namespace
}  // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    std::uint32_t chance = data[0];
    const std::string_view stream(reinterpret_cast<const char*>(data) + 1, size - 1);
    rte::RecordReader reader;
    std::vector<std::string> records;
    for (std::string_view rest = stream; !rest.empty();) {
        chance = chance * 1664525U + 1013904223U;
        const std::size_t most = data[0] < 128 ? rest.size() : data[0];
        const std::string_view piece = rest.substr(0, 1 + (chance >> 8U) % most);
        rest.remove_prefix(piece.size());
        fuzz::read(reader, piece, chance % 4, records);
        fuzz::require(reader.held() <= stream.size() + 4096, "memory is held for bytes that have come");
    }
    const fuzz::Decoded expected(stream);
    fuzz::require(records == expected.records, "the records are those of the stream");
    fuzz::require(reader.hasFailed() == expected.isBroken, "what is too long is refused, and nothing else");
    return 0;
}
