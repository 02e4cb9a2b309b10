#pragma once

#include "text/professions/ProfessionProfile.h"

/// The profiles, a file each. Their texts go to language models and recognisers as they stand.
namespace fenlo {

extern const ProfessionProfile doctorProfile;
extern const ProfessionProfile lawyerProfile;
extern const ProfessionProfile developerProfile;
extern const ProfessionProfile productManagerProfile;
extern const ProfessionProfile dataScientistProfile;
extern const ProfessionProfile designerProfile;
extern const ProfessionProfile writerProfile;
extern const ProfessionProfile studentProfile;
extern const ProfessionProfile executiveProfile;
extern const ProfessionProfile supportProfile;
extern const ProfessionProfile neutralProfile; // for a profession that is none of these

} // namespace fenlo
