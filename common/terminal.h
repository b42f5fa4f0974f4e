#pragma once

#include <iosfwd>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

namespace common {

/// Keeps what a terminal would obey away from it: while the object lives, what is written to the stream is
/// printable if its descriptor is a terminal (printableText). Elsewhere every byte stays as it is.
class PrintableOutput {
public:
    PrintableOutput(std::ostream& stream, int descriptor);
    ~PrintableOutput();
    PrintableOutput(const PrintableOutput&) = delete;
    PrintableOutput& operator=(const PrintableOutput&) = delete;

private:
    class Buffer;

    std::ostream& stream_;
    std::unique_ptr<Buffer> buffer_;  // null: the stream is left alone
    std::streambuf* before_ = nullptr;
};

/// Writes a text that the program made itself, escape sequences included, past what keeps those of others
/// from a terminal. Throws std::runtime_error when it cannot be written.
void writeOwn(int descriptor, std::string_view text);

/// A document as it is printed on standard output: for a terminal in ASCII.
std::string jsonForOutput(const nlohmann::ordered_json& document, int indent = 2);

}  // namespace common
