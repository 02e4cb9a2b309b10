#include "hub/FileDownload.h"

#include "hub/HubPaths.h"
#include "hub/Retries.h"
#include "hub/TreePage.h"

namespace fenlo::hub {

namespace {

using Kind = HubError::Kind;

constexpr int mostAttempts = 5; // in a row without a new byte

/// A weak ETag does not promise the same bytes, so nothing can be continued under it.
std::string strongTag(const HttpResponse& head) {
    const std::string tag = headerOf(head, "etag");
    return tag.starts_with('"') ? tag : "";
}

} // namespace

FileDownload::FileDownload(const HubConnection& connection, Clock& clock, const std::filesystem::path& folder,
                           const RepoFile& file, Tell tell)
    : m_connection(connection), m_clock(clock), m_file(file), m_what(connection.described(file.path)),
      m_tell(std::move(tell)), m_partial(folder, file), m_check(file) {}

void FileDownload::run(std::stop_token stop) {
    if (!m_partial.readInto(m_check, stop))
        throwCancelled();
    m_tell(static_cast<std::int64_t>(m_check.size()));
    Retries retries(m_clock, mostAttempts);
    std::uint64_t furthest = m_check.size();
    for (bool isWhole = false; !isWhole;)
        try {
            if (m_check.size() < m_file.size)
                fetchRest(stop);
            requireRightContent();
            isWhole = true;
        } catch (const Silence& fault) {
            if (static_cast<double>(m_check.size()) < static_cast<double>(furthest) + m_connection.leastProgress())
                throw;
            furthest = m_check.size();
            retries.begin();
            retries.waitAfter(fault, stop);
        } catch (const PassingFault& fault) {
            if (m_check.size() > furthest)
                retries.begin();
            furthest = std::max(furthest, m_check.size());
            retries.waitAfter(fault, stop);
        }
}

void FileDownload::fetchRest(std::stop_token stop) {
    HttpRequest request;
    request.url = m_connection.fileAddress(m_file.path);
    if (m_check.size() > 0)
        request.headers = {{"Range", "bytes=" + std::to_string(m_check.size()) + "-"},
                           {"If-Range", m_partial.entityTag()}};
    request.onHead = [this](const HttpResponse& head) {
        takeHead(head);
        return true;
    };
    request.onBody = [this](std::string_view bytes) { takeBytes(bytes); };
    if (send(request, stop).status == 416) {
        begin("");
        throw PassingFault(Kind::badReply, "the hub refuses to continue " + m_what + "; try again");
    }
    if (m_check.size() < m_file.size)
        throw PassingFault(Kind::network, "the hub ended " + m_what + " too early; check the network and try again");
}

HttpResponse FileDownload::send(const HttpRequest& request, std::stop_token stop) const {
    try {
        return m_connection.get(request, m_what, stop,
                                [this](const HttpResponse& redirect) { takeRedirect(redirect); });
    } catch (const HubError& error) {
        if (error.kind != Kind::notFound)
            throw;
        throw HubError(Kind::notFound, "the hub lists " + m_what + " but does not have it; try again later");
    }
}

/// The hub tells the hash of a large file before the storage sends it. So a changed file is not fetched in vain.
void FileDownload::takeRedirect(const HttpResponse& redirect) const {
    std::string tag = headerOf(redirect, "x-linked-etag");
    std::erase(tag, '"');
    const auto hash = hexadecimalHash(tag, 64);
    if (hash && m_file.sha256 && hash != m_file.sha256)
        throw HubError(Kind::damaged, "the hub has another " + m_what + " than it lists; try again later");
}

void FileDownload::takeHead(const HttpResponse& head) {
    const std::string tag = strongTag(head);
    if (head.status == 206 && m_check.size() > 0) {
        const std::string range = "bytes " + std::to_string(m_check.size()) + "-" + std::to_string(m_file.size - 1) +
                                  "/" + std::to_string(m_file.size);
        if (headerOf(head, "content-range") == range && (tag.empty() || tag == m_partial.entityTag()))
            return;
        begin("");
        throw PassingFault(Kind::badReply, "the hub continues " + m_what + " at the wrong place; try again");
    }
    if (head.status != 200)
        throw HubError(Kind::badReply, "the hub gave an unexpected answer for " + m_what + " (status " +
                                           std::to_string(head.status) + "); try again later");
    if (const std::string length = headerOf(head, "content-length");
        !length.empty() && length != std::to_string(m_file.size))
        throw HubError(Kind::damaged, "the hub sends " + m_what + " with " + shown(length) +
                                          " bytes but lists it with " + std::to_string(m_file.size) + "; try again");
    begin(tag);
}

void FileDownload::takeBytes(std::string_view bytes) {
    if (bytes.size() > m_file.size - m_check.size())
        throw HubError(Kind::damaged, "the hub sends more of " + m_what + " than the " + std::to_string(m_file.size) +
                                          " bytes it lists; try again");
    m_partial.append(bytes);
    m_check.add(bytes);
    m_tell(static_cast<std::int64_t>(bytes.size()));
}

void FileDownload::begin(const std::string& entityTag) {
    m_tell(-static_cast<std::int64_t>(m_check.size()));
    m_check = ContentCheck(m_file);
    m_partial.begin(entityTag);
}

void FileDownload::requireRightContent() {
    if (m_check.isRight())
        return;
    begin("");
    throw HubError(Kind::damaged, "the content of " + m_what + " is not what the hub lists; try again later");
}

} // namespace fenlo::hub
