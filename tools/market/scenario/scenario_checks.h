// What must be true of the parts of a scenario together.
#pragma once

#include "scenario/json_text.h"
#include "scenario/scenario.h"

namespace qm {

// Values that were told to be wrong before are 0 or empty, and are passed over.
void Check_Scenario(const Scenario& scenario, Mistakes& mistakes);

} // namespace qm
