#include "media/SoundStream.h"

#include <array>
#include <string_view>

namespace fenlo {

namespace {

constexpr std::size_t headSize = 33; // to the first packet's name in an Ogg file

std::string_view headAt(const FileView& view, std::uint64_t position, std::array<char, headSize>& bytes) {
    return {bytes.data(), view.read(position, bytes)};
}

/// Where the sound begins: after a tag, which gives its length in four times seven bits.
std::uint64_t behindTag(std::string_view head) {
    if (head.size() < 10 || !head.starts_with("ID3"))
        return 0;
    std::uint64_t size = 0;
    for (const char byte : head.substr(6, 4))
        size = size << 7 | (static_cast<unsigned char>(byte) & 0x7F);
    return size + 10;
}

bool isMpegHead(std::string_view head) {
    return head.size() >= 2 && head[0] == '\xFF' && (static_cast<unsigned char>(head[1]) & 0xE0) == 0xE0;
}

} // namespace

std::optional<SoundStream> openSound(const FileView& view) {
    std::array<char, headSize> bytes{};
    std::string_view head = headAt(view, 0, bytes);
    const bool isTagged = head.starts_with("ID3");
    head = headAt(view, behindTag(head), bytes);
    std::optional<SoundStream> stream;
    if (head.starts_with("fLaC"))
        stream = openFlac(view);
    else if (head.starts_with("OggS") && head.ends_with("\x7F"
                                                        "FLAC"))
        stream = openFlac(view, checkOggPages(view));
    else if (head.starts_with("OggS"))
        stream = openOgg(view);
    else if (isTagged || isMpegHead(head))
        stream = openMpeg(view);
    return stream ? stream : openSndfile(view);
}

} // namespace fenlo
