#pragma once

#include "base/Descriptor.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <span>
#include <string>

namespace fenlo {

/// A keyboard of the kernel's, made through /dev/uinput where the user may. The session's layout applies to it.
/// (https://docs.kernel.org/input/uinput.html)
///
/// Threads: one.
/// Units:   key codes are the kernel's.
class UinputKeyboard {
public:
    /// By which listeners know it from the user's keyboards.
    static constexpr char deviceName[] = "Fenlo paste keys";

    /// Why it cannot be made, in one line for the user; empty when it can be tried.
    static std::string obstacle(const std::filesystem::path& device);
    /// Makes a keyboard of the opened file. False when the kernel refuses.
    using Create = std::function<bool(int file)>;
    static bool createInKernel(int file);
    /// Nothing when the kernel refuses. Programs learn of it a moment later.
    static std::unique_ptr<UinputKeyboard> make(const std::filesystem::path& device,
                                                const Create& create = &createInKernel);
    ~UinputKeyboard();
    UinputKeyboard(const UinputKeyboard&) = delete;
    UinputKeyboard& operator=(const UinputKeyboard&) = delete;

    /// Presses these keys one after the other, or releases them in the order given.
    bool send(std::span<const std::uint32_t> codes, bool isDown);

private:
    explicit UinputKeyboard(int file) : m_file(file) {}

    const Descriptor m_file;
};

} // namespace fenlo
