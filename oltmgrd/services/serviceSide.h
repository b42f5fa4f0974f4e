#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "oltmgrd/module/module.h"
#include "oltmgrd/module/results.h"
#include "oltmgrd/platform/host.h"
#include "oltmgrd/services/profileValues.h"
#include "oltmgrd/services/termPoint.h"

namespace oltmgrd {

/// The profile that a service was bound to.
template <typename Values>
struct BoundTo {
    std::uint64_t serial = 0;                ///< of the host; 0 when it is not known
    std::shared_ptr<const Values> values{};  ///< what it held; null when that is not known
};

/// An applied service, as the platform's service-profile side remembers it. The names are those at the time
/// of binding. Equal services of an ONU are one to the hardware layer: they share what the first was bound to
/// and its termination point.
struct AppliedService {
    std::uint32_t interface = 0;
    std::string service;
    std::string flowProfile;
    std::string tcontProfile;
    std::uint32_t virtualPort = 0;
    TermPoint termPoint{};
    std::uint64_t order = 0;  ///< of application; 0 is after all others
    // Found out when it is applied.
    BoundTo<FlowValues> flow{};
    BoundTo<TContValues> tcont{};
    TermPoint pushedTermPoint{};
};

/// Rates of a flow profile above the maximum rate of the T-CONT profile that carries it, kbit/s: the module
/// binds them, and the T-CONT carries no more than its maximum.
struct FlowAboveMaximum {
    std::uint32_t guaranteed, peak, maximum;
};

/// Why an operation answered as it did. The module does not keep termination points: what it calls the same
/// may differ in them.
struct ServiceOutcome {
    rules::ServiceVerdict verdict{};
    std::optional<TermPoint> boundTermPoint{};       ///< of a service that is bound already
    bool differs = false;                            ///< such a service from the one that was asked for
    std::optional<FlowAboveMaximum> aboveMaximum{};  ///< of a service that is accepted and new
};

/// The platform's service-profile side: applies and removes services and remembers them in order of
/// application. Operations may be called from any thread that does not hold the platform lock: they take the
/// operations' mutex first and the platform lock after it.
class ServiceSide {
public:
    /// Both outlive this.
    ServiceSide(const onuQosClassInterface& module, Host& host) : module_(module), host_(host) {}

    /// The module's answer; the service is remembered when it is bound, whatever the answer was. Why it was
    /// the answer is looked up only where there is an `outcome` to hold it.
    Result apply(AppliedService service, ServiceOutcome* outcome = nullptr);
    /// What `apply` would answer at this moment; changes nothing.
    Result check(AppliedService service, ServiceOutcome& outcome);
    Result remove(std::uint32_t interface, const std::string& service);

    /// Returns all entities to their factory settings; the names of those that answered false.
    std::vector<std::string> defaultSettings();

    Result flowService(std::uint32_t interface, std::uint32_t flowId, std::string& service) const;

    /// In order of application. Does not wait for an operation that is under way.
    std::vector<AppliedService> list() const;

    /// How many services each ONU has that has any.
    std::map<std::uint32_t, std::size_t> counts() const;

    /// Keeps operations from beginning while it lives. Taken before the platform lock.
    [[nodiscard]] std::unique_lock<std::mutex> hold() { return std::unique_lock(operations_); }

    /// The services that `tables` holds, in order of application. The caller has the lock of `hold`.
    std::vector<AppliedService> listAgreedWith(const onuQosTables& tables);

private:
    using Key = std::pair<std::uint32_t, std::string>;  // interface, service

    void findOut(AppliedService& service);
    const AppliedService* equalTo(const AppliedService& service) const;
    bool isRemembered(const Key& key) const;
    void compare(const AppliedService& asked, ServiceOutcome& outcome) const;
    void remember(AppliedService service);
    void forget(const Key& key);

    /// Brings what is remembered into line with the module's bindings; nothing when they cannot be had now.
    void reconcile();
    void reconcileWith(const onuQosTables& tables);

    const onuQosClassInterface& module_;
    Host& host_;
    std::mutex operations_;
    bool inDoubt_ = false;  // an operation failed and the module's bindings could not be had since
    std::map<Key, AppliedService> attempted_;  // by operations that failed since then

    // The values last seen under a name: many services share them.
    std::map<std::string, std::shared_ptr<const FlowValues>> flows_;
    std::map<std::string, std::shared_ptr<const TContValues>> tconts_;

    mutable std::mutex services_;  // guards what follows; a leaf
    std::map<std::uint64_t, AppliedService> byOrder_;
    std::map<Key, std::uint64_t> orders_;
    std::uint64_t lastOrder_ = 0;
};

}  // namespace oltmgrd
