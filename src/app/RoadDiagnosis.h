#pragma once

#include "app/Diagnosis.h"
#include "app/TakeRoad.h"

#include <vector>

namespace fenlo {

/// What `fenlo doctor` says of the keys that a take needs, and of its whole road.
void diagnoseRoad(std::vector<Diagnosis>& findings, const RoadFacts& facts);

} // namespace fenlo
