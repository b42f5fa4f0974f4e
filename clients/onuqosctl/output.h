#pragma once

#include <iosfwd>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "clients/onuqosctl/commands.h"
#include "clients/onuqosctl/flowProfile.h"
#include "clients/onuqosctl/tcontProfile.h"

namespace onuqosctl {

using Json = nlohmann::ordered_json;

/// One document, readable.
void printJson(std::ostream& out, const Json& document);

/// What a carried-out change answers: `text` for people, the result in JSON.
void printDone(Session& session, Family family, const std::string& text);

/// Prints a refusal, on standard error and as JSON where that is asked for; gives the exit status.
int report(const Refusal& refusal, common::Format format);

// What commands print of profiles, in the format that is asked for. `Profile` is TContProfile or FlowProfile.

template <typename Profile>
void printProfile(Session& session, const Profile& profile);

/// A rate that the module stores as another than was asked for, kbit/s.
struct Rounding {
    std::string rate;
    std::uint32_t asked, stored, step;
};

/// What there is to know of a change that was carried out.
struct Remarks {
    std::vector<Rounding> rounded;
    std::string note;  // may be empty
};

/// A profile that a command made or changed. Remarks are members in JSON and lines on standard error else.
template <typename Profile>
void printChangedProfile(Session& session, Family family, const Profile& profile, const Remarks& remarks);

/// `complete`: whether these are all.
template <typename Profile>
void printProfiles(Session& session, const std::vector<Profile>& profiles, bool complete);

void printAttached(Session& session, const std::string& kind, const std::string& name, bool attached);

/// Values of new profiles; `title` takes the place of a profile's name.
void printDefaults(Session& session, TContProfile profile, const std::string& title);
void printDefaults(Session& session, const rpcOnuFlowProfileAction& action);

}  // namespace onuqosctl
