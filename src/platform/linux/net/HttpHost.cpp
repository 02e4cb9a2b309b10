#include "platform/linux/net/HttpHost.h"

#include "platform/HttpClient.h"
#include "platform/linux/net/Curl.h"

#include <memory>

namespace fenlo {

namespace {

using ParsedUrl = std::unique_ptr<CURLU, decltype(::curl_url_cleanup)*>;

std::string partOf(const ParsedUrl& url, CURLUPart part, unsigned flags = 0) {
    char* text = nullptr;
    if (curl_url_get(url.get(), part, &text, flags) != CURLUE_OK)
        return {};
    std::string copy = text;
    curl_free(text);
    return copy;
}

} // namespace

HttpHost HttpHost::of(const std::string& url) {
    const ParsedUrl parsed(curl_url(), curl_url_cleanup);
    const bool isUrl = parsed && url.find('\0') == std::string::npos &&
                       curl_url_set(parsed.get(), CURLUPART_URL, url.c_str(), 0) == CURLUE_OK;
    const std::string scheme = isUrl ? partOf(parsed, CURLUPART_SCHEME) : "";
    // The address itself stays out of the message: it may hold a key.
    if (scheme != "http" && scheme != "https")
        throw HttpError(HttpError::Kind::badUrl, "the address of the request is no http or https URL");

    const std::string host = partOf(parsed, CURLUPART_HOST);
    const std::string port = partOf(parsed, CURLUPART_PORT);
    return {scheme + "://" + host + ":" + partOf(parsed, CURLUPART_PORT, CURLU_DEFAULT_PORT),
            port.empty() ? host : host + ":" + port};
}

} // namespace fenlo
