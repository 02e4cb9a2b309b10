#include "support/LoopbackHub.h"

#include "base/Json.h"
#include "base/Text.h"
#include "support/ServiceFaults.h"

#include <algorithm>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>

namespace fenlo::test {

namespace {

using nlohmann::json;

constexpr std::uint64_t largeFrom = 1000;
constexpr std::size_t pieceSize = 64u << 10u;
constexpr double trickleRest = 0.02; // seconds between two bytes
constexpr char listingPath[] = "/api/models/";
constexpr char smallPath[] = "/api/resolve-cache/models/";
constexpr char storagePath[] = "/objects/";

std::string decode(std::string_view text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i)
        if (text[i] == '%' && i + 2 < text.size()) {
            plain += static_cast<char>(std::stoi(std::string(text.substr(i + 1, 2)), nullptr, 16));
            i += 2;
        } else {
            plain += text[i];
        }
    return plain;
}

WireAnswer withHeaders(int status, const std::string& headers, const std::string& body = "") {
    return {"HTTP/1.1 " + std::to_string(status) + " Answer\r\n" + headers +
            "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body};
}

WireAnswer endless() {
    return {"HTTP/1.1 200 Answer\r\nConnection: close\r\n\r\n", true,
            [](std::stop_token stop) { return stop.stop_requested() ? "" : std::string(pieceSize, ' '); }};
}

/// Sends a file from some place on, with a fault on the way.
struct Sending {
    std::ifstream file;
    std::uint64_t left;
    LoopbackHub::Fault fault;
    std::stop_token goingOn; // ends a stall
    std::uint64_t sent = 0;

    std::string next(std::stop_token stop) {
        const bool isHit = fault.mode == "drop" || fault.mode == "stall" || fault.mode == "trickle";
        std::uint64_t size = std::min<std::uint64_t>(left, pieceSize);
        if (isHit && sent < fault.after)
            size = std::min(size, fault.after - sent);
        else if (isHit && left > 0)
            size = slow(stop);
        std::string piece(size, '\0');
        file.read(piece.data(), static_cast<std::streamsize>(size));
        if (fault.mode == "content" && sent == 0 && size > 0)
            piece[0] ^= 1;
        sent += size;
        left -= size;
        return piece;
    }

    /// How many bytes to send when the fault hits; 0 ends the body.
    std::uint64_t slow(std::stop_token stop) {
        if (fault.mode == "stall") {
            std::stop_source either;
            const std::stop_callback onStop(stop, [&] { either.request_stop(); });
            const std::stop_callback onGoingOn(goingOn, [&] { either.request_stop(); });
            hang(either.get_token());
            fault.mode.clear();
            return stop.stop_requested() ? 0 : std::min<std::uint64_t>(left, pieceSize);
        }
        if (fault.mode != "trickle" || stop.stop_requested())
            return 0;
        pause(trickleRest, stop);
        return 1;
    }
};

/// Takes the "publisher/name" off the front of a path.
std::string takeRepo(std::string& path) {
    const std::size_t end = path.find('/', path.find('/') + 1);
    const std::string repo = path.substr(0, end);
    path.erase(0, end == std::string::npos ? end : end + 1);
    return repo;
}

/// Takes the revision off the front of a path that is still encoded: the name of the repository's folder at it.
std::string takeRevision(const std::string& repo, std::string& path) {
    const std::size_t end = std::min(path.find('/'), path.size());
    const std::string revision = text::replaceAll(decode(path.substr(0, end)), "/", "+");
    path.erase(0, end + 1);
    return revision == "main" ? repo : repo + "@" + revision;
}

} // namespace

LoopbackHub::LoopbackHub(std::filesystem::path folder)
    : m_folder(std::move(folder)),
      m_storage([this](const WireRequest& request, std::stop_token) { return answerAsStorage(request); }),
      m_server([this](const WireRequest& request, std::stop_token) { return answer(request); }) {}

void LoopbackHub::hit(Fault fault) {
    m_state.with([&](State& state) { state.fault = std::move(fault); });
}

void LoopbackHub::beforeFile(std::string path, std::function<void()> change) {
    m_state.with([&](State& state) {
        state.changePath = std::move(path);
        state.change = std::move(change);
    });
}

void LoopbackHub::setToken(std::string token) {
    m_state.with([&](State& state) { state.token = std::move(token); });
}

void LoopbackHub::setPageSize(std::size_t size) {
    m_state.with([&](State& state) { state.pageSize = size; });
}

void LoopbackHub::setListing(std::string body) {
    m_state.with([&](State& state) { state.listing = std::move(body); });
}

std::vector<LoopbackHub::Received> LoopbackHub::requests() const {
    return m_state.with([](const State& state) { return state.requests; });
}

std::size_t LoopbackHub::note(const WireRequest& request, bool atStorage) {
    return m_state.with([&](State& state) {
        state.requests.push_back({request, atStorage, 0});
        return state.requests.size() - 1;
    });
}

void LoopbackHub::goOn() {
    hit({.mode = "", .times = 0});
    m_goingOn.request_stop();
}

LoopbackHub::Fault LoopbackHub::takeFault(bool inListing) {
    return m_state.with([&](State& state) {
        if (state.fault.inListing != inListing || state.fault.times == 0)
            return Fault{};
        --state.fault.times;
        return state.fault;
    });
}

WireAnswer LoopbackHub::answer(const WireRequest& request) {
    const std::size_t number = note(request, false);
    const std::string token = m_state.with([](const State& state) { return state.token; });
    if (!token.empty() && request.header("authorization") != "Bearer " + token)
        return withHeaders(401, "X-Error-Code: GatedRepo\r\n", "{\"error\": \"Access is restricted\"}");
    const std::size_t query = std::min(request.target.find('?'), request.target.size());
    std::string path = request.target.substr(0, query); // a revision may hold encoded slashes
    if (path.starts_with(smallPath))
        return send(request, decode(path.substr(sizeof smallPath - 1)), number);
    const bool isListing = path.starts_with(listingPath);
    path.erase(0, isListing ? sizeof listingPath - 1 : 1);
    std::string repo = takeRepo(path);
    const std::string_view verb = isListing ? "tree/" : "resolve/";
    if (!path.starts_with(verb))
        return withHeaders(404, "");
    path.erase(0, verb.size());
    repo = takeRevision(repo, path);
    return isListing ? list(request, repo, decode(path)) : resolve(repo, decode(path));
}

WireAnswer LoopbackHub::list(const WireRequest& request, const std::string& repo, const std::string& subfolder) {
    const Fault fault = takeFault(true);
    if (fault.mode == "status")
        return withHeaders(fault.status, fault.retryAfter.empty() ? "" : "Retry-After: " + fault.retryAfter + "\r\n");
    if (fault.mode == "garbage")
        return httpAnswer(200, "text/html", "<!DOCTYPE html>\n<html><body>Sign in to the network</body></html>");
    if (fault.mode == "endless")
        return endless();
    if (fault.mode == "stall")
        return {{}, true, [](std::stop_token stop) {
                    hang(stop);
                    return std::string();
                }};
    const auto [pageSize, listing] =
        m_state.with([](const State& state) { return std::pair(state.pageSize, state.listing); });
    if (!listing.empty())
        return httpAnswer(200, "application/json", listing);
    auto all = hubFiles(m_folder / repo, largeFrom);
    if (!subfolder.empty())
        std::erase_if(all, [&](const HubFile& file) { return !file.path.starts_with(subfolder + "/"); });
    if (all.empty())
        return withHeaders(404, "X-Error-Code: RepoNotFound\r\n");
    json page = json::array({{{"type", "directory"}, {"oid", std::string(40, 'a')}, {"size", 0}, {"path", "folder"}}});
    const std::size_t cursor = request.target.find("cursor=");
    const std::size_t first = cursor == std::string::npos ? 0 : std::stoul(request.target.substr(cursor + 7));
    const std::size_t end = std::min(all.size(), first + pageSize);
    for (std::size_t i = first; i < end; ++i) {
        const std::uint64_t size = all[i].size + (fault.mode == "size" ? 1 : 0);
        const std::string hash = fault.mode == "hash" ? std::string(all[i].hash.size(), '0') : all[i].hash;
        json entry = {{"type", "file"}, {"path", all[i].path}, {"size", size}, {"oid", hash}};
        if (all[i].isLarge) {
            entry["oid"] = std::string(40, 'b');
            entry["lfs"] = {{"oid", hash}, {"size", size}, {"pointerSize", 134}};
        }
        page.push_back(entry);
    }
    std::string next;
    if (end < all.size())
        next = "Link: <" + m_server.url() + request.target.substr(0, request.target.find("&cursor")) +
               "&cursor=" + std::to_string(end) + ">; rel=\"next\"\r\n";
    return withHeaders(200, "Content-Type: application/json\r\n" + next, writeJson(page));
}

WireAnswer LoopbackHub::resolve(const std::string& repo, const std::string& path) {
    const auto change = m_state.with(
        [&](State& state) { return state.changePath == path ? std::exchange(state.change, nullptr) : nullptr; });
    if (change)
        change();
    const auto file = hubFile(m_folder / repo, path, largeFrom);
    if (!file)
        return withHeaders(404, "X-Error-Code: EntryNotFound\r\n");
    const std::string place = text::replaceAll(text::replaceAll(repo + "/" + path, "%", "%25"), " ", "%20");
    if (file->isLarge)
        return withHeaders(302, "Location: " + m_storage.url() + storagePath + place +
                                    "?signature=s\r\nX-Linked-ETag: \"" + file->hash +
                                    "\"\r\nX-Linked-Size: " + std::to_string(file->size) + "\r\n");
    return withHeaders(307, "Location: " + std::string(smallPath) + place + "\r\n");
}

WireAnswer LoopbackHub::answerAsStorage(const WireRequest& request) {
    const std::size_t number = note(request, true);
    const std::size_t query = std::min(request.target.find('?'), request.target.size());
    if (!request.header("authorization").empty() || request.target.substr(query) != "?signature=s")
        return withHeaders(400, "", "only one kind of authorization is allowed");
    return send(request, decode(request.target.substr(sizeof storagePath - 1, query - (sizeof storagePath - 1))),
                number);
}

WireAnswer LoopbackHub::send(const WireRequest& request, const std::string& target, std::size_t number) {
    std::string path = target;
    const std::string repo = takeRepo(path);
    const auto file = hubFile(m_folder / repo, path, largeFrom);
    if (!file)
        return withHeaders(404, "");
    const Fault fault = takeFault(false);
    if (fault.mode == "status")
        return withHeaders(fault.status, fault.retryAfter.empty() ? "" : "Retry-After: " + fault.retryAfter + "\r\n");
    if (fault.mode == "endless")
        return endless();

    const std::string tag = "\"" + file->hash.substr(0, 32) + (fault.mode == "tag" ? "-new" : "") + "\"";
    std::uint64_t first = 0;
    const std::string range = request.header("range");
    const std::string ifRange = request.header("if-range");
    const bool isPart = range.starts_with("bytes=") && (ifRange.empty() || ifRange == tag) && fault.mode != "no-ranges";
    if (isPart)
        first = std::stoull(range.substr(6)) + (fault.mode == "range" ? 1 : 0);
    if (isPart && first >= file->size)
        return withHeaders(416, "Content-Range: bytes */" + std::to_string(file->size) + "\r\n");
    std::string head = "ETag: " + std::string(fault.mode == "weak" ? "W/" : "") + tag +
                       "\r\nAccept-Ranges: bytes\r\nContent-Length: " + std::to_string(file->size - first) + "\r\n";
    if (isPart)
        head += "Content-Range: bytes " + std::to_string(first) + "-" + std::to_string(file->size - 1) + "/" +
                std::to_string(file->size) + "\r\n";
    const auto sending = std::make_shared<Sending>(
        Sending{std::ifstream(file->place, std::ios::binary), file->size - first, fault, m_goingOn.get_token()});
    sending->file.seekg(static_cast<std::streamoff>(first));
    const bool closes = fault.mode == "drop" || fault.mode == "stall";
    return {"HTTP/1.1 " + std::string(isPart ? "206 Part" : "200 Whole") + "\r\n" + head + "\r\n", closes,
            [this, sending, number](std::stop_token stop) {
                std::string piece = sending->next(stop);
                m_state.with([&](State& state) { state.requests[number].sent += piece.size(); });
                return piece;
            }};
}

} // namespace fenlo::test
