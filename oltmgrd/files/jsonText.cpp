#include "oltmgrd/files/jsonText.h"

#include <set>
#include <vector>

namespace oltmgrd {
namespace {

/// Walks over a text without building anything and throws at the first thing that is wrong with it.
class Checker : public nlohmann::json_sax<Json> {
public:
    explicit Checker(const JsonLimits& limits) : limits_(limits) {}

    bool null() override { return value(); }
    bool boolean(bool) override { return value(); }
    bool number_integer(number_integer_t) override { return value(); }
    bool number_unsigned(number_unsigned_t) override { return value(); }
    bool number_float(number_float_t, const string_t&) override { return value(); }
    bool string(string_t&) override { return value(); }
    bool binary(binary_t&) override { return value(); }

    bool start_object(std::size_t) override { return open({.array = false}); }
    bool start_array(std::size_t) override { return open({.array = true}); }
    bool end_object() override { return close(); }
    bool end_array() override { return close(); }

    bool key(string_t& name) override {
        Level& level = levels_.back();
        if (!level.members.insert(name).second) {
            throw JsonError(jsonPointer(pointerOf(levels_.size() - 1), name), "appears twice");
        }
        if (level.members.size() > limits_.members) {
            throw JsonError(pointerOf(levels_.size() - 1),
                            "an object has at most " + std::to_string(limits_.members) + " members");
        }
        level.member = name;
        level.inMember = true;
        return true;
    }

    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception& error) override {
        // "[json.exception.parse_error.101] parse error at line 1, column 3: ..."
        const std::string text = error.what();
        const std::size_t end = text.find("] ");
        throw JsonError(pointerOf(levels_.size()), end == std::string::npos ? text : text.substr(end + 2));
    }

private:
    struct Level {
        bool array = false;
        std::size_t index = 0;  // of the element that is being read
        std::string member{};   // likewise
        bool inMember = false;  // after the member's name, before the end of its value
        std::set<std::string> members{};
    };

    bool value() {
        if (!levels_.empty()) {
            ++levels_.back().index;
            levels_.back().inMember = false;
        }
        return true;
    }

    bool open(Level level) {
        if (levels_.size() == limits_.depth) {
            throw JsonError(pointerOf(levels_.size()),
                            "nested more than " + std::to_string(limits_.depth) + " levels deep");
        }
        levels_.push_back(std::move(level));
        return true;
    }

    bool close() {
        levels_.pop_back();
        return value();
    }

    std::string pointerOf(std::size_t depth) const {
        std::string pointer;
        for (std::size_t i = 0; i < depth; ++i) {
            const Level& level = levels_[i];
            if (level.array) {
                pointer = jsonPointer(pointer, level.index);
            } else if (level.inMember) {
                pointer = jsonPointer(pointer, level.member);
            }
        }
        return pointer;
    }

    JsonLimits limits_;
    std::vector<Level> levels_;
};

}  // namespace

Json parseJson(std::string_view text, const JsonLimits& limits) {
    Checker checker(limits);
    Json::sax_parse(text, &checker, nlohmann::detail::input_format_t::json, true, limits.comments);
    return Json::parse(text, nullptr, true, limits.comments);
}

std::string jsonLine(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string jsonPointer(const std::string& pointer, std::string_view member) {
    std::string result = pointer + '/';
    for (const char c : member) {
        if (c == '~') {
            result += "~0";
        } else if (c == '/') {
            result += "~1";
        } else {
            result += c;
        }
    }
    return result;
}

std::string jsonPointer(const std::string& pointer, std::size_t index) {
    return pointer + '/' + std::to_string(index);
}

}  // namespace oltmgrd
