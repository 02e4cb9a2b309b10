#pragma once

#include "audio/AudioRecorder.h"
#include "shell/TakeFault.h"

#include <exception>
#include <string>

namespace fenlo {

/// What the user is told about a step that threw.
TakeFault faultOf(const std::exception_ptr& error);
TakeFault faultOf(AudioRecorder::Fault fault);

/// What the log says about it.
std::string messageOf(const std::exception_ptr& error);

} // namespace fenlo
