#pragma once

#include "shell/home/OfflineModels.h"

#include <cstdint>

namespace fenlo {

class Clock;
class HttpClient;
struct Deployment;

/// What the screen of the on-device models does with them. What is passed in outlives the result.
ModelWork modelWork(const Deployment& deployment, HttpClient& http, Clock& clock);

/// Bytes of this machine.
std::uint64_t machineMemory();

} // namespace fenlo
