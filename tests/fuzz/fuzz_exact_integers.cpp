// The pass that keeps inexact number literals from passing for integers: it never moves
// anything, so the JSON parser's offsets stay true.
#include "FuzzInput.h"

#include "catalog/ExactIntegers.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray json = bytesOf(data, size);
    const QByteArray marked = ExactIntegers::markInexactNumbers(json);
    if (marked.size() != json.size())
        __builtin_trap();
    return 0;
}
