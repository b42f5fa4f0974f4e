#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "common/commands/rows.h"
#include "oltmgrd/files/jsonText.h"

namespace oltmgrd {

/// A command cannot be carried out. The text is one line that says why.
class CommandError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The arguments of a request, checked against the row of its command and complete.
class Arguments {
public:
    /// Throws `JsonError` for an argument that is unknown, missing or of the wrong kind.
    Arguments(const common::commands::Row& row, const Json& json);

    std::uint32_t number(std::string_view name) const { return at(name).get<std::uint32_t>(); }
    std::int32_t integer(std::string_view name) const { return at(name).get<std::int32_t>(); }
    bool boolean(std::string_view name) const { return at(name).get<bool>(); }
    std::string name(std::string_view name) const;
    std::string text(std::string_view name) const { return at(name).get<std::string>(); }
    /// Nothing for null, which also stands for an argument that was left out where that is its default.
    std::optional<std::uint32_t> numberIfGiven(std::string_view name) const {
        return isNothing(name) ? std::nullopt : std::optional(number(name));
    }
    std::optional<std::string> nameIfGiven(std::string_view name) const {
        return isNothing(name) ? std::nullopt : std::optional(this->name(name));
    }
    bool isNothing(std::string_view name) const { return at(name).is_null(); }

    /// Where an argument is in the request, for messages about it.
    static std::string pointer(std::string_view name);

private:
    const Json& at(std::string_view name) const;

    Json values_ = Json::object();
};

/// An answer's members besides "result", which is 0.
struct Answer {
    std::string text;
    Json arguments = Json::object();
};

}  // namespace oltmgrd
