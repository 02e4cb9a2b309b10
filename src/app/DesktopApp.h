#pragma once

namespace fenlo {

/// The desktop program: runs until the user quits it, and returns the exit status.
int runDesktopApp(int argc, char** argv);

} // namespace fenlo
