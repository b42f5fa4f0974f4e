#pragma once

#include "oltmgrd/files/jsonText.h"
#include "oltmgrd/services/serviceSide.h"

namespace oltmgrd {

/// What an answer tells of a service beside the result, as members of its arguments: `explanation` of a
/// refusal of `operation`; of a service that is bound already `changed`, `alreadyBound` and `differs`, with
/// `asked` where it does; `warning` of one whose flow profile has rates above the maximum of its T-CONT
/// profile. Rates in kbit/s.
Json explanationOf(const char* operation, const AppliedService& asked, const ServiceOutcome& outcome);

}  // namespace oltmgrd
