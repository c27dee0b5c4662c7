// The catalogue document, decoded and, when it decodes, reduced to one firmware per model. The
// pass that keeps inexact number literals from passing for integers never moves anything, so the
// JSON parser's offsets stay true.
#include "FuzzInput.h"

#include "app/records/CacheFileName.h"
#include "catalog/AppleDBDecoder.h"
#include "catalog/ExactIntegers.h"
#include "catalog/FirmwareReduction.h"

#include <QSet>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const QSet<QString> allowedHosts{QStringLiteral("updates.cdn-apple.com"),
                                            QStringLiteral("secure-appldnld.apple.com"),
                                            QStringLiteral("a.b")};
    const QByteArray json = bytesOf(data, size);
    if (ExactIntegers::markInexactNumbers(json).size() != json.size())
        __builtin_trap();
    const Result<QList<AppleDBFirmware>> records = AppleDBDecoder::decode(json);
    if (!records)
        return 0;
    for (const WatchFirmware &firmware :
         FirmwareReduction::buildFirmwareList(records.value(), {}, allowedHosts)) {
        if (!firmware.productType.startsWith(QStringLiteral("Watch")) || !firmware.downloadURL.isValid())
            __builtin_trap();
        CacheFileName::isPlain(firmware.filename);
    }
    return 0;
}
