#include "companion/SiblingTools.h"

#include "tools/ToolLocator.h"

#include <QCoreApplication>
#include <QDir>

namespace SiblingTools {

QString toolsRoot()
{
    return QDir::cleanPath(QCoreApplication::applicationDirPath() + QStringLiteral("/.."));
}

QString path(const QString &name)
{
    return QDir(toolsRoot()).filePath(QStringLiteral("bin/") + name);
}

QProcessEnvironment environment()
{
    return ToolLocator::environmentFor(toolsRoot());
}

} // namespace SiblingTools
