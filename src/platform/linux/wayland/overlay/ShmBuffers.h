#pragma once

#include "platform/OverlaySurface.h"

#include <cstddef>
#include <cstdint>
#include <list>

struct wl_buffer;
struct wl_shm;

namespace fenlo {

/// Pictures in memory that the compositor shares. One is written again once the compositor has let go of it.
///
/// Threads: that of the connection.
class ShmBuffers {
public:
    explicit ShmBuffers(wl_shm* shm) : m_shm(shm) {}
    ~ShmBuffers();
    ShmBuffers(const ShmBuffers&) = delete;
    ShmBuffers& operator=(const ShmBuffers&) = delete;

    /// The picture as the compositor reads it, busy until it is released. Null when there is no memory.
    wl_buffer* fill(const OverlayFrame& frame);

private:
    struct Buffer {
        wl_buffer* buffer = nullptr;
        std::uint32_t* pixels = nullptr;
        std::size_t bytes = 0;
        int columns = 0, rows = 0;
        bool isBusy = false;
    };
    Buffer* findFree(int columns, int rows);
    Buffer* make(int columns, int rows);
    static void drop(const Buffer& buffer);

    wl_shm* const m_shm;
    std::list<Buffer> m_buffers;
};

} // namespace fenlo
