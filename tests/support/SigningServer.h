#pragma once

#include "support/LocalHttpServer.h"

#include <QByteArray>
#include <QList>

// A stand-in for Apple's signing server (TSS) on 127.0.0.1, reached by the real tools through
// the proxy variables of the environment the application passes on to them: libcurl sends
// idevicerestore's requests for gs.apple.com to it instead. libtatsu tries https first; the
// stand-in refuses the tunnel at once, so the request reaches it on libtatsu's plain-http
// attempt (after the library's own pauses between attempts, about six seconds).
//
// For the life of the object, http_proxy and https_proxy of this process point here, no_proxy
// exempts 127.0.0.1 (the application's own local servers), and the previous values come back
// afterwards.
class SigningServer {
public:
    enum class Answer {
        tickets, // STATUS=0: a ticket for every request
        refusal, // STATUS=94: the device is not eligible for the build
        nothing, // an empty answer, which libtatsu retries
    };

    // One request as idevicerestore sent it: the values of the watch it describes.
    struct Request {
        QByteArray plist; // the request body, an XML property list
        quint64 ecid = 0;
        quint64 chipId = 0;
        quint64 boardId = 0;
        QByteArray apNonce; // decoded
    };

    explicit SigningServer(Answer answer = Answer::tickets);
    ~SigningServer();
    SigningServer(const SigningServer &) = delete;
    SigningServer &operator=(const SigningServer &) = delete;

    void setAnswer(Answer answer);
    // The signing requests received so far, in order (refused tunnels are not counted).
    QList<Request> requests() const;

    // The answer libtatsu takes for success: a property list holding an ApImg4Ticket.
    static QByteArray ticketAnswer();
    static QByteArray refusalAnswer();

private:
    LocalHttpServer m_server;
    QList<std::pair<QByteArray, QByteArray>> m_savedEnvironment; // name, value (empty: unset)
};
