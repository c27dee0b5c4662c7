#include "catalog/UrlReference.h"

namespace {

bool isAlpha(QChar c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

bool isDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

bool isHexDigit(QChar c)
{
    return isDigit(c) || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
}

// Unreserved characters and sub-delimiters, the ones allowed everywhere except in the scheme.
bool isPlainCharacter(QChar c)
{
    return isAlpha(c) || isDigit(c) || QStringView(u"-._~!$&'()*+,;=").contains(c);
}

// Characters of a path, query or fragment apart from escapes; `extra` adds the delimiters the
// part may also hold.
bool holdsOnly(QStringView part, QStringView extra)
{
    for (qsizetype i = 0; i < part.size(); ++i) {
        const QChar c = part[i];
        if (c == u'%') {
            if (i + 2 >= part.size() || !isHexDigit(part[i + 1]) || !isHexDigit(part[i + 2]))
                return false;
            i += 2;
        } else if (!isPlainCharacter(c) && c != u':' && c != u'@' && !extra.contains(c)) {
            return false;
        }
    }
    return true;
}

bool isScheme(QStringView text)
{
    if (text.isEmpty() || !isAlpha(text.front()))
        return false;
    for (const QChar c : text) {
        if (!isAlpha(c) && !isDigit(c) && c != u'+' && c != u'-' && c != u'.')
            return false;
    }
    return true;
}

// userinfo@host:port, where host is a name (escapes allowed) or a bracketed IP literal and the
// port any run of digits.
bool isAuthority(QStringView authority)
{
    if (const qsizetype at = authority.lastIndexOf(u'@'); at >= 0) {
        if (!holdsOnly(authority.first(at), u""))
            return false;
        authority = authority.sliced(at + 1);
    }
    QStringView port;
    if (authority.startsWith(u'[')) {
        const qsizetype close = authority.indexOf(u']');
        if (close < 0)
            return false;
        const QStringView literal = authority.sliced(1, close - 1);
        for (const QChar c : literal) {
            if (!isPlainCharacter(c) && c != u':')
                return false;
        }
        const QStringView rest = authority.sliced(close + 1);
        if (!rest.isEmpty() && !rest.startsWith(u':'))
            return false;
        port = rest.isEmpty() ? rest : rest.sliced(1);
    } else {
        const qsizetype colon = authority.indexOf(u':');
        const QStringView host = colon < 0 ? authority : authority.first(colon);
        if (!holdsOnly(host, u"") || host.contains(u'@'))
            return false;
        port = colon < 0 ? QStringView() : authority.sliced(colon + 1);
    }
    for (const QChar c : port) {
        if (!isDigit(c))
            return false;
    }
    return true;
}

} // namespace

namespace UrlReference {

bool isValid(QStringView text)
{
    if (text.isEmpty())
        return false;

    QStringView rest = text;
    if (const qsizetype hash = rest.indexOf(u'#'); hash >= 0) {
        if (!holdsOnly(rest.sliced(hash + 1), u"/?"))
            return false;
        rest = rest.first(hash);
    }
    if (const qsizetype question = rest.indexOf(u'?'); question >= 0) {
        if (!holdsOnly(rest.sliced(question + 1), u"/?"))
            return false;
        rest = rest.first(question);
    }

    // A scheme is whatever comes before the first ":" when no "/" comes earlier; in a relative
    // reference the first segment can therefore hold no ":".
    const qsizetype colon = rest.indexOf(u':');
    const qsizetype slash = rest.indexOf(u'/');
    if (colon >= 0 && (slash < 0 || colon < slash)) {
        if (!isScheme(rest.first(colon)))
            return false;
        rest = rest.sliced(colon + 1);
    }

    if (rest.startsWith(u"//")) {
        rest = rest.sliced(2);
        const qsizetype end = rest.indexOf(u'/');
        if (!isAuthority(end < 0 ? rest : rest.first(end)))
            return false;
        rest = end < 0 ? QStringView() : rest.sliced(end);
    }
    return holdsOnly(rest, u"/");
}

} // namespace UrlReference
