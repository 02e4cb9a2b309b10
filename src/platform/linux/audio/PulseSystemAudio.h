#pragma once

#include "platform/SystemAudioInput.h"

namespace fenlo {

/// What the default sink of a PulseAudio server (or PipeWire's) plays. Each stream has a connection and a thread of its
/// own, so that outside of a meeting nothing is left of it.
///
/// Errors: open() refuses without a server and without a sink. What is lost later is opened again as soon as it is
/// back.
class PulseSystemAudio final : public SystemAudioInput {
public:
    /// Blocks for a second at most. A server that is slower is waited for in the stream.
    Opened open(Tap tap) override;
};

} // namespace fenlo
