#pragma once

#include <QFile>
#include <QString>

#ifdef CORVALIN_TEST_DATA
// A file of the test's own data folder, which its target names in CORVALIN_TEST_DATA.
inline QByteArray testData(const char *name)
{
    QFile file(QStringLiteral(CORVALIN_TEST_DATA "/") + QString::fromLatin1(name));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("missing test data %s", name);
    return file.readAll();
}
#endif

// Writes `bytes` to a new or emptied file at `path`; false when that fails.
inline bool writeFile(const QString &path, const QByteArray &bytes = {})
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}
