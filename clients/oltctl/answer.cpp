#include "clients/oltctl/answer.h"

#include <algorithm>
#include <iostream>
#include <limits>
#include <nlohmann/json.hpp>
#include <sstream>
#include <tuple>
#include <utility>
#include <vector>

#include "clients/oltctl/explanation.h"
#include "common/errors.h"
#include "common/name.h"
#include "common/refusal.h"
#include "common/table.h"
#include "common/terminal.h"
#include "common/text.h"
#include "common/vlanList.h"

namespace oltctl {
namespace {

using Fields = std::vector<std::pair<std::string, std::string>>;

bool isRecord(const Json& value) {
    return value.is_object() && !common::nameFromJson(value);
}

bool isRecordList(const Json& value) {
    return value.is_array() && !value.empty() && std::all_of(value.begin(), value.end(), isRecord);
}

/// Whether a field's list of numbers reads better in ranges: they can be thousands.
bool isShownInRanges(const std::string& key, const Json& value) {
    constexpr std::uint32_t kLargest = std::numeric_limits<common::VlanList::value_type>::max();
    return (key == "cVlan" || key == "onus") &&
           std::all_of(value.begin(), value.end(), [](const Json& element) {
               return element.is_number_unsigned() && element.get<std::uint64_t>() <= kLargest;
           });
}

std::string cell(const std::string& key, const Json& value) {
    if (const auto name = common::nameFromJson(value)) {
        return common::printable(*name);
    }
    if (value.is_null()) {
        return "-";
    }
    if (value.is_boolean()) {
        return value.get<bool>() ? "yes" : "no";
    }
    if (!value.is_array()) {
        return value.dump();
    }
    if (value.empty()) {
        return "-";
    }
    if (isShownInRanges(key, value)) {
        return common::formatVlans(value.get<common::VlanList>());
    }
    std::string text;
    for (const Json& element : value) {
        text += text.empty() ? "" : " ";
        text += cell(key, isRecord(element) && element.contains("name") ? element["name"] : element);
    }
    return text;
}

void printRecords(std::ostream& out, const Json& records) {
    std::vector<std::string> keys;
    for (const Json& record : records) {
        for (const auto& [key, value] : record.items()) {
            if (std::find(keys.begin(), keys.end(), key) == keys.end()) {
                keys.push_back(key);
            }
        }
    }
    std::vector<common::Table::Column> columns;
    for (const std::string& key : keys) {
        const bool numbers = std::all_of(records.begin(), records.end(), [&](const Json& record) {
            return !record.contains(key) || record[key].is_number() || record[key].is_null();
        });
        columns.push_back(
            {common::printable(key), numbers ? common::Table::Align::right : common::Table::Align::left});
    }
    common::Table table(columns);
    for (const Json& record : records) {
        std::vector<std::string> cells;
        for (const std::string& key : keys) {
            cells.push_back(record.contains(key) ? cell(key, record[key]) : "");
        }
        table.add(cells);
    }
    table.print(out);
}

Fields fieldsOf(const Json& record) {
    Fields fields;
    for (const auto& [key, value] : record.items()) {
        fields.emplace_back(common::printable(key), cell(key, value));
    }
    return fields;
}

Json parsedAnswer(const std::string& line) {
    Json answer = Json::parse(line, nullptr, false);
    if (!answer.is_object() || !answer.contains("result") || !answer["result"].is_number_integer()) {
        throw common::NoAnswer(
            "what answers on the control path does not speak the control protocol of oltmgrd");
    }
    return answer;
}

std::string textOf(const Json& object, const char* key) {
    return object.contains(key) && object[key].is_string() ? object[key].get<std::string>() : std::string();
}

/// The first line, and the others in one: documents hold no tables, and lines of these are indented.
std::pair<std::string, std::string> textAndHint(const std::string& text) {
    std::istringstream lines(text);
    std::string first, line, hint;
    std::getline(lines, first);
    while (std::getline(lines, line)) {
        if (!line.starts_with(' ')) {
            hint += (hint.empty() ? "" : "; ") + line;
        }
    }
    return {first, hint};
}

/// The names of the channel's own results.
const char* channelResultName(const Json& result) {
    if (result == 0) {
        return "failed";  // it was begun, and part of it could not be done
    }
    if (result == 1) {
        return "refused";
    }
    return result == 2 ? "unknownCommand" : "result";
}

}  // namespace

std::string joinedAnswer(const std::vector<std::string>& lines) {
    if (lines.size() == 1) {
        return lines.front();
    }
    Json joined = parsedAnswer(lines.front());
    for (const std::string& line : lines) {
        const Json answer = parsedAnswer(line);
        if (answer["result"] != 0) {
            return line;
        }
        joined["arguments"].update(answer.at("arguments"));
    }
    return joined.dump();
}

std::string messageAnswer(const std::string& line, const std::string& message) {
    // It is carried out without a word.
    constexpr std::string_view kSilent = "onuQosOMApiDebug";
    const Json answer = parsedAnswer(line);
    if (message == kSilent || answer["result"] != 0 || answer.at("arguments").at("reply") != "") {
        return line;
    }
    return Json{{"result", common::kRefused},
                {"text", "message " + common::inQuotes(message) +
                             ": no entity replied; it is none that they know, or the platform lock was not "
                             "obtained"},
                {"arguments", answer.at("arguments")}}
        .dump();
}

std::string refusalText(const Json& answer) {
    const std::string text = textOf(answer, "text");
    if (answer["result"] != 0) {
        return text.empty() ? "result " + answer["result"].dump() : text;
    }
    const Json arguments = answer.value("arguments", Json::object());
    if (arguments.is_object() && arguments.contains("res") && arguments["res"] != 0) {
        return textOf(arguments, "resName") + " (" + arguments["res"].dump() + ")" +
               explanationText(arguments);
    }
    if (isBoundOtherwise(arguments)) {
        return explanationText(arguments);
    }
    if (arguments.is_object() && arguments.contains("ok") && arguments["ok"] == false) {
        return text.empty() ? "not carried out; the log of oltmgrd says why" : text;
    }
    return "";
}

void printAnswer(std::ostream& out, const Json& answer) {
    const Json arguments = answer.value("arguments", Json::object());
    Fields fields;
    std::vector<std::pair<std::string, Json>> sections;
    for (const auto& [key, value] : arguments.items()) {
        if (isRecord(value) || isRecordList(value)) {
            sections.emplace_back(key, value);
        } else {
            fields.emplace_back(common::printable(key), cell(key, value));
        }
    }
    if (fields.empty() && sections.empty()) {
        const std::string text =
            answer.contains("text") && answer["text"].is_string() ? answer["text"] : Json("");
        out << (text.empty() ? "done" : common::printable(text)) << '\n';
        return;
    }
    common::printFields(out, fields);
    const bool headings = sections.size() > 1 || !fields.empty();
    bool separated = fields.empty();
    for (const auto& [key, value] : sections) {
        if (!std::exchange(separated, false)) {
            out << '\n';
        }
        if (headings) {
            out << common::printable(key) << ":\n";
        }
        if (value.is_array()) {
            printRecords(out, value);
        } else {
            common::printFields(out, fieldsOf(value));
        }
    }
}

void printReply(std::ostream& out, const Json& answer) {
    const Json arguments = answer.value("arguments", Json::object());
    if (!arguments.is_object() || !arguments.contains("reply")) {
        printAnswer(out, answer);
        return;
    }
    out << common::nameFromJson(arguments["reply"]).value_or(arguments["reply"].dump());
}

Json refusalDocument(const Json& answer, const std::string& words) {
    Json arguments = answer.value("arguments", Json::object());
    const bool fromTheModule = answer["result"] == 0 && arguments.is_object() && arguments.contains("res") &&
                               arguments["res"].is_number_integer();
    const std::string text = textOf(answer, "text");
    common::Refusal refusal;
    refusal.result = (fromTheModule ? arguments["res"] : answer["result"]).get<std::int64_t>();
    refusal.resultName = fromTheModule ? textOf(arguments, "resName") : channelResultName(answer["result"]);
    refusal.request = words;
    std::tie(refusal.text, refusal.hint) = textAndHint(text.empty() ? refusalText(answer) : text);
    Json document = common::refusalToJson(refusal);
    if (arguments.is_object() && arguments.contains("explanation")) {
        document["explanation"] = std::move(arguments["explanation"]);
        arguments.erase("explanation");
    }
    if (!arguments.empty()) {
        document["arguments"] = std::move(arguments);
    }
    return document;
}

int report(const std::string& line, const std::string& words, Print print, common::Format format) {
    const Json answer = parsedAnswer(line);
    const std::string refusal = refusalText(answer);
    const std::string warning =
        refusal.empty() ? warningText(answer.value("arguments", Json::object())) : std::string();
    if (format == common::Format::json) {
        std::cout << common::jsonForOutput(refusal.empty() ? answer : refusalDocument(answer, words)) << '\n';
    } else if (refusal.empty()) {
        Json shown = answer;
        if (!warning.empty()) {
            shown["arguments"].erase("warning");
        }
        print(std::cout, shown);
    }
    std::cout.flush();
    if (refusal.empty()) {
        if (!warning.empty()) {
            std::cerr << "oltctl: warning: " << warning << '\n';
        }
        return common::kCarriedOut;
    }
    // What oltmgrd itself refuses, it says in whole sentences.
    const bool fromTheModule = answer["result"] == 0;
    std::cerr << "oltctl: " << (fromTheModule ? words + ": " : "") << refusal << '\n';
    return common::kRefused;
}

}  // namespace oltctl
