#include "clients/oltctl/explanation.h"

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string_view>

#include "common/name.h"
#include "common/table.h"
#include "common/text.h"

namespace oltctl {
namespace {

using Json = nlohmann::ordered_json;

std::string number(const Json& value) {
    return value.is_null() ? "-" : value.dump();
}

std::string name(const Json& value) {
    const auto bytes = common::nameFromJson(value);
    return bytes ? common::printable(*bytes) : value.dump();
}

std::string quoted(const Json& value) {
    return '"' + name(value) + '"';
}

/// "getAvailableBandwith answered 1", or "sharedLock failed" where there is no answer.
std::string failedStep(const Json& explanation) {
    const std::string step = explanation.at("step").get<std::string>();
    const Json answer = explanation.value("answer", Json());
    return step + (answer.is_null() ? " failed" : " answered " + answer.dump());
}

// The sentences, by reason.

std::string lock(const Json&) {
    return "the platform lock was not obtained; try again";
}

std::string wrongInterface(const Json& explanation) {
    constexpr int kPort = 3;
    constexpr int kOnu = 4;
    const std::string interface = "interface " + number(explanation.at("interface"));
    const Json& state = explanation.at("interfaceState");
    if (explanation.contains("answer")) {
        return interface + " could not be looked up: " + failedStep(explanation);
    }
    const Json& type = state.at("type");
    if (type.is_null()) {
        return interface + " is unknown to the platform; services are bound on ONUs";
    }
    if (type == kOnu) {
        return interface + " is an ONU of which the module has no records; its log says why";
    }
    return interface + " is of type " + number(type) + (type == kPort ? ", a PON port" : "") +
           "; services are bound on ONUs";
}

std::string flowProfileNotFound(const Json& explanation) {
    return "there is no flow profile " + quoted(explanation.at("flowProfile")) +
           "; onuqosctl flow list shows them";
}

std::string tcontProfileNotFound(const Json& explanation) {
    return "there is no T-CONT profile " + quoted(explanation.at("tcontProfile")) +
           "; onuqosctl tcont list shows them";
}

std::string duplicateVirtualPort(const Json& explanation) {
    const Json& other = explanation.at("other");
    return "virtual port " + number(other.at("virtualPort")) + " of ONU " +
           number(explanation.at("interface")) + " carries service " + quoted(other.at("service")) + " (" +
           name(other.at("flowProfile")) + ", " + name(other.at("tcontProfile")) + ")";
}

std::string duplicateFlowProfile(const Json& explanation) {
    const Json& other = explanation.at("other");
    return "flow profile " + name(other.at("flowProfile")) + " is bound to virtual port " +
           number(other.at("virtualPort")) + " by service " + quoted(other.at("service"));
}

std::string duplicateTContId(const Json& explanation) {
    const Json& other = explanation.at("other");
    std::string free;
    for (const Json& id : explanation.at("freeTcontIds")) {
        free += (free.empty() ? "" : ",") + number(id);
    }
    return "T-CONT id " + number(explanation.at("tcontId")) + " is used by profile " +
           name(other.at("tcontProfile")) + " (service " + quoted(other.at("service")) +
           "); free ids on this ONU: " + (free.empty() ? "none" : free);
}

/// "8 % of fixed rates from 256000"; empty for a rate of 0.
std::string overheadBand(const Json& admission, const char* rate) {
    if (admission.at("rate").at(rate) == 0) {
        return "";
    }
    return number(admission.at("overheadPercent").at(rate)) + " % of " + rate + " rates from " +
           number(admission.at("overheadBand").at(rate));
}

std::string overheadNote(const Json& admission) {
    const std::string fixed = overheadBand(admission, "fixed");
    const std::string assured = overheadBand(admission, "assured");
    return fixed + (fixed.empty() || assured.empty() ? "" : ", ") + assured + ", rounded up to 64";
}

std::string demandTable(const Json& admission) {
    using Align = common::Table::Align;
    const auto sum = [](const Json& pair) {
        return std::to_string(pair.at("fixed").get<std::uint64_t>() +
                              pair.at("assured").get<std::uint64_t>());
    };
    const Json& rate = admission.at("rate");
    const Json& overhead = admission.at("overhead");
    const Json& demand = admission.at("demand");
    const Json& free = admission.at("free");
    const Json& missing = admission.at("missing");
    const auto assured = demand.at("total").get<std::uint64_t>() - demand.at("fixed").get<std::uint64_t>();
    common::Table table(
        {{"kbit/s"}, {"fixed", Align::right}, {"assured", Align::right}, {"total", Align::right}, {""}});
    table.add({"rate", number(rate.at("fixed")), number(rate.at("assured")), sum(rate), ""});
    table.add({"overhead", number(overhead.at("fixed")), number(overhead.at("assured")), sum(overhead),
               overheadNote(admission)});
    table.add(
        {"demand", number(demand.at("fixed")), std::to_string(assured), number(demand.at("total")), ""});
    table.add({"platform has free", number(free.at("fixed")), "-", number(free.at("total")), ""});
    table.add({"missing", number(missing.at("fixed")), "-", number(missing.at("total")),
               "the " + admission.at("binding").get<std::string>() + " limit binds"});
    std::ostringstream text;
    table.print(text);
    std::istringstream lines(text.str());
    std::string indented, line;
    while (std::getline(lines, line)) {
        indented += "\n    " + line;
    }
    return indented;
}

/// "fixed rate that fits: 1070976", of the rates that the type carries; empty where none fits.
std::string ratesText(const Json& rates) {
    const Json& fixed = rates.at("fixed");
    const Json& assured = rates.at("assured");
    if ((fixed.is_null() || fixed == 0) && (assured.is_null() || assured == 0)) {
        return "";
    }
    if (fixed.is_null()) {
        return "assured rate that fits: " + number(assured);
    }
    return assured.is_null() ? "fixed rate that fits: " + number(fixed)
                             : "rates that fit: fixed " + number(fixed) + ", assured " + number(assured);
}

std::string alarmText(const Json& admission) {
    const Json& ledger = admission.at("ledger");
    const Json& limit = admission.at("alarmAtLargest");
    if (ledger.is_null()) {
        return " (whether it would raise the over-commitment alarm is not known: the port did not tell its "
               "distances)";
    }
    if (limit.is_null()) {
        return "";
    }
    std::string text = " (would raise the over-commitment alarm: ";
    if (limit == "fixed") {
        text += number(ledger.at("minDistance")) + " to " + number(ledger.at("maxDistance")) + " km carry " +
                number(ledger.at("limitFixed")) + ", " + number(ledger.at("fixed")) + " are committed)";
    } else {
        const auto total =
            ledger.at("fixed").get<std::uint64_t>() + ledger.at("assured").get<std::uint64_t>();
        text += "the port carries " + number(ledger.at("limitTotal")) + ", " + std::to_string(total) +
                " are committed)";
    }
    const std::string without = ratesText(admission.at("largestWithoutAlarm"));
    return text + (without.empty() ? "" : "\nwithout an alarm: largest " + without);
}

bool isAbove(const Json& largest, const Json& rate) {
    return largest.is_number() && largest.get<std::uint64_t>() > rate.get<std::uint64_t>();
}

std::string admissionRefused(const Json& explanation) {
    const Json& admission = explanation.at("admission");
    const std::string port = number(admission.at("port"));
    const std::string profile =
        common::argumentForName(common::nameFromJson(explanation.at("tcontProfile")).value_or(std::string()));
    const Json& largest = admission.at("largest");
    const std::string fits = ratesText(largest);
    std::string text = "PON port " + port + " has not enough left for T-CONT profile " +
                       name(explanation.at("tcontProfile")) + demandTable(admission) + "\n";
    if (fits.empty()) {
        text += "no rate of this type of T-CONT fits";
    } else {
        text += "largest " + fits + alarmText(admission);
        if (isAbove(largest.at("fixed"), admission.at("rate").at("fixed")) ||
            isAbove(largest.at("assured"), admission.at("rate").at("assured"))) {
            text += "\nthat is more than was asked for: larger rates have a smaller share of overhead";
        }
    }
    return text + "\nsee: onuqosplan fit --tcont-profile " + profile + " --port " + port;
}

std::string admissionUnknown(const Json& explanation) {
    return "whether the port has enough left is not known, and it may have: " + failedStep(explanation);
}

std::string termPointType(const Json& explanation) {
    return "termination point type " + number(explanation.at("termPointType")) + " is none of 0, 1 and 2";
}

std::string platformFailed(const Json& explanation) {
    return "the platform refused: " + failedStep(explanation);
}

std::string accounting(const Json& explanation) {
    const Json& stands = explanation.at("stands");
    return "the binding stands; accounting failed: " + failedStep(explanation) +
           (stands.at("tcontAccounted") == true
                ? "; the port's sums hold the T-CONT but not the overhead of the ONU"
                : "; the port's sums hold nothing of it") +
           "\na restart of oltmgrd on a configuration saved now binds and accounts it anew";
}

std::string stateUpdate(const Json& explanation) {
    return "the binding stands and is accounted; the state of the port was not brought up to date: " +
           failedStep(explanation) + "\nits alarm may be wrong until the next change on the port";
}

struct Sentence {
    std::string_view reason;
    std::string (*tell)(const Json& explanation);
};

constexpr Sentence kSentences[] = {
    {"lock", lock},
    {"wrongInterface", wrongInterface},
    {"flowProfileNotFound", flowProfileNotFound},
    {"tcontProfileNotFound", tcontProfileNotFound},
    {"duplicateVirtualPort", duplicateVirtualPort},
    {"duplicateFlowProfile", duplicateFlowProfile},
    {"duplicateTContId", duplicateTContId},
    {"admissionFixed", admissionRefused},
    {"admissionTotal", admissionRefused},
    {"admissionUnknown", admissionUnknown},
    {"termPointType", termPointType},
    {"platformFailed", platformFailed},
    {"accounting", accounting},
    {"stateUpdate", stateUpdate},
};

std::string bindingText(const Json& binding) {
    std::string text = name(binding.at("flowProfile")) + ", " + name(binding.at("tcontProfile")) + ", port " +
                       number(binding.at("virtualPort"));
    if (binding.contains("termPointType")) {
        text += ", termination point " + number(binding.at("termPointType")) + "/" +
                number(binding.at("termPointId"));
    }
    return text;
}

}  // namespace

bool isBoundOtherwise(const Json& arguments) {
    return arguments.is_object() && arguments.contains("differs") && arguments["differs"] == true;
}

std::string warningText(const Json& arguments) {
    try {
        if (!arguments.is_object() || !arguments.contains("warning")) {
            return "";
        }
        const Json& warning = arguments["warning"];
        const auto maximum = warning.at("maximumRate").get<std::uint64_t>();
        const bool guaranteed = warning.at("guarRateUs").get<std::uint64_t>() > maximum;
        return "flow profile " + name(warning.at("flowProfile")) + " has a " +
               (guaranteed ? "guaranteed" : "peak") + " rate of " +
               number(warning.at(guaranteed ? "guarRateUs" : "peakRateUs")) + " kbit/s, and T-CONT profile " +
               name(warning.at("tcontProfile")) + " carries " + std::to_string(maximum) + " at most";
    } catch (const Json::exception&) {
        return "";  // of an oltmgrd that warns of something else
    }
}

std::string explanationText(const Json& arguments) {
    try {
        if (isBoundOtherwise(arguments)) {
            return "service " + quoted(arguments.at("service")) + " is bound as (" +
                   bindingText(arguments.at("alreadyBound")) +
                   "); the request differs and changed nothing\nasked for: (" +
                   bindingText(arguments.at("asked")) + ")";
        }
        if (!arguments.is_object() || !arguments.contains("explanation")) {
            return "";
        }
        const Json& explanation = arguments["explanation"];
        const auto* sentence =
            std::ranges::find(kSentences, explanation.at("reason").get<std::string>(), &Sentence::reason);
        return sentence == std::end(kSentences) ? "" : ": " + sentence->tell(explanation);
    } catch (const Json::exception&) {
        return "";  // an oltmgrd that explains otherwise; its result is printed all the same
    }
}

}  // namespace oltctl
