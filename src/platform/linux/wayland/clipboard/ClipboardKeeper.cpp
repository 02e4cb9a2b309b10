#include "platform/linux/wayland/clipboard/ClipboardKeeper.h"

#include "base/ChildProcess.h"
#include "base/Descriptor.h"
#include "platform/linux/wayland/clipboard/DataSources.h"

#include <cstdint>
#include <fcntl.h>
#include <sys/mman.h>
#include <system_error>
#include <unistd.h>

namespace fenlo {

namespace {

constexpr char keeperName[] = "fenlo-clipboard";

/// Before each form's name and bytes. The text has no name.
struct KeptForm {
    std::uint64_t nameSize, bytesSize;
};

bool write(int file, const std::string& name, const std::string& bytes) {
    const KeptForm sizes{name.size(), bytes.size()};
    return writeAll(file, {reinterpret_cast<const char*>(&sizes), sizeof sizes}) && writeAll(file, name) &&
           writeAll(file, bytes);
}

bool write(int file, const DataContents& contents) {
    if (contents.text && !write(file, "", *contents.text))
        return false;
    for (const DataContents::Form& each : contents.forms)
        if (!write(file, each.name, *each.bytes))
            return false;
    return ::lseek(file, 0, SEEK_SET) == 0;
}

bool readAll(int file, char* bytes, std::size_t size) {
    while (size > 0) {
        const ssize_t count = ::read(file, bytes, size);
        if (count <= 0)
            return false;
        bytes += count;
        size -= static_cast<std::size_t>(count);
    }
    return true;
}

} // namespace

std::filesystem::path clipboardKeeper() {
    std::error_code error;
    const auto folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    const auto beside = folder / keeperName;
    return std::filesystem::exists(beside, error) ? beside : folder.parent_path() / "lib/fenlo" / keeperName;
}

bool startClipboardKeeper(const std::filesystem::path& program, const DataContents& contents) {
    const Descriptor memory(::memfd_create("clipboard", MFD_CLOEXEC));
    const Descriptor nowhere(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    pid_t process = 0;
    return memory.isOpen() && write(memory.number(), contents) &&
           startChild({program.string()},
                      {.input = memory.number(), .output = nowhere.number(), .complaints = nowhere.number()},
                      process) == 0;
}

std::optional<DataContents> receiveClipboard(int file) {
    const off_t end = ::lseek(file, 0, SEEK_END);
    if (end < 0 || ::lseek(file, 0, SEEK_SET) != 0)
        return std::nullopt;
    DataContents contents;
    for (auto left = static_cast<std::uint64_t>(end); left > 0;) {
        KeptForm sizes{};
        if (left < sizeof sizes || !readAll(file, reinterpret_cast<char*>(&sizes), sizeof sizes))
            return std::nullopt;
        left -= sizeof sizes;
        if (sizes.nameSize > left || sizes.bytesSize > left - sizes.nameSize)
            return std::nullopt;
        left -= sizes.nameSize + sizes.bytesSize;
        std::string name(sizes.nameSize, '\0'), bytes(sizes.bytesSize, '\0');
        if (!readAll(file, name.data(), name.size()) || !readAll(file, bytes.data(), bytes.size()))
            return std::nullopt;
        auto shared = std::make_shared<const std::string>(std::move(bytes));
        if (name.empty())
            contents.text = std::move(shared);
        else
            contents.forms.push_back({std::move(name), std::move(shared)});
    }
    return contents;
}

} // namespace fenlo
