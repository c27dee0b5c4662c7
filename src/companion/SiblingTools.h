#pragma once

#include <QProcessEnvironment>
#include <QString>

// The real libimobiledevice tools beside this one: it lives in bin/ of a tools folder, next to
// irecovery and idevicerestore, with their libraries in ../lib. Found from the executable's own
// location (symbolic links resolved), so no setting is needed.
namespace SiblingTools {

// The tools folder holding this executable's bin/ folder.
QString toolsRoot();
// `name` in the same bin/ folder.
QString path(const QString &name);
// The caller's environment with the siblings' libraries first and LC_ALL=C, as the application
// gives every tool.
QProcessEnvironment environment();

} // namespace SiblingTools
