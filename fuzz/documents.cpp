// The files that an operator edits. An input is the text of one; it is loaded as a configuration, as an
// inventory and as a plan, and what can be loaded is put to use.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "check.h"
#include "clients/onuqosplan/planFile.h"
#include "common/errors.h"
#include "olt.h"
#include "oltmgrd/configuration/store.h"
#include "oltmgrd/files/errors.h"
#include "oltmgrd/platform/standin/inventory.h"
#include "oneFile.h"

namespace fuzz {
namespace {

using oltmgrd::ConfigurationDocument;

constexpr const char* kPath = "onuqos.json";

/// What `load` makes of the file. Nothing when it refuses it, as only a bad input is refused.
template <typename Document>
std::optional<Document> loaded(Document (*load)(const std::string&)) {
    try {
        return load(kPath);
    } catch (const oltmgrd::StartError& error) {
        require(error.status() == oltmgrd::kBadInput, "a file that cannot be read is a bad input");
        require(isOneLine(error.what()), "the operator is told in one line");
        return std::nullopt;
    }
}

/// Restores a document into the empty module and saves what came of it.
oltmgrd::RestoreReport restore(const ConfigurationDocument& document) {
    const onuQosClassInterface& module = *onuQosClassInterfaceGet();
    Olt::instance().startEmpty();
    oltmgrd::ServiceSide services(module, host());
    oltmgrd::ConfigurationStore store(module, services, host(), kPath);
    store.restore(document);
    const oltmgrd::RestoreReport report = *store.restoreReport();
    require(!report.lost.empty() ||
                (report.bindings == document.bindings.size() &&
                 report.profiles >= document.tcontProfiles.size() + document.flowProfiles.size()),
            "what is not lost is restored");
    require(std::ranges::all_of(report.lost, isOneLine) && std::ranges::all_of(report.differences, isOneLine),
            "the operator is told of each entry in one line");
    Olt::requireMirrored(Olt::instance().tables());
    store.save("", true);
    require(configurationText(oltmgrd::loadConfiguration(kPath)) == theFile(),
            "a saved configuration is read back as it was");
    return report;
}

void useConfiguration(const ConfigurationDocument& document) {
    theFile() = configurationText(document);
    require(oltmgrd::loadConfiguration(kPath) == document,
            "what is read is written so that it reads the same");
    restore(document);
    const std::string first = theFile().value();
    const oltmgrd::RestoreReport second = restore(oltmgrd::loadConfiguration(kPath));
    require(second.lost.empty() && second.differences.empty() && theFile() == first,
            "a second restart changes nothing");
}

void useInventory(const oltmgrd::InventoryFile& file) {
    require(std::ranges::all_of(file.warnings, isOneLine), "a warning is one line");
    standin::configure(standinOf(file.inventory));  // takes whatever the reader lets through
}

/// A plan is read, or refused in one line.
void readPlan() {
    try {
        onuqosplan::loadPlan(kPath);
    } catch (const common::UsageError& error) {
        require(isOneLine(error.what()), "the operator is told in one line");
    }
}

}  // namespace
}  // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::theFile().emplace(reinterpret_cast<const char*>(data), size);
    const auto configuration = fuzz::loaded(oltmgrd::loadConfiguration);
    const auto inventory = fuzz::loaded(oltmgrd::loadInventory);
    fuzz::readPlan();
    if (configuration) {
        fuzz::useConfiguration(*configuration);
    }
    if (inventory) {
        fuzz::useInventory(*inventory);
    }
    return 0;
}
