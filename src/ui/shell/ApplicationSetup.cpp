#include "ui/shell/ApplicationSetup.h"

#include "tools/ToolLocator.h"
#include "ui/BrandPicture.h"

#include <QApplication>
#include <QLoggingCategory>
#include <QTimer>

namespace {
Q_LOGGING_CATEGORY(startupLog, "corvalin.startup", QtWarningMsg)
} // namespace

namespace ApplicationSetup {

void apply(QApplication &application)
{
    QApplication::setWindowIcon(BrandPicture::windowIcon());
    QGuiApplication::setDesktopFileName(QStringLiteral("ru.corvalin.Studio"));
    QTimer::singleShot(0, &application,
                       [] { qCInfo(startupLog).noquote() << "Tools folder:" << ToolLocator::toolsRoot(); });
}

} // namespace ApplicationSetup
