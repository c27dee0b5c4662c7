#pragma once

#include "app/records/Failure.h"

#include <QCoroTask>
#include <QUrl>

#include <chrono>
#include <optional>

// Qt's HTTPS layer sets TLS up (loads the TLS library, reads its defaults: several megabytes that
// stay for the whole session) as soon as a request is made, before it even looks the host name
// up. Offline that is all wasted, since the request then fails at the name. For a direct HTTPS
// request to a named host the name is therefore looked up first, on its own.
namespace HostLookupFirst {

// The failure the request would end with when its host name does not resolve within `timeout`,
// in the transfer's own words: Qt's "host not found", or its time-out. Nothing when the request
// should go ahead: the name resolves, the host is an address, the scheme is not HTTPS, or a
// proxy would look the name up instead.
QCoro::Task<std::optional<Failure>> failureBeforeConnecting(QUrl url, std::chrono::milliseconds timeout);

} // namespace HostLookupFirst
