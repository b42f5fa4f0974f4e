#include "oltmgrd/files/jsonFields.h"

#include <algorithm>

#include "common/name.h"

namespace oltmgrd {

JsonFields::JsonFields(const Json& json, std::string pointer) : json_(json), pointer_(std::move(pointer)) {
    if (!json.is_object()) {
        throw JsonError(pointer_, "must be an object");
    }
}

const Json* JsonFields::find(std::string_view member) {
    known_.push_back(member);
    const auto found = json_.find(member);
    return found == json_.end() ? nullptr : &*found;
}

const Json& JsonFields::required(std::string_view member) {
    const Json* value = find(member);
    if (value == nullptr) {
        throw JsonError(pointer_, "\"" + std::string(member) + "\" is missing");
    }
    return *value;
}

std::int64_t JsonFields::integerIn(const Json& json, const std::string& pointer, std::int64_t least,
                                   std::int64_t most) {
    const bool fits = json.is_number_unsigned()
                          ? json.get<std::uint64_t>() <= static_cast<std::uint64_t>(most) &&
                                static_cast<std::int64_t>(json.get<std::uint64_t>()) >= least
                          : json.is_number_integer() && json.get<std::int64_t>() >= least &&
                                json.get<std::int64_t>() <= most;
    if (!fits) {
        throw JsonError(pointer,
                        "must be an integer from " + std::to_string(least) + " to " + std::to_string(most));
    }
    return json.get<std::int64_t>();
}

std::string JsonFields::nameIn(const Json& json, const std::string& pointer) {
    auto name = common::nameFromJson(json);
    if (!name) {
        throw JsonError(pointer, "must be a name: a string, or {\"base64\": \"...\"}");
    }
    if (name->find('\0') != std::string::npos) {
        throw JsonError(pointer, "a name cannot hold a NUL byte");
    }
    return *std::move(name);
}

bool JsonFields::boolean(std::string_view member) {
    const Json& value = required(member);
    if (!value.is_boolean()) {
        fail(member, "must be true or false");
    }
    return value.get<bool>();
}

bool JsonFields::booleanOr(std::string_view member, bool fallback) {
    return json_.contains(member) ? boolean(member) : (find(member), fallback);
}

std::string JsonFields::name(std::string_view member) {
    return nameIn(required(member), pointer(member));
}

std::string JsonFields::nameOr(std::string_view member, const std::string& fallback) {
    const Json* value = find(member);
    return value == nullptr ? fallback : nameIn(*value, pointer(member));
}

std::vector<std::pair<const Json*, std::string>> JsonFields::elementsOr(std::string_view member) {
    std::vector<std::pair<const Json*, std::string>> elements;
    const Json* array = find(member);
    if (array == nullptr) {
        return elements;
    }
    if (!array->is_array()) {
        fail(member, "must be an array");
    }
    const std::string base = pointer(member);
    elements.reserve(array->size());
    for (const Json& element : *array) {
        elements.emplace_back(&element, jsonPointer(base, elements.size()));
    }
    return elements;
}

void JsonFields::fail(std::string_view member, const std::string& reason) const {
    throw JsonError(pointer(member), reason);
}

void JsonFields::finish() const {
    std::vector<std::string> unknown;
    for (const auto& [member, value] : json_.items()) {
        if (std::ranges::find(known_, member) == known_.end()) {
            unknown.push_back(member);
        }
    }
    if (unknown.empty()) {
        return;
    }
    std::string reason = "is not known here";
    for (std::size_t at = 1; at < unknown.size(); ++at) {
        reason += (at == 1 ? ", nor is " : ", ") + pointer(unknown[at]);
    }
    fail(unknown.front(), reason);
}

}  // namespace oltmgrd
