#pragma once

#include <QCoroTask>
#include <QString>

// SHA-256 digests computed by the system's shasum tool, which reads the file itself, so the
// application never holds image data.
namespace ChecksumTool {

// Runs `shasum -a 256 path` through the process runner and returns the first space-separated
// piece of its output: the digest when the tool worked, otherwise the first word of whatever
// it or the runner said (which can never equal a digest). The exit status is not examined.
QCoro::Task<QString> sha256(QString path);

// The digest from a line of tool output; empty when the output has no piece at all.
QString firstPiece(const QString &output);

// An empty expectation accepts anything; otherwise the texts must match ignoring letter case.
bool accepts(const QString &expected, const QString &computed);

} // namespace ChecksumTool
