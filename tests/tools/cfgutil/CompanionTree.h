#pragma once

#include "support/TestFiles.h"
#include "support/TestPaths.h"

#include <QDir>
#include <QFile>

// The built companion, copied into the tools folder of a test tree: it finds the tools placed
// beside it there, fake or real, and the application finds it where it looks on Linux.
//
// The companion finds the application's cache and logs folders as the application does, from
// HOME and the XDG variables; they are pointed at the tree's Downloads and Application Support
// folders for this test process, and so for every companion it starts, directly or through the
// application.
inline QString installCompanion(TestPaths &paths)
{
    const QString target = paths.tool(QStringLiteral("bin/cfgutil"));
    QFile::remove(target);
    if (!QFile::copy(QStringLiteral(CORVALIN_CFGUTIL), target))
        qFatal("cannot copy the companion from %s", CORVALIN_CFGUTIL);
    paths.setConfiguratorTool(target);

    qputenv("HOME", paths.root().toLocal8Bit());
    qputenv("XDG_DATA_HOME", paths.applicationSupport().toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", QDir(paths.root()).filePath(QStringLiteral(".config")).toLocal8Bit());
    return target;
}
