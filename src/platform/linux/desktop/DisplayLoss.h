#pragma once

namespace fenlo {

/// Says in the log that the desktop is gone, once for the process: every connection to it notices that by itself, to
/// the X server and to the Wayland compositor. The toolkit's connection then ends the process.
///
/// Threads: any.
void tellDisplayLoss(const char* server);

} // namespace fenlo
