#include "ui/shell/DesktopOpener.h"

#include <QDesktopServices>

namespace DesktopOpener {

namespace {
std::function<bool(const QUrl &)> &testOpener()
{
    static std::function<bool(const QUrl &)> opener;
    return opener;
}
} // namespace

bool open(const QUrl &url)
{
    if (testOpener())
        return testOpener()(url);
    return QDesktopServices::openUrl(url);
}

namespace Testing {
void setOpener(std::function<bool(const QUrl &)> opener)
{
    testOpener() = std::move(opener);
}
} // namespace Testing

} // namespace DesktopOpener
