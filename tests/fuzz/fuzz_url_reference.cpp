// Download links: the reference syntax, the host as written, and the name a link saves under.
#include "FuzzInput.h"

#include "app/records/CacheFileName.h"
#include "catalog/PreferredLink.h"
#include "catalog/UrlReference.h"

#include <QUrl>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = textOf(data, size);
    if (!UrlReference::isValid(text))
        return 0;
    hostAsWritten(text);
    const QString name = CacheFileName::fromURL(QUrl(text, QUrl::StrictMode));
    // A plain name can never lead out of the folder it is joined to.
    if (CacheFileName::isPlain(name) && (name.contains(u'/') || name == u".." || name.startsWith(u':')))
        __builtin_trap();
    return 0;
}
