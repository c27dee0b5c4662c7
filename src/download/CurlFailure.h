#pragma once

#include "app/records/Failure.h"

#include <curl/curl.h>

// The failure of a transfer that curl reports, described and numbered as the rest of the
// application describes network failures (Qt's texts, in the user's language through Qt's
// translations, and QNetworkReply's error codes), so that a download fails in the same words
// as the catalogue does.
namespace CurlFailure {

// `handle` gives the details of the failed transfer (the certificate check's verdict, the host).
Failure describe(CURLcode code, CURL *handle);
// The user's cancel, as the network layer reports it.
Failure cancelled();

} // namespace CurlFailure
