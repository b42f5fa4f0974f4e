#include "common/terminal.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <nlohmann/json.hpp>
#include <ostream>
#include <stdexcept>
#include <streambuf>

#include "common/text.h"

namespace common {

class PrintableOutput::Buffer : public std::streambuf {
public:
    explicit Buffer(std::streambuf& to) : to_(to) {}

protected:
    int_type overflow(int_type byte) override {
        if (!traits_type::eq_int_type(byte, traits_type::eof())) {
            held_ += traits_type::to_char_type(byte);
        }
        return traits_type::not_eof(byte);
    }

    std::streamsize xsputn(const char* bytes, std::streamsize count) override {
        held_.append(bytes, static_cast<std::size_t>(count));
        return count;
    }

    int sync() override {
        const std::string text = printableText(held_);
        held_.clear();
        const auto size = static_cast<std::streamsize>(text.size());
        return to_.sputn(text.data(), size) == size ? to_.pubsync() : -1;
    }

private:
    std::streambuf& to_;
    std::string held_;
};

PrintableOutput::PrintableOutput(std::ostream& stream, int descriptor) : stream_(stream) {
    if (::isatty(descriptor) == 1) {
        buffer_ = std::make_unique<Buffer>(*stream.rdbuf());
        before_ = stream.rdbuf(buffer_.get());
    }
}

PrintableOutput::~PrintableOutput() {
    if (buffer_) {
        stream_.flush();
        stream_.rdbuf(before_);
    }
}

void writeOwn(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(descriptor, text.data(), text.size());
        if (written < 0 && errno != EINTR) {
            throw std::runtime_error("the output cannot be written: " + std::string(std::strerror(errno)));
        }
        text.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
}

std::string jsonForOutput(const nlohmann::ordered_json& document, int indent) {
    return document.dump(indent, ' ', ::isatty(STDOUT_FILENO) == 1);
}

}  // namespace common
