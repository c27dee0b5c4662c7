#pragma once

#include <QStringList>

class QCoreApplication;

// Qt's own Russian texts (standard buttons, the file chooser, network and file error
// descriptions), so that platform texts read in the application's language.
namespace QtTranslations {

// Folders searched for Qt's catalogue, in order: the one Qt was built to use (on Linux the
// distribution's package), then a translations folder shipped beside the executable and, on
// macOS, the one in the application bundle's resources.
QStringList searchFolders();

// Loads "qtbase_ru" from the first folder that has it and installs it on the application.
// Returns false, changing nothing, when no folder has it: the texts stay in English.
bool install(QCoreApplication &application);

} // namespace QtTranslations
