// Downloads one link with the real manager until it is killed: another copy of the
// application, for the tests that resume after the process died mid-transfer and that share
// the folders with a process still downloading.
//
//   download-child APPLICATION_SUPPORT DOWNLOADS URL

#include "download/DownloadManager.h"
#include "support/LocalHttpServer.h"
#include "tools/SystemPaths.h"

#include <QCoreApplication>

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.size() != 4)
        return 2;
    SystemPaths::Testing::Overrides overrides;
    overrides.applicationSupportFolder = arguments.at(1);
    overrides.downloadsFolder = arguments.at(2);
    SystemPaths::Testing::setOverrides(overrides);
    LocalHttpServer::trustTestCertificate();

    DownloadManager manager;
    WatchFirmware firmware;
    firmware.downloadURL = QUrl(arguments.at(3));
    firmware.filename = firmware.downloadURL.fileName();
    manager.start(firmware,
                  [](const Result<QString> &result) { QCoreApplication::exit(result.ok() ? 0 : 1); });
    return QCoreApplication::exec();
}
