#include "oltmgrd/configuration/store.h"

#include <filesystem>
#include <utility>

#include "oltmgrd/configuration/snapshot.h"
#include "oltmgrd/files/errors.h"

namespace oltmgrd {
namespace {

bool isSameFile(const std::string& one, const std::string& other) {
    std::error_code error;
    return one == other || std::filesystem::equivalent(one, other, error);
}

}  // namespace

ConfigurationStore::ConfigurationStore(const onuQosClassInterface& module, ServiceSide& services, Host& host,
                                       std::string file)
    : module_(module), services_(services), host_(host), file_(std::move(file)) {}

bool ConfigurationStore::applyStart() {
    return host_.configurationApplyStart();
}

bool ConfigurationStore::applyStop() {
    return host_.configurationApplyStop();
}

bool ConfigurationStore::isApplying() const {
    bool applying = false;
    call<&onuQosClassInterface::tContProfileConsApplyStateGet>(module_, &applying);
    return applying;
}

void ConfigurationStore::restore(const ConfigurationDocument& document) {
    applyStart();
    report_ = restoreConfiguration(module_, document, services_, host_);
    applyStop();
    comparePorts(document, module_, *report_);
    fileHoldsMore_ = !report_->lost.empty();
}

ConfigurationStore::Saved ConfigurationStore::save(const std::string& file, bool force) {
    const std::string& target = file.empty() ? file_ : file;
    if (target.empty()) {
        throw SaveError("no file: oltmgrd runs without --config, so the request must name one");
    }
    const std::lock_guard guard(saving_);
    if (isApplying() && !force) {
        throw SaveError(target + ": a configuration apply is in progress; end it, or force the save");
    }
    const bool isOwnFile = !file_.empty() && isSameFile(target, file_);
    if (isOwnFile && fileHoldsMore_ && !force) {
        throw SaveError(target + ": restoring it lost " + std::to_string(report_->lost.size()) +
                        " entries, which saving would remove from it; save to another file, or force it");
    }
    const auto document = captureConfiguration(module_, services_, host_);
    if (!document) {
        throw SaveError(target + ": nothing is saved: the lock was not obtained");
    }
    try {
        const std::string text = configurationText(*document);
        if (kept_ && kept_->path() == resolvedPath(target)) {
            kept_->replace(text);
        } else {
            LockedFile(target).replace(text);
        }
    } catch (const FileError& error) {
        throw SaveError("nothing is saved: " + std::string(error.what()));
    }
    if (isOwnFile) {
        fileHoldsMore_ = false;
    }
    const Saved saved{.profiles = document->tcontProfiles.size() + document->flowProfiles.size(),
                      .bindings = document->bindings.size()};
    if (saved_) {
        saved_("configuration saved to " + target + ": " + std::to_string(saved.profiles) + " profiles, " +
               std::to_string(saved.bindings) + " bindings");
    }
    return saved;
}

}  // namespace oltmgrd
