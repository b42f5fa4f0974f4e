#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "oltmgrd/configuration/document.h"
#include "oltmgrd/configuration/restore.h"
#include "oltmgrd/files/files.h"
#include "oltmgrd/services/serviceSide.h"

namespace oltmgrd {

/// The configuration as it is now is not to be saved, or cannot be. The text is one line.
class SaveError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Saves and restores the configuration, and brackets what is applied in bulk. May be used by any thread.
class ConfigurationStore {
public:
    /// `file` is where the configuration is restored from and saved to; empty for none.
    ConfigurationStore(const onuQosClassInterface& module, ServiceSide& services, Host& host,
                       std::string file);

    /// Has the store keep the lock of its file, which it takes for each save otherwise.
    void keep(LockedFile file) { kept_ = std::move(file); }
    /// `saved` is called after each save, with what was saved where.
    void onSave(std::function<void(const std::string&)> saved) { saved_ = std::move(saved); }

    /// Raise the notifications of a configuration apply; false if a handler vetoed it.
    bool applyStart();
    bool applyStop();
    /// Asks the module, which is told by these and by nobody else.
    bool isApplying() const;

    /// Restores a document within a configuration apply. Called once, before anything else uses the module.
    void restore(const ConfigurationDocument& document);
    const std::optional<RestoreReport>& restoreReport() const { return report_; }

    struct Saved {
        std::size_t profiles = 0;
        std::size_t bindings = 0;
    };

    /// Writes the configuration to `file`, or to the store's own file when that is empty. Unless `force`,
    /// refuses to during a configuration apply, and to replace the file of a restore that lost entries.
    /// Throws `SaveError`, also when another process uses the file; the file is as it was then.
    Saved save(const std::string& file, bool force);

private:
    const onuQosClassInterface& module_;
    ServiceSide& services_;
    Host& host_;
    const std::string file_;
    std::optional<RestoreReport> report_;
    std::optional<LockedFile> kept_;
    std::function<void(const std::string&)> saved_;
    std::mutex saving_;
    bool fileHoldsMore_ = false;  // than the module: the restore lost entries
};

}  // namespace oltmgrd
