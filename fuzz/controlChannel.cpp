// The control channel: an input is what a connection sends, a request a line. Each goes the way that the
// session of a connection takes, from the text through the table of commands and the handlers to the line
// that answers.

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include "check.h"
#include "olt.h"
#include "oltmgrd/control/commands.h"
#include "oneFile.h"
#include "standin/faults.h"

namespace fuzz {
namespace {

using oltmgrd::Json;

/// Requires that the file is read back as it was written.
void requireLoads() {
    require(configurationText(oltmgrd::loadConfiguration("onuqos.json")) == theFile(),
            "a saved configuration is read back as it was");
}

void requireAnswer(const std::string& line) {
    require(line.find('\n') == std::string::npos, "an answer is one line");
    const Json answer = Json::parse(line, nullptr, false);
    require(answer.is_object() && answer.size() == 3 && answer.contains("result") &&
                answer.contains("text") && answer.contains("arguments"),
            "an answer is an object of result, text and arguments");
    const Json& result = answer["result"];
    require(result.is_number_integer() && result >= 0 && result <= 2, "a result is 0, 1 or 2");
    require(answer["text"].is_string() && answer["arguments"].is_object(), "text and arguments are such");
    require(result == 0 || (!answer["text"].empty() && answer["arguments"].empty()),
            "a refusal says why and nothing else");
}

class Connection {
public:
    Connection() {
        // It only looks for a portmapper: without being started it serves nobody.
        static oltmgrd::RpcServer kRpc(host(), [](const std::string& /*line*/) {});
        Olt::instance().startWithProfiles();
        context_.module = &interface_;
        context_.services = &services_;
        context_.configuration = &configuration_;
        context_.rpc = &kRpc;
    }

    void take(const std::string& line) {
        const oltmgrd::Request request = commands_.read(line);
        if (request.command != nullptr && request.command->row->name == "shutdown") {
            return;  // would end the fuzzer
        }
        theFile().reset();
        requireAnswer(commands_.answer(request));
        if (theFile()) {
            requireLoads();
        }
    }

    void end() {
        standin::faults::clearAll();
        Olt::instance().tables();
        configuration_.save("", true);
        requireLoads();
    }

private:
    const onuQosClassInterface& interface_ = *onuQosClassInterfaceGet();
    oltmgrd::ServiceSide services_{interface_, host()};
    oltmgrd::ConfigurationStore configuration_{interface_, services_, host(), "onuqos.json"};
    oltmgrd::CommandContext context_{.host = &host()};
    oltmgrd::CommandTable commands_{context_};
};

}  // namespace
}  // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Connection connection;
    std::string_view input(reinterpret_cast<const char*>(data), size);
    while (!input.empty()) {
        const std::string_view line = input.substr(0, input.find('\n'));
        connection.take(std::string(line));
        input.remove_prefix(std::min(line.size() + 1, input.size()));
    }
    connection.end();
    return 0;
}
