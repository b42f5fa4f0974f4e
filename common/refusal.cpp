#include "common/refusal.h"

#include <nlohmann/json.hpp>

#include "common/text.h"

namespace common {

nlohmann::ordered_json refusalToJson(const Refusal& refusal) {
    using Json = nlohmann::ordered_json;
    // A text may repeat what the command line gave.
    const auto text = [](const std::string& bytes) { return isUtf8(bytes) ? bytes : printableText(bytes); };
    return {{"result", refusal.result ? Json(*refusal.result) : Json()},
            {"resultName", refusal.resultName},
            {"request", text(refusal.request)},
            {"text", text(refusal.text)},
            {"hint", text(refusal.hint)}};
}

}  // namespace common
