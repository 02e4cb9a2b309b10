#include "account/RedirectAnswers.h"

namespace fenlo::redirectAnswers {

namespace {

/// It takes the code out of the address that the browser shows and remembers, and loads nothing.
constexpr char signedInPage[] =
    "<!DOCTYPE html><html lang=\"en\"><head><meta charset=\"utf-8\"><title>Fenlo</title>"
    "<meta name=\"viewport\" content=\"width=device-width\"><meta name=\"color-scheme\" content=\"light dark\">"
    "<link rel=\"icon\" href=\"data:,\"><style>body{font:1.1em sans-serif;margin:20vh auto;max-width:30em;"
    "padding:0 1em;text-align:center}</style></head><body><h1>You are signed in.</h1>"
    "<p>You can close this tab.</p><script>history.replaceState(null,\"\",\"/\")</script></body></html>";

} // namespace

std::string success(const std::string& successPage) {
    if (!successPage.empty())
        return "HTTP/1.1 302 Found\r\nLocation: " + successPage + "\r\nContent-Length: 0\r\n\r\n";
    const std::string page = signedInPage;
    return "HTTP/1.1 200 OK\r\nContent-Type: text/html; charset=utf-8\r\nContent-Length: " +
           std::to_string(page.size()) + "\r\nCache-Control: no-store\r\nConnection: close\r\n\r\n" + page;
}

std::string failure() {
    return "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\n\r\n"
           "<html><body><h2>Login failed</h2><p>Please try again.</p></body></html>";
}

} // namespace fenlo::redirectAnswers
