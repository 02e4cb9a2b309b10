#pragma once

#include "base/LateLibrary.h"

#include <curl/curl.h>

/// libcurl, which is opened with the first request: two dozen other libraries come with it. What is used beyond these
/// is "undefined" to the linker, and is to be added here.
namespace fenlo {

extern const char curlLibrary[];

#define FENLO_CURL(name) FENLO_LATE_FUNCTION(curlLibrary, name)
#undef curl_easy_getinfo // macros that only repeat the name
#undef curl_easy_setopt
#undef curl_multi_setopt
FENLO_CURL(curl_easy_cleanup);
FENLO_CURL(curl_easy_getinfo);
FENLO_CURL(curl_easy_init);
FENLO_CURL(curl_easy_pause);
FENLO_CURL(curl_easy_setopt);
FENLO_CURL(curl_easy_strerror);
FENLO_CURL(curl_free);
FENLO_CURL(curl_global_cleanup);
FENLO_CURL(curl_global_init);
FENLO_CURL(curl_multi_add_handle);
FENLO_CURL(curl_multi_cleanup);
FENLO_CURL(curl_multi_info_read);
FENLO_CURL(curl_multi_init);
FENLO_CURL(curl_multi_perform);
FENLO_CURL(curl_multi_poll);
FENLO_CURL(curl_multi_remove_handle);
FENLO_CURL(curl_multi_setopt);
FENLO_CURL(curl_multi_wakeup);
FENLO_CURL(curl_slist_append);
FENLO_CURL(curl_slist_free_all);
FENLO_CURL(curl_url);
FENLO_CURL(curl_url_cleanup);
FENLO_CURL(curl_url_get);
FENLO_CURL(curl_url_set);
#undef FENLO_CURL

} // namespace fenlo
