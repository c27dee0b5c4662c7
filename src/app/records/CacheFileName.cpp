#include "app/records/CacheFileName.h"

namespace CacheFileName {

namespace {

constexpr qsizetype maximumNameBytes = 255 - suffixRoom;

bool isUnreserved(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '.' || c == '_' || c == '~';
}

int hexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return -1;
}

} // namespace

QString fromURL(const QUrl &url)
{
    const QByteArray path = url.path(QUrl::FullyEncoded).toLatin1();
    const QByteArray component = path.sliced(path.lastIndexOf('/') + 1);
    QByteArray name;
    name.reserve(component.size());
    for (qsizetype i = 0; i < component.size(); ++i) {
        const char c = component.at(i);
        const int high = c == '%' && i + 2 < component.size() ? hexValue(component.at(i + 1)) : -1;
        const int low = high >= 0 ? hexValue(component.at(i + 2)) : -1;
        if (low < 0) {
            name += c;
            continue;
        }
        const char decoded = char(high * 16 + low);
        if (isUnreserved(decoded))
            name += decoded;
        else
            name += '%' + QByteArray::number(high * 16 + low, 16).rightJustified(2, '0').toUpper();
        i += 2;
    }
    return QString::fromLatin1(name);
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
