#include "account/PackageDownload.h"

#include "account/UpdateServer.h"
#include "base/WriteFault.h"
#include "platform/HttpAnswer.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace fenlo {

namespace {

constexpr double downloadIdleLimit = 30;          // seconds
constexpr double leastRate = 1000;                // bytes a second, over that time
constexpr std::uint64_t roomToSpare = 16u << 20u; // bytes that stay free on the disk
constexpr int rangeNotThere = 416;

const char* const wrongLength =
    "The package has another length than the update feed says, so it is not installed; try again later.";

} // namespace

PackageDownload::PackageDownload(std::filesystem::path file, const UpdatePackage& package,
                                 std::function<void(std::uint64_t)> tell)
    : m_file(std::move(file)), m_package(package), m_tell(std::move(tell)),
      m_descriptor(::open(m_file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW, 0600)) {
    struct stat found {};
    if (!m_descriptor.isOpen() || ::fstat(m_descriptor.number(), &found) != 0)
        failToWrite(errno);
    m_size = std::uint64_t(found.st_size);
    if (m_size > m_package.length)
        begin();
}

void PackageDownload::run(const UpdateServer& server, std::stop_token stop) {
    requireRoom();
    m_tell(m_size);
    for (int attempt = 0; m_size < m_package.length; ++attempt) {
        const HttpResponse answer = server.get(request(), stop);
        if (m_size == m_package.length)
            return;
        // The file that the server has now may be shorter than what came of another one.
        if (answer.status != rangeNotThere || attempt > 0)
            throw UpdateFault(answer.status == 200 || answer.status == 206
                                  ? "The download of the package broke off; try again, it goes on where it ended."
                                  : "The update server does not give out the package (status " +
                                        std::to_string(answer.status) + "); try again later.");
        begin();
    }
}

HttpRequest PackageDownload::request() {
    HttpRequest request;
    request.url = m_package.url;
    request.timeout = 0; // a slow network may take as long as it needs
    request.idleLimit = downloadIdleLimit;
    request.leastRate = leastRate;
    if (m_size > 0)
        request.headers = {{"Range", "bytes=" + std::to_string(m_size) + "-"}};
    request.onHead = [this](const HttpResponse& head) { return takeHead(head); };
    request.onBody = [this](std::string_view bytes) { takeBody(bytes); };
    return request;
}

/// Whether the body is a part of the package.
bool PackageDownload::takeHead(const HttpResponse& head) {
    if (head.status == 206 && m_size > 0) {
        const std::string rest = "bytes " + std::to_string(m_size) + "-" + std::to_string(m_package.length - 1) + "/" +
                                 std::to_string(m_package.length);
        if (headerOf(head, "content-range") == rest)
            return true;
        begin();
        throw UpdateFault(wrongLength);
    }
    if (head.status != 200)
        return false;
    if (const std::string length = headerOf(head, "content-length");
        !length.empty() && length != std::to_string(m_package.length))
        throw UpdateFault(wrongLength);
    begin();
    return true;
}

void PackageDownload::takeBody(std::string_view bytes) {
    if (bytes.size() > m_package.length - m_size) {
        begin();
        throw UpdateFault(wrongLength);
    }
    if (!writeAll(m_descriptor.number(), bytes))
        failToWrite(errno);
    m_size += bytes.size();
    m_tell(m_size);
}

void PackageDownload::begin() {
    m_size = 0;
    if (::ftruncate(m_descriptor.number(), 0) != 0)
        failToWrite(errno);
}

void PackageDownload::requireRoom() const {
    std::error_code error;
    const std::filesystem::space_info room = std::filesystem::space(m_file.parent_path(), error);
    if (!error && room.available < m_package.length - m_size + roomToSpare)
        failToWrite(ENOSPC);
}

void PackageDownload::failToWrite(int error) const {
    throw UpdateFault("The package cannot be saved in " + m_file.parent_path().string() + ": " +
                      files::writeFault(error) + "; change that and try again.");
}

} // namespace fenlo
