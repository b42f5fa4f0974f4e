#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

namespace common {

/// Why a command was not carried out.
struct Refusal {
    std::optional<std::int64_t>
        result;              ///< the code of who refused; nothing when nobody was asked or answered
    std::string resultName;  ///< its name; of the client's own kUsageName, kNoAnswerName, kErrorName
    std::string request;     ///< what was asked, in words of the command line
    std::string text;
    std::string hint;  ///< what to do about it; may be empty
};

inline constexpr const char* kUsageName = "usage";
inline constexpr const char* kNoAnswerName = "noAnswer";
inline constexpr const char* kErrorName = "error";

/// The document that every client prints on standard output for a refusal when JSON is asked for. Where there
/// is more to tell, "explanation" and "arguments" follow its members. Bytes that are no UTF-8 are escaped.
nlohmann::ordered_json refusalToJson(const Refusal& refusal);

}  // namespace common
