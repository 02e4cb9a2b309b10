#include "platform/linux/wayland/overlay/ShmBuffers.h"

#include <algorithm>
#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client.h>

namespace fenlo {

ShmBuffers::~ShmBuffers() {
    for (const Buffer& buffer : m_buffers)
        drop(buffer);
}

void ShmBuffers::drop(const Buffer& buffer) {
    wl_buffer_destroy(buffer.buffer);
    ::munmap(buffer.pixels, buffer.bytes);
}

wl_buffer* ShmBuffers::fill(const OverlayFrame& frame) {
    Buffer* buffer = findFree(frame.columns, frame.rows);
    if (!buffer)
        buffer = make(frame.columns, frame.rows);
    if (!buffer)
        return nullptr;
    std::copy(frame.pixels.begin(), frame.pixels.end(), buffer->pixels);
    buffer->isBusy = true;
    return buffer->buffer;
}

ShmBuffers::Buffer* ShmBuffers::findFree(int columns, int rows) {
    // Those of an earlier size are not needed again.
    m_buffers.remove_if([&](const Buffer& old) {
        const bool isUseless = !old.isBusy && (old.columns != columns || old.rows != rows);
        if (isUseless)
            drop(old);
        return isUseless;
    });
    const auto found = std::find_if(m_buffers.begin(), m_buffers.end(), [](const Buffer& old) { return !old.isBusy; });
    return found == m_buffers.end() ? nullptr : &*found;
}

ShmBuffers::Buffer* ShmBuffers::make(int columns, int rows) {
    const int stride = columns * static_cast<int>(sizeof(std::uint32_t));
    const auto bytes = static_cast<std::size_t>(stride) * static_cast<std::size_t>(rows);
    const int memory = ::memfd_create("fenlo-overlay", MFD_CLOEXEC);
    if (memory < 0)
        return nullptr;
    void* const pixels = ::ftruncate(memory, static_cast<off_t>(bytes)) == 0
                             ? ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, memory, 0)
                             : MAP_FAILED;
    if (pixels == MAP_FAILED) {
        ::close(memory);
        return nullptr;
    }
    wl_shm_pool* const pool = wl_shm_create_pool(m_shm, memory, static_cast<std::int32_t>(bytes));
    wl_buffer* const buffer = wl_shm_pool_create_buffer(pool, 0, columns, rows, stride, WL_SHM_FORMAT_ARGB8888);
    wl_shm_pool_destroy(pool);
    ::close(memory);
    m_buffers.push_back({buffer, static_cast<std::uint32_t*>(pixels), bytes, columns, rows, false});
    static constexpr wl_buffer_listener listener{
        [](void* self, wl_buffer*) { static_cast<Buffer*>(self)->isBusy = false; }};
    wl_buffer_add_listener(buffer, &listener, &m_buffers.back());
    return &m_buffers.back();
}

} // namespace fenlo
