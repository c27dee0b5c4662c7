#include "app/records/StudioError.h"

QString StudioError::errorDescription() const
{
    switch (m_kind) {
    case Kind::toolMissing: return QStringLiteral("Не найден встроенный инструмент ") + m_payload + u'.';
    case Kind::processFailed: return m_payload;
    case Kind::incompatibleIPSW:
        return QStringLiteral("IPSW не содержит модель ") + m_payload + QStringLiteral(" в BuildManifest.");
    case Kind::invalidCatalog: return QStringLiteral("Каталог прошивок имеет неизвестный формат.");
    case Kind::noFirmware: return QStringLiteral("Полный Restore.ipsw для этой модели не найден.");
    case Kind::invalidDownloadURL: return QStringLiteral("Каталог вернул ссылку не на CDN Apple.");
    case Kind::checksumMismatch: return QStringLiteral("Контрольная сумма SHA-256 не совпадает.");
    }
    Q_UNREACHABLE();
    return {};
}
