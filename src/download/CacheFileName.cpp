#include "download/CacheFileName.h"

namespace CacheFileName {

namespace {

constexpr qsizetype maximumNameBytes = 255;

} // namespace

QString fromURL(const QUrl &url)
{
    const QString path = url.path();
    qsizetype end = path.size();
    while (end > 1 && path.at(end - 1) == u'/')
        --end;
    if (end == 1 && path.startsWith(u'/'))
        return QStringLiteral("/");
    const QStringView trimmed = QStringView(path).first(end);
    return trimmed.sliced(trimmed.lastIndexOf(u'/') + 1).toString();
}

bool isPlain(const QString &name)
{
    if (name.isEmpty() || name == u"." || name == u"..")
        return false;
    if (name.contains(u'/') || name.contains(QChar(u'\0')) || name.startsWith(u':'))
        return false;
    return name.toUtf8().size() <= maximumNameBytes;
}

} // namespace CacheFileName
