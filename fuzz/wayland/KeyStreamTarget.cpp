// An input device of the kernel's, whatever it says: changes alternate for each key, and what is held is released at
// the end. The first byte says in which pieces the rest arrives.

#include "fuzz/Require.h"
#include "platform/linux/wayland/keys/KeyStream.h"

#include <algorithm>
#include <cstdint>

using namespace fenlo;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    KeyBits down;
    KeyStream stream({.onChange =
                          [&](std::uint16_t code, bool isDown) {
                              require(code < KEY_CNT && down[code] != isDown);
                              down[code] = isDown;
                          },
                      .heldNow =
                          [&] {
                              KeyBits held;
                              held.set(data[0]);
                              return held;
                          }});
    const std::size_t piece = std::size_t{data[0]} + 1;
    const auto bytes = std::as_bytes(std::span(data + 1, size - 1));
    for (std::size_t at = 0; at < bytes.size(); at += piece)
        stream.take(bytes.subspan(at, std::min(piece, bytes.size() - at)));
    require(stream.held() == down);
    stream.releaseAll();
    require(down.none());
    return 0;
}
