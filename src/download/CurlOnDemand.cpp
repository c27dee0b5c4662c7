// libcurl's entry points, loaded the first time a download calls one of them rather than when the
// application starts. Linked in, libcurl brings some thirty libraries of its own (TLS, Kerberos,
// LDAP, SSH) that every start would map and relocate and that would stay resident all session,
// although most sessions never download anything.
//
// Each function here has libcurl's own signature and forwards to the library's; when libcurl
// cannot be loaded, each returns what libcurl itself returns for a failed initialisation.
#define CURL_DISABLE_TYPECHECK
#include <curl/curl.h>

#include <QLibrary>

#include <cstdarg>

namespace {

struct CurlEntryPoints {
    CURLcode (*globalInit)(long) = nullptr;
    CURL *(*easyInit)() = nullptr;
    void (*easyCleanup)(CURL *) = nullptr;
    CURLcode (*easySetopt)(CURL *, CURLoption, ...) = nullptr;
    CURLcode (*easyGetinfo)(CURL *, CURLINFO, ...) = nullptr;
    CURLHcode (*easyHeader)(CURL *, const char *, size_t, unsigned int, int, curl_header **) = nullptr;
    CURLcode (*easyPause)(CURL *, int) = nullptr;
    CURLM *(*multiInit)() = nullptr;
    CURLMcode (*multiCleanup)(CURLM *) = nullptr;
    CURLMcode (*multiAddHandle)(CURLM *, CURL *) = nullptr;
    CURLMcode (*multiRemoveHandle)(CURLM *, CURL *) = nullptr;
    CURLMcode (*multiPerform)(CURLM *, int *) = nullptr;
    CURLMcode (*multiPoll)(CURLM *, curl_waitfd[], unsigned int, int, int *) = nullptr;
    CURLMcode (*multiWakeup)(CURLM *) = nullptr;
    CURLMsg *(*multiInfoRead)(CURLM *, int *) = nullptr;
    curl_slist *(*slistAppend)(curl_slist *, const char *) = nullptr;
    void (*slistFreeAll)(curl_slist *) = nullptr;
};

// Whether the library has `name`; `function` is null when it has not.
template <typename Function> bool resolve(QLibrary &library, Function &function, const char *name)
{
    function = reinterpret_cast<Function>(library.resolve(name));
    return function != nullptr;
}

// All or nothing: a library missing any of them counts as not loaded.
CurlEntryPoints load()
{
    QLibrary library(QStringLiteral("curl"), 4);
    CurlEntryPoints api;
    if (!library.load())
        return api;
    // The oldest release that takes the protocol list as text, which keeps redirects to HTTP(S).
    using VersionInfo = curl_version_info_data *(*)(CURLversion);
    const auto versionInfo = reinterpret_cast<VersionInfo>(library.resolve("curl_version_info"));
    if (!versionInfo || versionInfo(CURLVERSION_NOW)->version_num < 0x075500)
        return api;
    const bool complete = resolve(library, api.globalInit, "curl_global_init") &&
                          resolve(library, api.easyInit, "curl_easy_init") &&
                          resolve(library, api.easyCleanup, "curl_easy_cleanup") &&
                          resolve(library, api.easySetopt, "curl_easy_setopt") &&
                          resolve(library, api.easyGetinfo, "curl_easy_getinfo") &&
                          resolve(library, api.easyHeader, "curl_easy_header") &&
                          resolve(library, api.easyPause, "curl_easy_pause") &&
                          resolve(library, api.multiInit, "curl_multi_init") &&
                          resolve(library, api.multiCleanup, "curl_multi_cleanup") &&
                          resolve(library, api.multiAddHandle, "curl_multi_add_handle") &&
                          resolve(library, api.multiRemoveHandle, "curl_multi_remove_handle") &&
                          resolve(library, api.multiPerform, "curl_multi_perform") &&
                          resolve(library, api.multiPoll, "curl_multi_poll") &&
                          resolve(library, api.multiWakeup, "curl_multi_wakeup") &&
                          resolve(library, api.multiInfoRead, "curl_multi_info_read") &&
                          resolve(library, api.slistAppend, "curl_slist_append") &&
                          resolve(library, api.slistFreeAll, "curl_slist_free_all");
    return complete ? api : CurlEntryPoints{};
}

// Loaded once, by whichever thread asks first; the library then stays for the process's life.
const CurlEntryPoints &curl()
{
    static const CurlEntryPoints api = load();
    return api;
}

// The one value that follows an option or an information code is read as the type its number
// range stands for, and handed on as such.
template <typename Call> CURLcode forwardOptionValue(int option, va_list values, Call call)
{
    if (option < CURLOPTTYPE_OBJECTPOINT)
        return call(va_arg(values, long));
    if (option >= CURLOPTTYPE_OFF_T && option < CURLOPTTYPE_BLOB)
        return call(va_arg(values, curl_off_t));
    return call(va_arg(values, void *));
}

} // namespace

extern "C" {

CURLcode curl_global_init(long flags)
{
    return curl().globalInit ? curl().globalInit(flags) : CURLE_FAILED_INIT;
}

CURL *curl_easy_init()
{
    return curl().easyInit ? curl().easyInit() : nullptr;
}

void curl_easy_cleanup(CURL *handle)
{
    if (handle && curl().easyCleanup)
        curl().easyCleanup(handle);
}

// libcurl's own declarations end the fixed arguments with an enumeration, which clang flags for
// va_start. Its values fit an int, which is how every ABI passes it, and libcurl reads its own
// arguments the same way.
#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wvarargs"
#endif

CURLcode(curl_easy_setopt)(CURL *handle, CURLoption option, ...)
{
    if (!curl().easySetopt)
        return CURLE_FAILED_INIT;
    va_list values;
    va_start(values, option);
    const CURLcode result = forwardOptionValue(
        option, values, [&](auto value) { return curl().easySetopt(handle, option, value); });
    va_end(values);
    return result;
}

// Every information code is answered through a pointer.
CURLcode(curl_easy_getinfo)(CURL *handle, CURLINFO info, ...)
{
    if (!curl().easyGetinfo)
        return CURLE_FAILED_INIT;
    va_list values;
    va_start(values, info);
    void *answer = va_arg(values, void *);
    va_end(values);
    return curl().easyGetinfo(handle, info, answer);
}

#if defined(__clang__)
#pragma clang diagnostic pop
#endif

CURLHcode curl_easy_header(CURL *handle, const char *name, size_t index, unsigned int origin, int request,
                           curl_header **header)
{
    return curl().easyHeader ? curl().easyHeader(handle, name, index, origin, request, header)
                             : CURLHE_NOT_BUILT_IN;
}

CURLcode curl_easy_pause(CURL *handle, int bitmask)
{
    return curl().easyPause ? curl().easyPause(handle, bitmask) : CURLE_FAILED_INIT;
}

CURLM *curl_multi_init()
{
    return curl().multiInit ? curl().multiInit() : nullptr;
}

CURLMcode curl_multi_cleanup(CURLM *multi)
{
    return curl().multiCleanup ? curl().multiCleanup(multi) : CURLM_BAD_HANDLE;
}

CURLMcode curl_multi_add_handle(CURLM *multi, CURL *handle)
{
    return curl().multiAddHandle ? curl().multiAddHandle(multi, handle) : CURLM_BAD_HANDLE;
}

CURLMcode curl_multi_remove_handle(CURLM *multi, CURL *handle)
{
    return curl().multiRemoveHandle ? curl().multiRemoveHandle(multi, handle) : CURLM_BAD_HANDLE;
}

CURLMcode curl_multi_perform(CURLM *multi, int *running)
{
    return curl().multiPerform ? curl().multiPerform(multi, running) : CURLM_BAD_HANDLE;
}

CURLMcode curl_multi_poll(CURLM *multi, curl_waitfd extra[], unsigned int extraCount, int timeoutMs,
                          int *ready)
{
    return curl().multiPoll ? curl().multiPoll(multi, extra, extraCount, timeoutMs, ready) : CURLM_BAD_HANDLE;
}

CURLMcode curl_multi_wakeup(CURLM *multi)
{
    return curl().multiWakeup ? curl().multiWakeup(multi) : CURLM_BAD_HANDLE;
}

CURLMsg *curl_multi_info_read(CURLM *multi, int *remaining)
{
    return curl().multiInfoRead ? curl().multiInfoRead(multi, remaining) : nullptr;
}

curl_slist *curl_slist_append(curl_slist *list, const char *text)
{
    return curl().slistAppend ? curl().slistAppend(list, text) : nullptr;
}

void curl_slist_free_all(curl_slist *list)
{
    if (list && curl().slistFreeAll)
        curl().slistFreeAll(list);
}

} // extern "C"
