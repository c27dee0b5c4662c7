#include "ui/shell/ApplicationSetup.h"

#include "tools/ToolLocator.h"
#include "ui/BrandPicture.h"
#include "ui/shell/FreedMemory.h"

#include <QApplication>
#include <QLoggingCategory>

namespace {
Q_LOGGING_CATEGORY(startupLog, "corvalin.startup", QtWarningMsg)
} // namespace

namespace ApplicationSetup {

void apply(QApplication &)
{
    QGuiApplication::setDesktopFileName(QStringLiteral("ru.corvalin.Studio"));
}

// The icon theme's look-up and the picture's decoding cost more than the first frame needs.
void completeAfterFirstFrame()
{
    QApplication::setWindowIcon(BrandPicture::windowIcon());
    qCInfo(startupLog).noquote() << "Tools folder:" << ToolLocator::toolsRoot();
    // Building the window and decoding its icon left freed blocks behind that nothing reuses soon.
    FreedMemory::returnToSystem();
}

} // namespace ApplicationSetup
