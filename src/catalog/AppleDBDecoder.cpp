#include "catalog/AppleDBDecoder.h"

#include "catalog/ExactIntegers.h"
#include "catalog/UrlReference.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <QMetaType>
#include <QVariant>

namespace {

// Where a value sits in the document, so a failure can say which record and key broke it.
struct Location {
    qsizetype record = 0;
    qsizetype source = -1;
    qsizetype link = -1;

    QString describe(QLatin1StringView key) const
    {
        QString path;
        if (source >= 0)
            path += QStringLiteral("sources[%1].").arg(source);
        if (link >= 0)
            path += QStringLiteral("links[%1].").arg(link);
        return QStringLiteral("запись %1, ключ «%2%3»").arg(record).arg(path, key);
    }
};

// Reads the fields of one JSON object. The first misfit is recorded in the shared error text;
// later reads still return harmless values, and the caller stops at the end of the record.
class FieldReader {
public:
    FieldReader(const QJsonObject &object, Location location, QString &error)
        : m_object(object), m_location(location), m_error(error)
    {}

    // Missing and null are both absent.
    std::optional<QJsonValue> present(QLatin1StringView key) const
    {
        const QJsonValue value = m_object.value(key);
        if (value.isUndefined() || value.isNull())
            return std::nullopt;
        return value;
    }

    QString requiredString(QLatin1StringView key)
    {
        const std::optional<QJsonValue> value = present(key);
        if (!value)
            return fail(key, "отсутствует"), QString();
        if (!value->isString())
            return fail(key, "не является строкой"), QString();
        return value->toString();
    }

    std::optional<QString> optionalString(QLatin1StringView key)
    {
        const std::optional<QJsonValue> value = present(key);
        if (!value)
            return std::nullopt;
        if (!value->isString())
            return fail(key, "не является строкой"), std::nullopt;
        return value->toString();
    }

    std::optional<bool> optionalBool(QLatin1StringView key)
    {
        const std::optional<QJsonValue> value = present(key);
        if (!value)
            return std::nullopt;
        if (!value->isBool())
            return fail(key, "не является логическим значением"), std::nullopt;
        return value->toBool();
    }

    std::optional<QJsonArray> optionalArray(QLatin1StringView key)
    {
        const std::optional<QJsonValue> value = present(key);
        if (!value)
            return std::nullopt;
        if (!value->isArray())
            return fail(key, "не является массивом"), std::nullopt;
        return value->toArray();
    }

    std::optional<QStringList> optionalStringList(QLatin1StringView key)
    {
        const std::optional<QJsonArray> array = optionalArray(key);
        if (!array)
            return std::nullopt;
        QStringList texts;
        texts.reserve(array->size());
        for (const QJsonValue &element : *array) {
            if (!element.isString())
                return fail(key, "содержит значение, которое не является строкой"), std::nullopt;
            texts << element.toString();
        }
        return texts;
    }

    std::optional<QHash<QString, QString>> optionalStringMap(QLatin1StringView key)
    {
        const std::optional<QJsonValue> value = present(key);
        if (!value)
            return std::nullopt;
        if (!value->isObject())
            return fail(key, "не является объектом"), std::nullopt;
        const QJsonObject object = value->toObject();
        QHash<QString, QString> map;
        for (auto it = object.begin(); it != object.end(); ++it) {
            if (!it.value().isString())
                return fail(key, "содержит значение, которое не является строкой"), std::nullopt;
            map.insert(it.key(), it.value().toString());
        }
        return map;
    }

    // Integers must be exact: a fraction, or a value outside the signed 64-bit range, fails.
    // Qt's parser keeps every number that is integral and fits as a 64-bit integer (1.0 and 1e3
    // included) and everything else as a double; literals that only round to such a number were
    // made fractions before parsing (ExactIntegers).
    std::optional<qint64> optionalInteger(QLatin1StringView key)
    {
        const std::optional<QJsonValue> value = present(key);
        if (!value)
            return std::nullopt;
        if (!value->isDouble())
            return fail(key, "не является числом"), std::nullopt;
        const QVariant number = value->toVariant();
        if (number.typeId() != QMetaType::LongLong)
            return fail(key, "не является целым числом в 64-битном диапазоне со знаком"), std::nullopt;
        return number.toLongLong();
    }

    // A URL reference, absolute or relative; text that is not one fails.
    std::optional<QUrl> requiredURL(QLatin1StringView key, QString &text)
    {
        text = requiredString(key);
        if (failed())
            return std::nullopt;
        if (!UrlReference::isValid(text))
            return fail(key, "не является допустимым URL"), std::nullopt;
        // May be invalid to Qt (a port above 65535, an escaped host name): such a link is
        // kept, and the allow-list turns it down.
        return QUrl(text, QUrl::StrictMode);
    }

    void fail(QLatin1StringView key, const char *problem)
    {
        if (m_error.isEmpty())
            m_error = QStringLiteral("Не удалось прочитать каталог: %1 %2.")
                          .arg(m_location.describe(key), QString::fromUtf8(problem));
    }

    bool failed() const { return !m_error.isEmpty(); }

private:
    const QJsonObject &m_object;
    Location m_location;
    QString &m_error;
};

std::optional<AppleDBLink> decodeLink(const QJsonObject &object, Location location, QString &error)
{
    FieldReader reader(object, location, error);
    AppleDBLink link;
    if (std::optional<QUrl> url = reader.requiredURL(QLatin1StringView("url"), link.urlText))
        link.url = std::move(*url);
    link.preferred = reader.optionalBool(QLatin1StringView("preferred"));
    link.active = reader.optionalBool(QLatin1StringView("active"));
    return reader.failed() ? std::nullopt : std::optional(std::move(link));
}

std::optional<AppleDBSource> decodeSource(const QJsonObject &object, Location location, QString &error)
{
    FieldReader reader(object, location, error);
    AppleDBSource source;
    source.type = reader.requiredString(QLatin1StringView("type"));
    source.deviceMap = reader.optionalStringList(QLatin1StringView("deviceMap"));
    if (const std::optional<QJsonArray> links = reader.optionalArray(QLatin1StringView("links"))) {
        source.links.emplace();
        source.links->reserve(links->size());
        for (qsizetype i = 0; i < links->size() && !reader.failed(); ++i) {
            Location linkLocation = location;
            linkLocation.link = i;
            const QJsonValue element = links->at(i);
            if (!element.isObject()) {
                reader.fail(QLatin1StringView("links"), "содержит значение, которое не является объектом");
                break;
            }
            if (std::optional<AppleDBLink> link = decodeLink(element.toObject(), linkLocation, error))
                source.links->append(std::move(*link));
        }
    }
    source.hashes = reader.optionalStringMap(QLatin1StringView("hashes"));
    source.size = reader.optionalInteger(QLatin1StringView("size"));
    return reader.failed() ? std::nullopt : std::optional(std::move(source));
}

std::optional<AppleDBFirmware> decodeFirmware(const QJsonObject &object, Location location, QString &error)
{
    FieldReader reader(object, location, error);
    AppleDBFirmware firmware;
    firmware.version = reader.requiredString(QLatin1StringView("version"));
    firmware.build = reader.requiredString(QLatin1StringView("build"));
    firmware.released = reader.optionalString(QLatin1StringView("released"));
    firmware.deviceMap = reader.optionalStringList(QLatin1StringView("deviceMap"));
    if (const std::optional<QJsonValue> value = reader.present(QLatin1StringView("signed")))
        firmware.signedStatus = AppleDBDecoder::decodeSigned(*value);
    if (const std::optional<QJsonArray> sources = reader.optionalArray(QLatin1StringView("sources"))) {
        firmware.sources.emplace();
        firmware.sources->reserve(sources->size());
        for (qsizetype i = 0; i < sources->size() && !reader.failed(); ++i) {
            Location sourceLocation = location;
            sourceLocation.source = i;
            const QJsonValue element = sources->at(i);
            if (!element.isObject()) {
                reader.fail(QLatin1StringView("sources"), "содержит значение, которое не является объектом");
                break;
            }
            if (std::optional<AppleDBSource> source = decodeSource(element.toObject(), sourceLocation, error))
                firmware.sources->append(std::move(*source));
        }
    }
    return reader.failed() ? std::nullopt : std::optional(std::move(firmware));
}

Failure decodingFailure(const QString &description)
{
    return Failure::platform(Failure::Domain::json, description);
}

} // namespace

namespace AppleDBDecoder {

AppleDBSigned decodeSigned(const QJsonValue &value)
{
    if (value.isBool())
        return value.toBool() ? AppleDBSigned::all() : AppleDBSigned::none();
    if (!value.isArray())
        return AppleDBSigned::none();
    const QJsonArray array = value.toArray();
    QStringList devices;
    devices.reserve(array.size());
    for (const QJsonValue &element : array) {
        if (!element.isString())
            return AppleDBSigned::none();
        devices << element.toString();
    }
    return AppleDBSigned::forDevices(std::move(devices));
}

Result<QList<AppleDBFirmware>> decode(const QByteArray &json)
{
    QJsonParseError parseError;
    const QJsonDocument document =
        QJsonDocument::fromJson(ExactIntegers::markInexactNumbers(json), &parseError);
    if (parseError.error != QJsonParseError::NoError)
        return decodingFailure(QStringLiteral("Каталог не является корректным JSON: %1 (позиция %2).")
                                   .arg(parseError.errorString())
                                   .arg(parseError.offset));
    if (!document.isArray())
        return decodingFailure(QStringLiteral("Не удалось прочитать каталог: на верхнем уровне ожидался "
                                              "массив записей."));

    const QJsonArray array = document.array();
    QList<AppleDBFirmware> records;
    records.reserve(array.size());
    QString error;
    for (qsizetype i = 0; i < array.size(); ++i) {
        const QJsonValue element = array.at(i);
        if (!element.isObject())
            return decodingFailure(
                QStringLiteral("Не удалось прочитать каталог: запись %1 не является объектом.").arg(i));
        std::optional<AppleDBFirmware> firmware = decodeFirmware(element.toObject(), Location{i}, error);
        if (!firmware)
            return decodingFailure(error);
        records.append(std::move(*firmware));
    }
    return records;
}

} // namespace AppleDBDecoder
