#include "companion/IrecoveryQuery.h"

#include "companion/SiblingTools.h"
#include "device/identity/IdentificationListing.h"

#include <QFileInfo>
#include <QHash>
#include <QProcess>

namespace IrecoveryQuery {
namespace {

const QString noDeviceLine = QStringLiteral("ERROR: Unable to connect to device");
// The tool gives up by itself after about six seconds; a hung USB stack must not hang the
// application's polling loop, which waits for this tool.
constexpr int finishTimeoutMs = 30000;

bool saysNoDevice(const QByteArray &standardError)
{
    for (const QByteArray &line : standardError.split('\n')) {
        if (QString::fromUtf8(line).trimmed() == noDeviceLine)
            return true;
    }
    return false;
}

// irecovery prints the ECID as 0x and sixteen hex digits; Configurator drops the zeros and
// writes the digits in upper case.
std::optional<QString> configuratorEcid(const QString &printed)
{
    if (!printed.startsWith(QStringLiteral("0x")))
        return std::nullopt;
    bool ok = false;
    const qulonglong value = printed.mid(2).toULongLong(&ok, 16);
    if (!ok)
        return std::nullopt;
    return QStringLiteral("0x") + QString::number(value, 16).toUpper();
}

} // namespace

Answer interpret(const Run &run)
{
    if (run.status != 0) {
        if (saysNoDevice(run.standardError))
            return NoDevice{};
        return Failure{QStringLiteral("irecovery -q failed with status %1: %2")
                           .arg(run.status)
                           .arg(QString::fromUtf8(run.standardError + run.standardOutput).trimmed())};
    }

    const QHash<QString, QString> values =
        IdentificationListing::parse(QString::fromUtf8(run.standardOutput));
    const std::optional<QString> ecid = configuratorEcid(values.value(QStringLiteral("ECID")));
    if (!ecid)
        return Failure{QStringLiteral("irecovery -q printed no readable ECID")};
    const QString product = values.value(QStringLiteral("PRODUCT"));
    return Device{*ecid, product.isEmpty() ? std::nullopt : std::optional(product)};
}

Answer ask()
{
    const QString tool = SiblingTools::path(QStringLiteral("irecovery"));
    const QFileInfo info(tool);
    if (!info.isFile() || !info.isExecutable())
        return Failure{QStringLiteral("irecovery not found at ") + tool};

    QProcess process;
    process.setProgram(tool);
    process.setArguments({QStringLiteral("-q")});
    process.setProcessEnvironment(SiblingTools::environment());
    process.start(QIODevice::ReadOnly);
    if (!process.waitForStarted())
        return Failure{QStringLiteral("irecovery could not be started: ") + process.errorString()};
    if (!process.waitForFinished(finishTimeoutMs)) {
        process.kill();
        process.waitForFinished();
        return Failure{QStringLiteral("irecovery -q did not finish within %1 s").arg(finishTimeoutMs / 1000)};
    }
    if (process.exitStatus() == QProcess::CrashExit)
        return Failure{QStringLiteral("irecovery -q ended abnormally: ") + process.errorString()};
    return interpret(
        Run{process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()});
}

} // namespace IrecoveryQuery
