#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "oltmgrd/files/jsonText.h"

namespace oltmgrd {

/// Reads the members of a JSON object one by one. Everything throws `JsonError` for a value that is not as it
/// should be; the operations without a fallback also for a member that is missing.
class JsonFields {
public:
    /// Throws when `json` is no object. Both must outlive this.
    JsonFields(const Json& json, std::string pointer);

    template <typename Integer>
    Integer integer(std::string_view member, Integer least = std::numeric_limits<Integer>::min(),
                    Integer most = std::numeric_limits<Integer>::max()) {
        return static_cast<Integer>(integerIn(required(member), pointer(member), least, most));
    }

    template <typename Integer>
    Integer integerOr(std::string_view member, Integer fallback,
                      Integer least = std::numeric_limits<Integer>::min(),
                      Integer most = std::numeric_limits<Integer>::max()) {
        const Json* value = find(member);
        return value == nullptr ? fallback
                                : static_cast<Integer>(integerIn(*value, pointer(member), least, most));
    }

    bool boolean(std::string_view member);
    bool booleanOr(std::string_view member, bool fallback);

    /// A name: a string, or {"base64": "..."}.
    std::string name(std::string_view member);
    std::string nameOr(std::string_view member, const std::string& fallback);

    /// The elements of an array; none when it is missing.
    std::vector<std::pair<const Json*, std::string>> elementsOr(std::string_view member);

    /// The value as it stands; null when it is missing. Either way the member is known from now on.
    const Json* find(std::string_view member);
    const Json& required(std::string_view member);

    std::string pointer(std::string_view member) const { return jsonPointer(pointer_, member); }
    [[noreturn]] void fail(std::string_view member, const std::string& reason) const;

    /// Throws when the object has members that nothing asked for; names all of them, in their order.
    void finish() const;

    /// `json` as an integer within the bounds.
    static std::int64_t integerIn(const Json& json, const std::string& pointer, std::int64_t least,
                                  std::int64_t most);
    static std::string nameIn(const Json& json, const std::string& pointer);

private:
    const Json& json_;
    std::string pointer_;
    std::vector<std::string_view> known_;
};

}  // namespace oltmgrd
