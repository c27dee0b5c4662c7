#include "ui/shell/QtTranslations.h"

#include <QCoreApplication>
#include <QDir>
#include <QLibraryInfo>
#include <QTranslator>

namespace QtTranslations {

QStringList searchFolders()
{
    const QDir executable(QCoreApplication::applicationDirPath());
    return {QLibraryInfo::path(QLibraryInfo::TranslationsPath),
            executable.filePath(QStringLiteral("translations")),
            QDir::cleanPath(executable.filePath(QStringLiteral("../Resources/translations")))};
}

bool install(QCoreApplication &application)
{
    auto *translator = new QTranslator(&application);
    for (const QString &folder : searchFolders()) {
        if (translator->load(QStringLiteral("qtbase_ru"), folder)) {
            QCoreApplication::installTranslator(translator);
            return true;
        }
    }
    delete translator;
    return false;
}

} // namespace QtTranslations
