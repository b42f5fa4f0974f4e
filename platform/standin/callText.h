#pragma once

#include <concepts>
#include <string>
#include <vector>

#include "Diagnostics.h"
#include "onuQosOMApi.h"

namespace standin {

// The text of one argument in a trace.

template <std::integral T>
std::string argumentText(T value) {
    return std::to_string(value);
}

template <typename T>
requires std::is_enum_v<T> std::string argumentText(T value) {
    return std::to_string(static_cast<int>(value));
}

std::string argumentText(bool value);
std::string argumentText(const std::string& value);
std::string argumentText(const zqOMApiInterface_s& value);
std::string argumentText(const onuQosOMApi::onuQosOMApiTContProfileInfo& value);
std::string argumentText(const onuQosOMApi::onuQosOMApiFlowProfileRule& value);
std::string argumentText(const onuQosOMApi::onuQosOMApiFlowProfileAction& value);
std::string argumentText(const onuQosOMApi::onuQosOMApiFlowProfileInfo& value);
std::string argumentText(const Diagnostics::alarmObjs& value);

template <typename T>
std::string argumentText(const std::vector<T>& values) {
    std::string text = "[";
    for (const T& value : values) {
        text += (text.size() == 1 ? "" : ", ") + argumentText(value);
    }
    return text + "]";
}

/// The texts of all arguments, separated by ", ".
template <typename... Arguments>
std::string callText(const Arguments&... arguments) {
    std::string text;
    ((text += argumentText(arguments) + ", "), ...);
    text.resize(text.size() - (sizeof...(arguments) > 0 ? 2 : 0));
    return text;
}

}  // namespace standin
