#pragma once

#include <QStringView>

// Whether a text is a URL reference by the generic syntax: an absolute URL or a relative
// reference, made only of the characters URLs may hold, with well-formed percent escapes and
// a well-formed scheme when one is given. Deliberately wider than what Qt's strict parser
// accepts (it also refuses ports above 65535 and escapes in a host name): such links are still
// URL references, which the catalogue keeps and the allow-list then turns down.
namespace UrlReference {

// The empty text is not taken as a reference.
bool isValid(QStringView text);

} // namespace UrlReference
