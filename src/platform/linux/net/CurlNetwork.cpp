#include "platform/linux/net/CurlNetwork.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace fenlo {

namespace {

constexpr long maxIdleConnections = 16;
constexpr std::chrono::milliseconds longestWait{60'000};

CURLM* makeMulti() {
    curl_global_init(CURL_GLOBAL_DEFAULT);
    CURLM* multi = curl_multi_init();
    if (!multi)
        throw std::runtime_error("the network library could not be started");
    curl_multi_setopt(multi, CURLMOPT_MAXCONNECTS, maxIdleConnections);
    return multi;
}

} // namespace

CurlHttpClient::Network::Network() : m_multi(makeMulti()), m_thread([this](std::stop_token stop) { run(stop); }) {}

CurlHttpClient::Network::~Network() {
    m_thread.request_stop();
    m_thread.join();
    curl_multi_cleanup(m_multi);
    curl_global_cleanup();
}

void CurlHttpClient::Network::start(std::shared_ptr<CurlTransfer> transfer) {
    m_incoming.with([&](auto& incoming) { incoming.push_back(std::move(transfer)); });
    wake();
}

void CurlHttpClient::Network::wake() {
    curl_multi_wakeup(m_multi);
}

void CurlHttpClient::Network::run(std::stop_token stop) {
    const std::stop_callback wakeToEnd(stop, [this] { wake(); });
    while (!stop.stop_requested()) {
        admitNew();
        dropCancelled();
        resumeTaken();
        int running = 0;
        curl_multi_perform(m_multi, &running);
        endFinished();
        dropStalled();
        curl_multi_poll(m_multi, nullptr, 0, untilNextStall(), nullptr);
    }
    endAll();
}

void CurlHttpClient::Network::admitNew() {
    for (auto& transfer : m_incoming.with([](auto& incoming) { return std::exchange(incoming, {}); })) {
        CURL* handle = transfer->handle();
        if (curl_multi_add_handle(m_multi, handle) == CURLM_OK)
            m_active.emplace(handle, std::move(transfer));
        else
            transfer->end(CURLE_FAILED_INIT);
    }
}

void CurlHttpClient::Network::drop(const std::function<bool(const CurlTransfer&)>& isOver,
                                   void (CurlTransfer::*end)()) {
    std::erase_if(m_active, [&](const auto& entry) {
        const auto& [handle, transfer] = entry;
        if (!isOver(*transfer))
            return false;
        curl_multi_remove_handle(m_multi, handle);
        (*transfer.*end)();
        return true;
    });
}

void CurlHttpClient::Network::dropCancelled() {
    drop([](const CurlTransfer& transfer) { return transfer.isCancelled(); }, &CurlTransfer::endAsCancelled);
}

void CurlHttpClient::Network::dropStalled() {
    const auto now = std::chrono::steady_clock::now();
    drop([&](const CurlTransfer& transfer) { return transfer.stallsAt().value_or(CurlTransfer::Moment::max()) <= now; },
         &CurlTransfer::endAsStalled);
}

void CurlHttpClient::Network::resumeTaken() {
    for (const auto& [handle, transfer] : m_active)
        transfer->resumeWhereTaken();
}

/// libcurl's own deadlines and wake() end a wait earlier.
int CurlHttpClient::Network::untilNextStall() const {
    using std::chrono::milliseconds;
    const auto now = std::chrono::steady_clock::now();
    milliseconds left = longestWait;
    for (const auto& [handle, transfer] : m_active)
        if (const auto stall = transfer->stallsAt())
            left = std::min(left, std::chrono::ceil<milliseconds>(std::max(*stall - now, {})));
    return static_cast<int>(left.count());
}

void CurlHttpClient::Network::endFinished() {
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(m_multi, &left)) {
        if (message->msg != CURLMSG_DONE)
            continue;
        const auto found = m_active.find(message->easy_handle);
        const CURLcode result = message->data.result; // removing the handle frees the message
        curl_multi_remove_handle(m_multi, found->first);
        if (result != CURLE_OK && found->second->startsAfresh(result) &&
            curl_multi_add_handle(m_multi, found->first) == CURLM_OK)
            continue;
        found->second->end(result);
        m_active.erase(found);
    }
}

void CurlHttpClient::Network::endAll() {
    admitNew();
    for (const auto& [handle, transfer] : m_active)
        transfer->cancel();
    dropCancelled();
}

} // namespace fenlo
