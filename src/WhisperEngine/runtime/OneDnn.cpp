#include "WhisperEngine/runtime/OneDnn.h"

namespace dnnl {

const char oneDnnLibrary[] = LIBRARY; // from the build

} // namespace dnnl
