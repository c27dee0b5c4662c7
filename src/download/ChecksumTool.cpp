#include "download/ChecksumTool.h"

#include "tools/ProcessRunner.h"
#include "tools/SystemPaths.h"

#include <QStringList>

namespace ChecksumTool {

QCoro::Task<QString> sha256(QString path)
{
    const QStringList arguments{QStringLiteral("-a"), QStringLiteral("256"), path};
    const ProcessResult result = co_await ProcessRunner::run(SystemPaths::shasumTool(), arguments);
    co_return firstPiece(result.output);
}

QString firstPiece(const QString &output)
{
    const QStringList pieces = output.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    return pieces.isEmpty() ? QString() : pieces.first();
}

bool accepts(const QString &expected, const QString &computed)
{
    return expected.isEmpty() || expected.toLower() == computed.toLower();
}

} // namespace ChecksumTool
