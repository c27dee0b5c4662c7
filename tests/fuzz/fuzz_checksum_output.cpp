// The checksum tool's output and the digest comparison.
#include "FuzzInput.h"

#include "download/ChecksumTool.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString output = textOf(data, size);
    const QString digest = ChecksumTool::firstPiece(output);
    if (digest.contains(u' '))
        __builtin_trap();
    ChecksumTool::accepts(QStringLiteral("AB12"), digest);
    return 0;
}
