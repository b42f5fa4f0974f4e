#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "rte/BLL/core/pageBuffer.h"

namespace rte {

/// Takes the records of a connection out of its bytes (RFC 5531, section 11): a record is one fragment or
/// more, of any length, each after a mark of four bytes, and arrives in pieces of any size. Reserves memory
/// only for bytes that have come, and none for a record that lies whole in what it is given.
class RecordReader {
public:
    /// The longest record, bytes, marks not counted.
    static constexpr std::size_t kRecordMax = std::size_t{1} << 20U;

    /// Takes bytes off the front of `input`, up to the end of the next record, and returns that record, which
    /// lies on an address divisible by four. It stays valid until `next` or `release` is called, or the bytes
    /// of `input` are changed. Nothing when `input` ended first, all of which is taken then, or when the
    /// reader has failed.
    std::optional<std::span<const char>> next(std::span<const char>& input);

    /// Gives back the memory of the record that `next` returned last.
    void release();

    /// A record was too long, or there was no memory for it: what follows in the stream is lost.
    bool hasFailed() const { return failed_; }

    /// Memory of the record that is being gathered, bytes.
    std::size_t held() const { return gathered_.held(); }

private:
    bool takeMark(std::span<const char>& input);

    PageBuffer gathered_;
    std::array<char, 4> mark_{};
    std::size_t markSize_ = 0;  ///< bytes of the mark that have come
    std::size_t left_ = 0;      ///< bytes of the fragment that are to come
    bool inFragment_ = false;
    bool isLast_ = false;
    bool returned_ = false;  ///< what is gathered is the record that was returned last
    bool failed_ = false;
};

}  // namespace rte
