#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>

namespace oltmgrd {

using Json = nlohmann::ordered_json;

/// A JSON text is not what it should be: where, as a JSON pointer (RFC 6901), and why.
class JsonError : public std::runtime_error {
public:
    JsonError(const std::string& pointer, const std::string& reason)
        : std::runtime_error((pointer.empty() ? "top level" : pointer) + ": " + reason) {}
};

/// What a JSON text may be made of. The bounds keep hostile texts from costing more than their length.
struct JsonLimits {
    bool comments = false;       ///< whether /* */ and // comments are skipped
    std::size_t depth = 16;      ///< arrays and objects inside each other
    std::size_t members = 1024;  ///< of one object
};

/// Reads a whole text. Throws `JsonError` for broken JSON, for a text past the limits and for an object that
/// has a member twice.
Json parseJson(std::string_view text, const JsonLimits& limits);

/// `json` on one line; bytes that are no UTF-8 are replaced.
std::string jsonLine(const Json& json);

/// `pointer` with one more step.
std::string jsonPointer(const std::string& pointer, std::string_view member);
std::string jsonPointer(const std::string& pointer, std::size_t index);

}  // namespace oltmgrd
