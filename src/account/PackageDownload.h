#pragma once

#include "account/UpdateOffer.h"
#include "base/Descriptor.h"

#include <filesystem>
#include <functional>
#include <stop_token>
#include <string_view>

namespace fenlo {

class UpdateServer;
struct HttpRequest;
struct HttpResponse;

/// Downloads a package into a file, and goes on where an earlier attempt ended. What comes is not yet trusted.
///
/// Threads: one at a time; run() blocks.
/// Errors:  UpdateFault; what has come stays on the disk, unless it is wrong.
class PackageDownload {
public:
    /// `tell` is called on the thread of run() with the bytes that have come.
    PackageDownload(std::filesystem::path file, const UpdatePackage& package, std::function<void(std::uint64_t)> tell);

    /// Returns when the file has the length that the feed names.
    void run(const UpdateServer& server, std::stop_token stop);

private:
    HttpRequest request();
    bool takeHead(const HttpResponse& head);
    void takeBody(std::string_view bytes);
    void begin();
    void requireRoom() const;
    [[noreturn]] void failToWrite(int error) const;

    const std::filesystem::path m_file;
    const UpdatePackage m_package;
    const std::function<void(std::uint64_t)> m_tell;
    const Descriptor m_descriptor;
    std::uint64_t m_size = 0; // on the disk
};

} // namespace fenlo
