#pragma once

#include "media/FileView.h"

namespace fenlo {

/// A WAV file with the true length of its samples. A recorder that was killed leaves a size of 0 or an old one, and the
/// size of a file of more than 4 GiB does not fit its 32 bits. In such files no chunk follows the samples. Every other
/// file, of any format, is returned as it is.
FileView withWholeWavData(const FileView& view);

} // namespace fenlo
