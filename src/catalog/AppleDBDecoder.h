#pragma once

#include "app/records/Result.h"
#include "catalog/AppleDBRecords.h"

#include <QByteArray>
#include <QJsonValue>
#include <QList>

// Strict decoding of the AppleDB catalogue: the whole document fails on the first value that
// does not fit, with a description naming the record's index and the key. Only the signing
// status is forgiving. Unknown keys are ignored.
namespace AppleDBDecoder {

Result<QList<AppleDBFirmware>> decode(const QByteArray &json);

// The signing status for a present, non-null JSON value; never fails.
AppleDBSigned decodeSigned(const QJsonValue &value);

} // namespace AppleDBDecoder
