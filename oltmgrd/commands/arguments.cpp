#include "oltmgrd/commands/arguments.h"

#include <array>
#include <limits>

#include "common/name.h"
#include "oltmgrd/files/jsonFields.h"

namespace oltmgrd {
namespace {

constexpr const char* kPointer = "/arguments";

template <typename Integer>
void checkInteger(const Json& value, const std::string& pointer) {
    JsonFields::integerIn(value, pointer, std::numeric_limits<Integer>::min(),
                          std::numeric_limits<Integer>::max());
}

template <typename Integer>
void checkIntegerOrNothing(const Json& value, const std::string& pointer) {
    if (!value.is_null()) {
        checkInteger<Integer>(value, pointer);
    }
}

void checkBoolean(const Json& value, const std::string& pointer) {
    if (!value.is_boolean()) {
        throw JsonError(pointer, "must be true or false");
    }
}

void checkName(const Json& value, const std::string& pointer) {
    JsonFields::nameIn(value, pointer);
}

void checkNameOrNothing(const Json& value, const std::string& pointer) {
    if (!value.is_null()) {
        checkName(value, pointer);
    }
}

void checkText(const Json& value, const std::string& pointer) {
    if (!value.is_string()) {
        throw JsonError(pointer, "must be a string");
    }
}

using Check = void (*)(const Json& value, const std::string& pointer);

/// In the order of `common::commands::Kind`.
constexpr std::array<Check, 10> kChecks{checkInteger<std::uint32_t>,
                                        checkInteger<std::int32_t>,
                                        checkInteger<std::int16_t>,
                                        checkBoolean,
                                        checkName,
                                        checkName,
                                        checkIntegerOrNothing<std::uint32_t>,
                                        checkIntegerOrNothing<std::int32_t>,
                                        checkNameOrNothing,
                                        checkText};

}  // namespace

Arguments::Arguments(const common::commands::Row& row, const Json& json) {
    JsonFields fields(json, kPointer);
    for (const common::commands::Argument& argument : row.arguments) {
        const Json* value =
            argument.required() ? &fields.required(argument.name) : fields.find(argument.name);
        Json& stored = values_[std::string(argument.name)] =
            value == nullptr ? Json::parse(argument.fallback) : *value;
        kChecks.at(static_cast<std::size_t>(argument.kind))(stored, fields.pointer(argument.name));
    }
    fields.finish();
}

std::string Arguments::name(std::string_view name) const {
    return common::nameFromJson(at(name)).value();
}

std::string Arguments::pointer(std::string_view name) {
    return jsonPointer(kPointer, name);
}

const Json& Arguments::at(std::string_view name) const {
    return values_.at(std::string(name));
}

}  // namespace oltmgrd
