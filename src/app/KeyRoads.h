#pragma once

#include "shell/Diagnosis.h"

#include <vector>

namespace fenlo {

class WaylandKeyEvents;

/// How a diagnosis comes to know: what desktops only claim can be tried, which takes up to some seconds.
enum class Diligence { looks, tries };

/// For `fenlo doctor` and the log: what hears the dictation key in a Wayland session and what presses the paste keys,
/// and how to get the better road.
void diagnoseWaylandKeys(std::vector<Diagnosis>& findings, const WaylandKeyEvents& keys, Diligence diligence);

} // namespace fenlo
