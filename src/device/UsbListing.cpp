#include "device/UsbListing.h"

#include "device/UsbProductMatch.h"
#include "tools/ProcessRunner.h"
#include "tools/SystemPaths.h"

#include <QDir>
#include <QFile>

namespace UsbListing {

QCoro::Task<QString> fetch()
{
#ifdef Q_OS_MACOS
    co_return co_await fromIoreg();
#else
    co_return fromSysfs(SystemPaths::usbDevicesFolder());
#endif
}

QCoro::Task<QString> fromIoreg()
{
    const QStringList arguments{QStringLiteral("-p"), QStringLiteral("IOUSB"), QStringLiteral("-l"),
                                QStringLiteral("-w0")};
    const ProcessResult result = co_await ProcessRunner::run(SystemPaths::ioregTool(), arguments);
    co_return result.output;
}

QString fromSysfs(const QString &devicesFolder)
{
    const QDir folder(devicesFolder);
    QString listing;
    // Interfaces have no idProduct file and are skipped by the read below.
    for (const QString &device : folder.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name)) {
        QFile file(folder.filePath(device + QStringLiteral("/idProduct")));
        if (!file.open(QIODevice::ReadOnly))
            continue;
        bool isNumber = false;
        const int productID = QString::fromLatin1(file.readAll()).trimmed().toInt(&isNumber, 16);
        if (isNumber)
            listing += UsbProductMatch::pattern(productID) + u'\n';
    }
    return listing;
}

} // namespace UsbListing
