#include "support/FakeTools.h"
#include "support/TestFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

QByteArray shellQuoted(const QString &path)
{
    QByteArray quoted = path.toUtf8();
    quoted.replace('\'', "'\\''");
    return '\'' + quoted + '\'';
}

QByteArray readRecord(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

QString FakeTools::write(const QString &absolutePath, const FakeToolBehaviour &behaviour)
{
    QDir().mkpath(QFileInfo(absolutePath).absolutePath());

    QByteArray script = "#!/bin/sh\n";
    script += "echo run >> " + shellQuoted(absolutePath + QStringLiteral(".runs")) + "\n";
    script += ": > " + shellQuoted(absolutePath + QStringLiteral(".args")) + "\n";
    script += "for argument in \"$@\"; do printf '%s\\0' \"$argument\" >> " +
              shellQuoted(absolutePath + QStringLiteral(".args")) + "; done\n";
    script += "env -0 > " + shellQuoted(absolutePath + QStringLiteral(".env")) + "\n";
    for (qsizetype i = 0; i < behaviour.chunks.size(); ++i) {
        const QString chunkPath = absolutePath + QStringLiteral(".out%1").arg(i);
        writeFile(chunkPath, behaviour.chunks.at(i));
        if (i > 0 && behaviour.secondsBetweenChunks > 0)
            script += "sleep " + QByteArray::number(behaviour.secondsBetweenChunks, 'f', 3) + "\n";
        script += "cat " + shellQuoted(chunkPath) + "\n";
    }
    script += behaviour.extraShell + "\n";
    script += "exit " + QByteArray::number(behaviour.exitStatus) + "\n";

    writeFile(absolutePath, script);
    QFile::setPermissions(absolutePath, QFile::permissions(absolutePath) | QFileDevice::ExeOwner |
                                            QFileDevice::ExeGroup | QFileDevice::ExeOther);
    QFile::remove(absolutePath + QStringLiteral(".runs"));
    return absolutePath;
}

QStringList FakeTools::recordedArguments(const QString &toolPath)
{
    const QByteArray bytes = readRecord(toolPath + QStringLiteral(".args"));
    QStringList arguments;
    for (const QByteArray &argument : bytes.split('\0'))
        arguments << QString::fromUtf8(argument);
    if (!arguments.isEmpty())
        arguments.removeLast(); // every argument ends with a NUL, so the last piece is empty
    return arguments;
}

QProcessEnvironment FakeTools::recordedEnvironment(const QString &toolPath)
{
    QProcessEnvironment environment;
    for (const QByteArray &entry : readRecord(toolPath + QStringLiteral(".env")).split('\0')) {
        const qsizetype equals = entry.indexOf('=');
        if (equals > 0)
            environment.insert(QString::fromUtf8(entry.left(equals)),
                               QString::fromUtf8(entry.mid(equals + 1)));
    }
    return environment;
}

int FakeTools::runCount(const QString &toolPath)
{
    return int(readRecord(toolPath + QStringLiteral(".runs")).count("run"));
}
