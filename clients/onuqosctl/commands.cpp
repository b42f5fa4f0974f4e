#include "commands.h"

#include <ostream>

#include "name.h"

namespace onuqosctl {

CLI::Option* addName(CLI::App& command, const std::string& placeholder, std::string& name,
                     const std::string& help) {
    command.footer(clients::kNameHelp);
    return command.add_option(placeholder, name, help)->required()->type_name("");
}

void printJson(std::ostream& out, const Json& document) {
    out << document.dump(2) << '\n';
}

void printDone(Session& session, Family family, const std::string& text, const Json& details) {
    if (!session.json()) {
        session.out << text << '\n';
        return;
    }
    Json document = {{"result", 0}, {"resultName", resultName(family, 0)}};
    document.update(details);
    printJson(session.out, document);
}

Json refusalToJson(const Refusal& refusal) {
    return {{"result", refusal.result},
            {"resultName", resultName(refusal.family, refusal.result)},
            {"request", refusal.request},
            {"text", resultMeaning(refusal.family, refusal.result)},
            {"hint", refusal.hint}};
}

}  // namespace onuqosctl
