// Checkpoints: the reader refuses any bytes with its own error, or gives tensors that lie within them.

#include "WhisperEngine/WhisperError.h"
#include "WhisperEngine/network/SafeTensors.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

using namespace fenlo::whisper;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span bytes{reinterpret_cast<const std::byte*>(data), size};
    try {
        const SafeTensors file(bytes, "weights");
        for (const auto& [name, tensor] : file.tensors()) {
            if (tensor.type == SafeTensors::Type::other)
                continue;
            std::vector<float> values(tensor.data.size() / (tensor.type == SafeTensors::Type::float32 ? 4 : 2));
            widen(tensor, 0, values);
        }
    } catch (const WhisperError& error) {
        if (std::strchr(error.what(), '\n'))
            std::abort();
    }
    return 0;
}
