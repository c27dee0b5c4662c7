#pragma once

#include <QFile>

#include <fcntl.h>
#include <unistd.h>

// Writes `text` to the file at `path` and gives this process that file as its standard input for
// the life of the object, as a terminal would give it to the application.
class StandardInputFrom {
public:
    StandardInputFrom(const QString &path, const QByteArray &text) : m_saved(::dup(STDIN_FILENO))
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
            qFatal("cannot write the standard input file");
        file.close();
        m_file = ::open(QFile::encodeName(path).constData(), O_RDONLY);
        ::dup2(m_file, STDIN_FILENO);
    }
    ~StandardInputFrom()
    {
        ::dup2(m_saved, STDIN_FILENO);
        ::close(m_saved);
        ::close(m_file);
    }
    StandardInputFrom(const StandardInputFrom &) = delete;
    StandardInputFrom &operator=(const StandardInputFrom &) = delete;

private:
    int m_saved;
    int m_file = -1;
};
