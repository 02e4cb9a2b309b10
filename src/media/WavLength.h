#pragma once

#include "media/FileView.h"

namespace fenlo {

/// The same WAV file with the length that its samples really have. A recorder that was killed leaves a size of 0 or one
/// that is older than the file, and a file of more than 4 GiB has outgrown the 32 bits of its size. Such a file does
/// not go on with another chunk behind the samples; every other one, of whatever format, is given back as it is.
FileView withWholeWavData(const FileView& view);

} // namespace fenlo
