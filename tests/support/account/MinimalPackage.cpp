#include "support/account/MinimalPackage.h"

#include <fmt/format.h>
#include <numeric>

namespace fenlo::test {

namespace {

#ifdef __aarch64__
constexpr const char* architecture = "arm64";
#else
constexpr const char* architecture = "amd64";
#endif

constexpr std::size_t block = 512; // bytes, of a tar archive

std::string padded(std::string bytes, std::size_t unit, char filling) {
    bytes.resize((bytes.size() + unit - 1) / unit * unit, filling);
    return bytes;
}

/// A tar archive of this one file; of none without a name.
std::string tar(const std::string& name, const std::string& content) {
    const std::string end(2 * block, '\0');
    if (name.empty())
        return end;
    std::string head(block, '\0');
    const auto put = [&](std::size_t at, const std::string& value) { head.replace(at, value.size(), value); };
    put(0, name);
    put(100, "0000644"); // mode, owner, group, size, time
    put(108, "0000000");
    put(116, "0000000");
    put(124, fmt::format("{:011o}", content.size()));
    put(136, "00000000000");
    put(148, std::string(8, ' ')); // the sum counts itself as blanks
    put(156, "0");
    put(257, std::string("ustar\0"
                         "00",
                         8));
    const int sum = std::accumulate(head.begin(), head.end(), 0);
    put(148, fmt::format("{:06o}", sum) + std::string("\0 ", 2));
    return head + padded(content, block, '\0') + end;
}

std::string member(const std::string& name, const std::string& content) {
    return fmt::format("{:<16}{:<12}{:<6}{:<6}{:<8}{:<10}`\n", name, 0, 0, 0, "100644", content.size()) +
           padded(content, 2, '\n');
}

} // namespace

std::string minimalPackage(const std::string& version) {
    const std::string control = fmt::format("Package: fenlo\nVersion: {}\nArchitecture: {}\nMaintainer: Stand-in "
                                            "<standin@fenlo.example>\nDescription: an update that installs nothing\n",
                                            version, architecture);
    return "!<arch>\n" + member("debian-binary", "2.0\n") + member("control.tar", tar("./control", control)) +
           member("data.tar", tar("", ""));
}

} // namespace fenlo::test
