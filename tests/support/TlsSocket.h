#pragma once

#include <QByteArray>
#include <QtGlobal>

class QObject;
class QSslSocket;

// A file of tests/support/data; a missing one ends the test run.
QByteArray supportData(const char *name);

// The accepted connection `descriptor` as a socket of `parent` that will speak TLS with the
// certificate and key of those support files; null when the descriptor cannot be taken.
QSslSocket *adoptTlsSocket(QObject *parent, qintptr descriptor, const char *certificate, const char *key);
